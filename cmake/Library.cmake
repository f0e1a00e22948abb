# SPDX-License-Identifier: Apache-2.0
# The library: its objects once, which the tests of internals link, and the shared library made of them.
include(CheckLinkerFlag)

# Every source of these folders belongs to the library, in Android.bp as well.
file(GLOB ORVA_SOURCES CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR} api/*.cpp common/*.cpp chips/*/*.cpp)

add_library(orva_objects OBJECT ${ORVA_SOURCES})
target_include_directories(orva_objects PUBLIC ${PROJECT_SOURCE_DIR})
# No fused multiply-add: it would round calibration values differently on processors that have one.
target_compile_options(orva_objects PRIVATE -fPIC -fvisibility=hidden -fno-exceptions -fno-rtti
  -fno-threadsafe-statics -ffp-contract=off -fno-asynchronous-unwind-tables -fno-unwind-tables)
# A member left out of a chip's profile would silently be zero. clang overlooks those left out among designated
# initializers, g++ does not.
target_compile_options(orva_objects PRIVATE -Werror=missing-field-initializers)
set_target_properties(orva_objects PROPERTIES POSITION_INDEPENDENT_CODE ON)
if(CMAKE_BUILD_TYPE STREQUAL "Release")
  target_compile_options(orva_objects PRIVATE -Oz -ffunction-sections)
endif()

add_library(wifi_factory_test_orva SHARED $<TARGET_OBJECTS:orva_objects>)
target_include_directories(wifi_factory_test_orva INTERFACE
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}> $<INSTALL_INTERFACE:include>)
# The C linker driver adds nothing of the C++ runtime.
set_target_properties(wifi_factory_test_orva PROPERTIES LINKER_LANGUAGE C
  LINK_DEPENDS ${PROJECT_SOURCE_DIR}/api/exports.map.txt)
target_link_options(wifi_factory_test_orva PRIVATE
  -Wl,--version-script=${PROJECT_SOURCE_DIR}/api/exports.map.txt
  -Wl,-z,max-page-size=16384 -Wl,-z,noseparate-code -Wl,-z,relro -Wl,-z,now -Wl,--as-needed -Wl,--hash-style=gnu
  -Wl,-Bsymbolic)
if(CMAKE_BUILD_TYPE STREQUAL "Release")
  # No start files: the library has nothing to construct.
  target_link_options(wifi_factory_test_orva PRIVATE -Wl,--gc-sections -nostartfiles)
  # Packing the dispatch table's relocations saves 12 KiB. The C library expects a note of it in the file, which lld
  # writes since version 15. lld is preferred because GNU ld also pads the file. A cross compiler finds it only by -B.
  find_program(ORVA_LLD_PROGRAM NAMES ld.lld-19 ld.lld-16 ld.lld-15)
  get_filename_component(orva_lld_folder "${ORVA_LLD_PROGRAM}" REALPATH)
  get_filename_component(orva_lld_folder "${orva_lld_folder}" DIRECTORY)
  set(orva_lld_options -B${orva_lld_folder}/ -fuse-ld=lld -Wl,-z,pack-relative-relocs)
  check_linker_flag(C "${orva_lld_options}" ORVA_LLD_PACKS)
  check_linker_flag(C -Wl,-z,pack-relative-relocs ORVA_LD_PACKS)
  if(ORVA_LLD_PROGRAM AND ORVA_LLD_PACKS)
    target_link_options(wifi_factory_test_orva PRIVATE ${orva_lld_options} -Wl,-O2)
  elseif(ORVA_LD_PACKS)
    target_link_options(wifi_factory_test_orva PRIVATE -Wl,-z,pack-relative-relocs)
  endif()
endif()
target_link_libraries(wifi_factory_test_orva PRIVATE m)
