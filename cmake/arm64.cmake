# SPDX-License-Identifier: MIT
# Builds for 64-bit Arm on a machine of another kind, and runs what was built in an emulator. The packages of that
# architecture are those that script/test --arch arm64 has unpacked into a folder; the machine's own have no part in it.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)

get_filename_component(arm64_system ${CMAKE_CURRENT_LIST_DIR}/../build/arm64-system ABSOLUTE)
set(CMAKE_SYSROOT ${arm64_system}/root)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CMAKE_SYSROOT})
set(ENV{PKG_CONFIG_LIBDIR} ${CMAKE_SYSROOT}/usr/lib/aarch64-linux-gnu/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig)

# By its path: tests start programs with another search path, too.
find_program(ARM64_EMULATOR qemu-aarch64-static REQUIRED)
set(CMAKE_CROSSCOMPILING_EMULATOR ${ARM64_EMULATOR} -L ${CMAKE_SYSROOT})
# Where tests find the applications that they start: scripts that run them in the emulator.
set(PELSANE_PROGRAMS ${arm64_system}/programs CACHE PATH "Folder of the applications that tests start")
