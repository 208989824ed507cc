# Cross build for aarch64 (the BMC's SoC) with Debian's cross compiler and the arm64 packages
# of GLib, OpenSSL and GoogleTest (multiarch). Every program the build or the tests run goes
# through qemu-aarch64, so the whole suite runs on an x86-64 host without binfmt_misc.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)

set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_NM aarch64-linux-gnu-nm)
set(CMAKE_READELF aarch64-linux-gnu-readelf)
set(CMAKE_OBJDUMP aarch64-linux-gnu-objdump)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64 -L /usr/aarch64-linux-gnu)

# Headers and libraries of the target come from the multiarch directories of /usr, programs
# (pkg-config, python3) from the host.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_FIND_ROOT_PATH / /usr/aarch64-linux-gnu)
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/aarch64-linux-gnu/pkgconfig:/usr/share/pkgconfig)
set(ENV{PKG_CONFIG_SYSROOT_DIR} /)
