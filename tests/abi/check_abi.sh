#!/bin/sh
# check_abi.sh LIBRARY BASELINE HEADER_DIR [--update]
# Compares the exported interface of LIBRARY (functions, variables and every
# type reachable from them through the public headers) with the committed
# BASELINE, and fails on any change, compatible or not (harmless changes
# such as a renamed field included). With --update it
# rewrites BASELINE from LIBRARY instead (for a deliberate change, in the
# same commit). Needs abidw/abidiff (Debian abigail-tools); exits 77 (skip)
# without them.
set -eu
lib=$1 baseline=$2 headers=$3 mode=${4:-check}
if ! command -v abidw >/dev/null 2>&1 || ! command -v abidiff >/dev/null 2>&1; then
    echo "abigail-tools not installed: ABI baseline not checked"
    exit 77
fi
headers=$(cd "$headers" && pwd)

dump() {
    # Locations, build paths and NEEDED entries are left out: the baseline
    # describes the interface, not the machine that built it.
    abidw --headers-dir "$headers" --drop-private-types --no-corpus-path --no-comp-dir-path --no-show-locs \
          --no-elf-needed "$1" | sed -e "s|path='[^']*/src/|path='src/|"
}

if [ "$mode" = --update ]; then
    dump "$lib" > "$baseline"
    echo "wrote $baseline"
    exit 0
fi
tmp=$(mktemp)
trap 'rm -f "$tmp"' EXIT
dump "$lib" > "$tmp"
if abidiff --harmless --no-show-locs "$baseline" "$tmp"; then
    echo "ABI unchanged from $(basename "$baseline")"
    exit 0
fi
echo "the exported interface differs from $baseline (above); a deliberate change updates it: scripts/abi-baseline"
exit 1
