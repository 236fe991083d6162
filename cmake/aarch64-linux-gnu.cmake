# Cross build for the device's 64-bit Arm with Debian's cross toolchain and
# multiarch arm64 libraries; tests run under qemu-aarch64.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
# Programs run on the multiarch arm64 runtime (libc6:arm64, libstdc++6:arm64);
# the cross toolchain's own loader under /usr/aarch64-linux-gnu hangs on
# thread creation under qemu-user 7.2.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
# pkg-config (used by FindOpenSSL and others) must see the arm64 packages.
set(ENV{PKG_CONFIG_LIBDIR} "/usr/lib/aarch64-linux-gnu/pkgconfig:/usr/share/pkgconfig")
set(ENV{PKG_CONFIG_PATH} "")
