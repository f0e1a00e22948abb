# SPDX-License-Identifier: Apache-2.0
# Builds the library for a second C library, musl (Debian's musl-tools). Its C++ sources include C headers only, so that
# the C++ runtime, which Debian has for its own C library alone, is not missed.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER musl-gcc)
set(CMAKE_CXX_COMPILER g++)
execute_process(COMMAND gcc -print-multiarch OUTPUT_VARIABLE orva_machine OUTPUT_STRIP_TRAILING_WHITESPACE)
execute_process(COMMAND gcc -print-file-name=include OUTPUT_VARIABLE orva_compiler_headers OUTPUT_STRIP_TRAILING_WHITESPACE)
string(REPLACE -linux-gnu -linux-musl orva_machine ${orva_machine})
set(CMAKE_CXX_FLAGS_INIT "-nostdinc -nostdinc++ -isystem /usr/include/${orva_machine} -isystem ${orva_compiler_headers}")
# No program in C++ can be linked, so CMake can neither try the compiler nor learn which libraries it adds.
set(CMAKE_CXX_COMPILER_WORKS ON)
set(CMAKE_CXX_ABI_COMPILED ON)
# The loader of musl 1.2.3 does not know packed relocations.
set(ORVA_LLD_PACKS OFF CACHE BOOL "")
set(ORVA_LD_PACKS OFF CACHE BOOL "")
