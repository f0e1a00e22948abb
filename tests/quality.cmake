# Proof beyond the functional tests: the fault sweep, the footprint, the exported interface, short fuzzing runs.
add_executable(fault_sweep fault_sweep.cpp fault_sweep_operations.cpp support/bench.cpp)
target_link_libraries(fault_sweep PRIVATE virtual_phone ${CMAKE_DL_LIBS})
target_compile_definitions(fault_sweep PRIVATE EXPORTS="${PROJECT_SOURCE_DIR}/api/exports.map.txt")
add_dependencies(fault_sweep wifi_factory_test_orva)
target_include_directories(fault_sweep PRIVATE ${PROJECT_SOURCE_DIR})
set_target_properties(fault_sweep PROPERTIES BUILD_RPATH "$<TARGET_FILE_DIR:wifi_factory_test_orva>")
target_link_options(fault_sweep PRIVATE -Wl,--disable-new-dtags)  # as for the other tests of the library
foreach(chip vq2040 vq2050 vq2040a vq2070)
  add_test(NAME fault_sweep.${chip} COMMAND fault_sweep ${chip})
  set_tests_properties(fault_sweep.${chip} PROPERTIES TIMEOUT 1500)
endforeach()

# What the library does, written down; a change of behaviour shows as a difference.
add_executable(transcript golden/transcript.cpp golden/book.cpp support/bench.cpp)
target_link_libraries(transcript PRIVATE virtual_phone ${CMAKE_DL_LIBS})
add_dependencies(transcript wifi_factory_test_orva)
target_include_directories(transcript PRIVATE ${PROJECT_SOURCE_DIR})
set_target_properties(transcript PROPERTIES BUILD_RPATH "$<TARGET_FILE_DIR:wifi_factory_test_orva>")
target_link_options(transcript PRIVATE -Wl,--disable-new-dtags)
add_test(NAME golden COMMAND ${PROJECT_SOURCE_DIR}/script/golden --transcript $<TARGET_FILE:transcript> --check)
set_tests_properties(golden PROPERTIES TIMEOUT 1500)

add_executable(quality_test quality_test.cpp)
target_link_libraries(quality_test PRIVATE orva_objects virtual_phone GTest::gtest_main m)
gtest_discover_tests(quality_test DISCOVERY_TIMEOUT 60)

if(CMAKE_BUILD_TYPE STREQUAL "Release" AND NOT ORVA_SANITIZE)
  add_test(NAME footprint COMMAND ${PROJECT_SOURCE_DIR}/script/footprint $<TARGET_FILE:wifi_factory_test_orva>)
endif()

option(ORVA_FUZZ "Build the fuzzing targets (clang)" OFF)
if(ORVA_FUZZ)
  add_subdirectory(${PROJECT_SOURCE_DIR}/fuzz ${PROJECT_BINARY_DIR}/fuzz)
endif()

option(ORVA_COVERAGE "Count the library's lines and branches as they run" OFF)
if(ORVA_COVERAGE)
  target_compile_options(orva_objects PRIVATE --coverage -fprofile-update=atomic)
  target_link_options(orva_objects INTERFACE --coverage)
  target_link_options(wifi_factory_test_orva PRIVATE --coverage)
endif()

option(ORVA_BENCH "Build the benchmark" OFF)
if(ORVA_BENCH)
  add_subdirectory(${PROJECT_SOURCE_DIR}/bench ${PROJECT_BINARY_DIR}/bench)
endif()
