# Self-checks and station utilities of the library, on every chip.
add_phone_test(self_check_test self_check.cpp self_check_chip.cpp self_check_probes.cpp self_check_weld.cpp)
add_phone_test(station_utilities_test self_check.cpp station_utilities.cpp)

if(TARGET orva-station)  # not in a cross build
  # The station's board check, on the phones that are shipped and on some more.
  find_program(PYTEST NAMES pytest-3 pytest REQUIRED)
  add_test(NAME board_check
           COMMAND ${PYTEST} -q -p no:cacheprovider ${CMAKE_CURRENT_SOURCE_DIR}/self_check_session_test.py)
  set_tests_properties(board_check PROPERTIES ENVIRONMENT
    "ORVA_STATION=$<TARGET_FILE:orva-station>;PYTHONDONTWRITEBYTECODE=1")
endif()
