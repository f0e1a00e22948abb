# The console, tried from outside as its users do.
if(NOT TARGET orva-station)  # a cross build
  return()
endif()
find_program(PYTEST NAMES pytest-3 pytest REQUIRED)

# A library that writes outside its caller's buffers.
add_library(station_careless MODULE station_careless.c)
target_include_directories(station_careless PRIVATE ${PROJECT_SOURCE_DIR}/include)

add_test(NAME station COMMAND ${PYTEST} -q -p no:cacheprovider ${CMAKE_CURRENT_SOURCE_DIR}/station_test.py)
set_tests_properties(station PROPERTIES ENVIRONMENT
  "ORVA_STATION=$<TARGET_FILE:orva-station>;ORVA_CARELESS=$<TARGET_FILE:station_careless>;PYTHONDONTWRITEBYTECODE=1")

add_test(NAME station_nv COMMAND ${PYTEST} -q -p no:cacheprovider ${CMAKE_CURRENT_SOURCE_DIR}/station_nv_test.py)
set_tests_properties(station_nv PROPERTIES ENVIRONMENT
  "ORVA_STATION=$<TARGET_FILE:orva-station>;ORVA_STATION_PHONE=$<TARGET_FILE:orva-station-phone>;PYTHONDONTWRITEBYTECODE=1")

add_test(NAME station_doctor
  COMMAND ${PYTEST} -q -p no:cacheprovider ${CMAKE_CURRENT_SOURCE_DIR}/station_doctor_test.py)
set_tests_properties(station_doctor PROPERTIES ENVIRONMENT
  "ORVA_STATION=$<TARGET_FILE:orva-station>;ORVA_CARELESS=$<TARGET_FILE:station_careless>;PYTHONDONTWRITEBYTECODE=1")
