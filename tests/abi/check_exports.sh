#!/bin/sh
# check_exports.sh LIBRARY MAPFILE HEADER_DIR
# The shared library exports exactly the names declared with APUTIL_API in
# the public headers, which are exactly the global names of the version
# script; no C++ symbol is exported and no C++ runtime is needed.
set -eu
lib=$1 map=$2 headers=$3
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT

readelf --dyn-syms -W "$lib" | awk 'NR > 3 && $7 != "UND" && $4 != "SECTION" && $8 != "" { sub(/@.*/, "", $8); print $8 }' |
    sort -u > "$tmp/exported"
sed -n '/global:/,/local:/p' "$map" | sed -e 's,/\*.*\*/,,' -e 's/[[:space:]]//g' |
    grep -v -e '^global:' -e '^local:' -e '^$' | tr -d ';' | sort -u > "$tmp/map"
cat "$headers"/*.h | perl -0777 -pe 's{/\*.*?\*/}{}gs; s{//[^\n]*}{}g' | grep -v '^[[:space:]]*#' | tr '\n' ' ' | tr ';' '\n' |
    grep 'APUTIL_API' |
    sed -E 's/.*APUTIL_API[^(]*[^A-Za-z0-9_(]([A-Za-z_][A-Za-z0-9_]*)[[:space:]]*(\(.*|\[.*|)$/\1/' |
    sort -u > "$tmp/headers"

status=0
if ! diff -u "$tmp/headers" "$tmp/map" > "$tmp/d1"; then
    echo "headers (-) and version script (+) differ:"; cat "$tmp/d1"; status=1
fi
if ! diff -u "$tmp/map" "$tmp/exported" > "$tmp/d2"; then
    echo "version script (-) and exported symbols (+) differ:"; cat "$tmp/d2"; status=1
fi
if grep -q '^_Z' "$tmp/exported"; then
    echo "C++ symbols exported:"; grep '^_Z' "$tmp/exported"; status=1
fi
if readelf -d "$lib" | grep -E 'NEEDED.*(libstdc\+\+|libgcc_s)'; then
    echo "the library needs a C++ runtime"; status=1
fi
echo "$(wc -l < "$tmp/exported") exported symbols checked"
exit $status
