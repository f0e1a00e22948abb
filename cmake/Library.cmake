include(CheckLinkerFlag)

# The library itself: objects once (tests of internals link them), then the shared library.
file(GLOB ORVA_SOURCES CONFIGURE_DEPENDS api/*.cpp common/*.cpp chips/*/*.cpp)

add_library(orva_objects OBJECT ${ORVA_SOURCES})
target_include_directories(orva_objects PUBLIC ${PROJECT_SOURCE_DIR})
# The same arithmetic on every processor: a fused multiply-add would round calibration values differently.
target_compile_options(orva_objects PRIVATE -fPIC -fvisibility=hidden -fno-exceptions -fno-rtti
  -fno-threadsafe-statics -ffp-contract=off -fno-asynchronous-unwind-tables -fno-unwind-tables)
set_target_properties(orva_objects PROPERTIES POSITION_INDEPENDENT_CODE ON)
if(CMAKE_BUILD_TYPE STREQUAL "Release")
  target_compile_options(orva_objects PRIVATE -Oz -ffunction-sections)
endif()

add_library(wifi_factory_test_orva SHARED $<TARGET_OBJECTS:orva_objects>)
target_include_directories(wifi_factory_test_orva INTERFACE
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}> $<INSTALL_INTERFACE:include>)
# The C linker driver: nothing of the C++ runtime comes along.
set_target_properties(wifi_factory_test_orva PROPERTIES LINKER_LANGUAGE C
  LINK_DEPENDS ${PROJECT_SOURCE_DIR}/api/exports.map.txt)
target_link_options(wifi_factory_test_orva PRIVATE
  -Wl,--version-script=${PROJECT_SOURCE_DIR}/api/exports.map.txt
  -Wl,-z,max-page-size=16384 -Wl,-z,noseparate-code -Wl,-z,relro -Wl,-z,now -Wl,--as-needed -Wl,--hash-style=gnu
  -Wl,-Bsymbolic)
if(CMAKE_BUILD_TYPE STREQUAL "Release")
  # No start files: the library has nothing to construct.
  target_link_options(wifi_factory_test_orva PRIVATE -Wl,--gc-sections -nostartfiles)
  # Packed, the dispatch table's relocations take 12 KiB less; the C library wants a note of that in the file, which
  # lld writes from version 15 on. GNU ld pads the file besides. A cross compiler looks for lld only where -B says.
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
