# 32-bit ARM, hard float, glibc: the processor of the appliance. Programs run under qemu-arm-static.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)

get_filename_component(TARVEL_SYSROOT "${CMAKE_CURRENT_LIST_DIR}/../../build/sysroot-armhf" ABSOLUTE)
if(NOT EXISTS "${TARVEL_SYSROOT}/.packages")
  message(FATAL_ERROR "The libraries of the target are missing: run script/sysroot first.")
endif()
set(CMAKE_SYSROOT "${TARVEL_SYSROOT}")
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_DIR} "")
set(ENV{PKG_CONFIG_LIBDIR}
  "${TARVEL_SYSROOT}/usr/lib/arm-linux-gnueabihf/pkgconfig:${TARVEL_SYSROOT}/usr/share/pkgconfig")
set(ENV{PKG_CONFIG_SYSROOT_DIR} "${TARVEL_SYSROOT}")

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm-static -L "${TARVEL_SYSROOT}")
