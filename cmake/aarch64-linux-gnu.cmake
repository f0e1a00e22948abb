# SPDX-License-Identifier: Apache-2.0
# Builds for a phone's instruction set with Debian's cross compiler (g++-aarch64-linux-gnu).
# ORVA_SYSROOT names a folder with unpacked arm64 packages, for targets that need more than the C and C++ libraries.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)

set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ORVA_SYSROOT)
set(CMAKE_FIND_ROOT_PATH /usr/aarch64-linux-gnu)
if(ORVA_SYSROOT)
  list(PREPEND CMAKE_FIND_ROOT_PATH ${ORVA_SYSROOT})
  set(orva_sysroot_lib ${ORVA_SYSROOT}/usr/lib/aarch64-linux-gnu)
  # The unpacked libraries find the libraries that they need in the same folder.
  set(CMAKE_EXE_LINKER_FLAGS_INIT
      "-L${orva_sysroot_lib} -Wl,-rpath-link,${orva_sysroot_lib}:${ORVA_SYSROOT}/lib/aarch64-linux-gnu")
  set(CMAKE_SHARED_LINKER_FLAGS_INIT "${CMAKE_EXE_LINKER_FLAGS_INIT}")
  set(ENV{PKG_CONFIG_SYSROOT_DIR} ${ORVA_SYSROOT})
  set(ENV{PKG_CONFIG_LIBDIR} ${orva_sysroot_lib}/pkgconfig:${ORVA_SYSROOT}/usr/share/pkgconfig)
endif()
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

find_program(orva_qemu_aarch64 qemu-aarch64)
if(orva_qemu_aarch64)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${orva_qemu_aarch64} -L /usr/aarch64-linux-gnu)
endif()
