# Calibration data in NV. The expected arithmetic comes from another tool's exact numbers.
find_package(Python3 REQUIRED COMPONENTS Interpreter)
set(calibration_table ${CMAKE_CURRENT_BINARY_DIR}/calibration_table.txt)
add_custom_command(OUTPUT ${calibration_table}
                   COMMAND Python3::Interpreter ${CMAKE_CURRENT_LIST_DIR}/calibration_oracle.py ${calibration_table}
                   DEPENDS ${CMAKE_CURRENT_LIST_DIR}/calibration_oracle.py VERBATIM)
add_phone_test(calibration_test calibration_test.cpp calibration_write_test.cpp calibration_clean_test.cpp
               calibration_block_test.cpp ${calibration_table})
target_compile_definitions(calibration_test PRIVATE CALIBRATION_TABLE="${calibration_table}")

if(TARGET orva-station)  # not in a cross build
  find_program(PYTEST NAMES pytest-3 pytest REQUIRED)
  add_test(NAME calibration_station
           COMMAND ${PYTEST} -q -p no:cacheprovider ${CMAKE_CURRENT_LIST_DIR}/calibration_station_test.py)
  set_tests_properties(calibration_station PROPERTIES ENVIRONMENT
    "ORVA_STATION=$<TARGET_FILE:orva-station>;PYTHONDONTWRITEBYTECODE=1")
endif()
