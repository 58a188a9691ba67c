# 32-bit ARM, hard float. The libraries come from tools/arm_sysroot.sh, the emulator is Debian's qemu-user.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)

set(KVA720_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/../build/arm-sysroot CACHE PATH "Libraries of the target")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES KVA720_SYSROOT)
cmake_path(ABSOLUTE_PATH KVA720_SYSROOT NORMALIZE)
if(NOT EXISTS ${KVA720_SYSROOT}/made-from)
  message(FATAL_ERROR "There is no ${KVA720_SYSROOT}; tools/arm_sysroot.sh makes it")
endif()

set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
# Files and times need 64 bits also where a long has 32. Notes on calls whose form an older compiler changed are no
# concern of a program that is compiled whole.
set(flags "-D_FILE_OFFSET_BITS=64 -D_TIME_BITS=64 -Wno-psabi")
set(CMAKE_C_FLAGS_INIT ${flags})
set(CMAKE_CXX_FLAGS_INIT ${flags})

set(CMAKE_SYSROOT ${KVA720_SYSROOT})
set(CMAKE_FIND_ROOT_PATH ${KVA720_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${KVA720_SYSROOT})
set(ENV{PKG_CONFIG_LIBDIR} ${KVA720_SYSROOT}/usr/lib/arm-linux-gnueabihf/pkgconfig:${KVA720_SYSROOT}/usr/share/pkgconfig)

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L ${KVA720_SYSROOT})
