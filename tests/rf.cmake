# Dispatch, driver channel, shell and RF test.
add_phone_test(rf_driver_test rf_driver_test.cpp rf_expect.cpp)
add_phone_test(rf_sequence_test rf_sequence_test.cpp rf_expect.cpp)
add_phone_test(rf_settings_test rf_settings_test.cpp rf_expect.cpp)
add_phone_test(dispatch_test dispatch_test.cpp)

# A caller in plain C.
add_executable(dispatch_api dispatch_api.c)
set_target_properties(dispatch_api PROPERTIES C_STANDARD 99 C_STANDARD_REQUIRED ON C_EXTENSIONS OFF)
target_compile_options(dispatch_api PRIVATE -Wpedantic -Wstrict-prototypes)
target_link_libraries(dispatch_api PRIVATE wifi_factory_test_orva virtual_phone)
add_test(NAME dispatch_api COMMAND dispatch_api)

find_program(PYTEST NAMES pytest-3 pytest REQUIRED)
add_test(NAME dispatch_exports
         COMMAND ${PYTEST} -q -p no:cacheprovider ${CMAKE_CURRENT_SOURCE_DIR}/dispatch_exports_test.py)
set_tests_properties(dispatch_exports PROPERTIES ENVIRONMENT
  "ORVA_LIBRARY=$<TARGET_FILE:wifi_factory_test_orva>;PYTHONDONTWRITEBYTECODE=1")

# Internals: linked with the library's objects instead of the library.
function(add_internals name)
  add_executable(${name} ${ARGN})
  target_link_libraries(${name} PRIVATE orva_objects virtual_phone m)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
endfunction()

add_internals(rf_tables_test rf_tables_test.cpp)
target_link_libraries(rf_tables_test PRIVATE GTest::gtest_main)
gtest_discover_tests(rf_tables_test DISCOVERY_TIMEOUT 60)

# docs/chip_differences.md is made of what the library itself says.
add_internals(rf_chip_tables rf_chip_tables.cpp)
add_test(NAME chip_differences
         COMMAND ${PROJECT_SOURCE_DIR}/script/chip-differences --check --tables $<TARGET_FILE:rf_chip_tables>)
add_test(NAME layering COMMAND ${PROJECT_SOURCE_DIR}/script/check-layering)
add_test(NAME rf_scripts COMMAND ${PYTEST} -q -p no:cacheprovider ${CMAKE_CURRENT_SOURCE_DIR}/rf_scripts_test.py)
set_tests_properties(rf_scripts PROPERTIES ENVIRONMENT PYTHONDONTWRITEBYTECODE=1)
