#!/bin/sh
# run_install_test.sh BUILD_DIR CONSUMER_DIR "C_FLAGS" [CC [TOOLCHAIN_FILE [RUNNER]]]
# Installs the build into a temporary prefix, then builds and runs a small C
# program against it twice: through find_package(aputil) and through
# pkg-config.
set -eu
build=$1 consumer=$2 cflags=${3:-} cc=${4:-cc} toolchain=${5:-} runner=${6:-}
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
prefix=$tmp/prefix

cmake --install "$build" --prefix "$prefix" > "$tmp/install.log"
libdir=$(dirname "$(find "$prefix" -name 'libaputil.so' | head -n 1)")
export LD_LIBRARY_PATH="$libdir${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}"

cmake -S "$consumer" -B "$tmp/cmake-build" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_C_FLAGS="$cflags" \
      ${toolchain:+-DCMAKE_TOOLCHAIN_FILE="$toolchain"} -DCMAKE_FIND_ROOT_PATH="$prefix" \
      > "$tmp/configure.log" || { cat "$tmp/configure.log"; exit 1; }
cmake --build "$tmp/cmake-build" > "$tmp/build.log" || { cat "$tmp/build.log"; exit 1; }
$runner "$tmp/cmake-build/consumer"

pc=$(dirname "$(find "$prefix" -name aputil.pc | head -n 1)")
flags=$(PKG_CONFIG_PATH=$pc pkg-config --define-variable=prefix="$prefix" --cflags --libs aputil)
# shellcheck disable=SC2086
"$cc" $cflags -o "$tmp/pc-consumer" "$consumer/main.c" $flags -Wl,-rpath-link,"$libdir"
$runner "$tmp/pc-consumer"
