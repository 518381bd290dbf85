# Cross build for the controller: 32-bit ARM, hard float (Debian armhf), with Debian's
# g++-arm-linux-gnueabihf and a sysroot made of Debian's own armhf packages (scripts/armhf.sh
# makes one). Usage:
#   cmake -S . -B build-armhf -DCMAKE_TOOLCHAIN_FILE=cmake/armhf-toolchain.cmake \
#         -DCMAKE_SYSROOT=$PWD/build-armhf-sysroot
# The test executables run under qemu-user against the same sysroot (CROSSCOMPILING_EMULATOR,
# which add_test and gtest_discover_tests use); helpers such as mosquitto stay native.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)

set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)

if(NOT CMAKE_SYSROOT)
    message(FATAL_ERROR "set CMAKE_SYSROOT to an armhf sysroot (scripts/armhf.sh makes one)")
endif()

# Headers, libraries and CMake packages only from the sysroot; programs (pkg-config, clang-format,
# the emulator) from the host.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The host's pkg-config reads the sysroot's .pc files and prefixes their paths with it.
set(ENV{PKG_CONFIG_SYSROOT_DIR} "${CMAKE_SYSROOT}")
set(ENV{PKG_CONFIG_LIBDIR}
    "${CMAKE_SYSROOT}/usr/lib/arm-linux-gnueabihf/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig")
set(ENV{PKG_CONFIG_PATH} "")

# qemu-user, or qemu-user-static which names its binary differently.
find_program(EHS_QEMU_ARM NAMES qemu-arm qemu-arm-static)
if(NOT EHS_QEMU_ARM)
    message(FATAL_ERROR "qemu-arm not found: install qemu-user")
endif()
set(CMAKE_CROSSCOMPILING_EMULATOR "${EHS_QEMU_ARM}" -L "${CMAKE_SYSROOT}")
