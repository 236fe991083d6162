#!/bin/sh
# run_install_test.sh BUILD_DIR SOURCE_DIR "C_FLAGS" [CC [TOOLCHAIN_FILE [RUNNER]]]
# What a user does after "cmake --install": install the build into a
# temporary prefix, then, with a clean environment (no LD_LIBRARY_PATH, no
# pkg-config overrides beyond the search path), build and run from outside
# the tree:
#   - a C99 program through pkg-config, linked with the shared library and
#     with the static one;
#   - the same program as a CMake project through find_package(aputil);
#   - the installed tools on the sample firmware tree.
# Nothing but the install tree's own RUNPATHs finds the libraries.
set -eu
build=$1 src=$2 cflags=${3:-} cc=${4:-cc} toolchain=${5:-} runner=${6:-}
consumer=$src/tests/install/consumer
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
prefix=$tmp/prefix
cmake --install "$build" --prefix "$prefix" > "$tmp/install.log"
pc=$(dirname "$(find "$prefix" -name aputil.pc | head -n 1)")
libdir=$(dirname "$pc")

# The clean environment: PATH only, and for a cross build the target's
# pkg-config files.
pkglibdir=
case "$cc" in *aarch64*) pkglibdir=/usr/lib/aarch64-linux-gnu/pkgconfig:/usr/share/pkgconfig ;; esac
clean() { env -i PATH=/usr/bin:/bin ${pkglibdir:+PKG_CONFIG_LIBDIR=$pkglibdir} PKG_CONFIG_PATH="$pc" "$@"; }
run() { clean $runner "$@"; }

# pkg-config, shared: the program finds libaputil by its own rpath, libaputil
# finds the rest by its RUNPATH.
flags=$(clean pkg-config --cflags --libs aputil)
# shellcheck disable=SC2086
clean "$cc" -std=c99 -pedantic -Wall -Wextra -Werror $cflags -o "$tmp/pc-shared" "$consumer/main.c" $flags \
    -Wl,-rpath,"$libdir"
run "$tmp/pc-shared"
# pkg-config, static: libaputil.a and everything --static lists (its -laputil
# then goes unused: --as-needed keeps libaputil.so out of NEEDED whatever the
# toolchain's default).
static=$(clean pkg-config --static --libs aputil)
# shellcheck disable=SC2086
clean "$cc" -std=c99 $cflags -o "$tmp/pc-static" "$consumer/main.c" $(clean pkg-config --cflags aputil) \
    -Wl,--as-needed -Wl,-Bstatic -laputil -Wl,-Bdynamic $static
run "$tmp/pc-static"
if readelf -d "$tmp/pc-static" | grep -q 'libaputil\.so'; then
  echo "the static consumer needs libaputil.so"; exit 1
fi
test "$(clean pkg-config --modversion aputil)" = "$(sed -n 's/^#define APUTIL_VERSION_\(MAJOR\|MINOR\|PATCH\) //p' \
    "$prefix/include/aputil/aputil_version.h" | paste -sd. -)"

# CMake, find_package(aputil).
clean cmake -S "$consumer" -B "$tmp/cmake-build" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_C_FLAGS="$cflags" \
      ${toolchain:+-DCMAKE_TOOLCHAIN_FILE="$toolchain"} -DCMAKE_FIND_ROOT_PATH="$prefix" \
      > "$tmp/configure.log" || { cat "$tmp/configure.log"; exit 1; }
clean cmake --build "$tmp/cmake-build" > "$tmp/build.log" || { cat "$tmp/build.log"; exit 1; }
run "$tmp/cmake-build/consumer"

# The installed tools, on the sample tree.
if [ -x "$prefix/bin/aputil-info" ]; then
  run "$prefix/bin/aputil-info" --root "$src/examples/firmware" > "$tmp/info.out" 2>&1 || { cat "$tmp/info.out"; exit 1; }
  grep -q 'modelDirectory: /etc/AP100_X_2.0/' "$tmp/info.out"
  run "$prefix/bin/aputil-info" --root "$src/examples/firmware" lint --regdb "$src/tests/data/regdb/regulatory.db" \
    > "$tmp/lint.out" 2>/dev/null || { cat "$tmp/lint.out"; exit 1; }
  grep -q '^region 840 (US): 36 channels, 0 errors, 0 warnings$' "$tmp/lint.out"
  run "$prefix/bin/aputil-info" --version | grep -q "aputil-info $(clean pkg-config --modversion aputil)"
  run "$prefix/bin/ble-factory" --simulate mac > "$tmp/ble.out" 2>&1 || { cat "$tmp/ble.out"; exit 1; }
  run "$prefix/bin/ble-factory" --version | grep -q "ble-factory $(clean pkg-config --modversion aputil)"
fi
echo "install test: pkg-config (shared, static), find_package and the installed tools work from $prefix"
