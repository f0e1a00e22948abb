# The report page: its file, and how it behaves in a browser. Where there is no browser, that test says it was skipped.
if(NOT TARGET orva-station)  # a cross build
  return()
endif()
find_program(ORVA_PYTHON NAMES python3 PATHS /usr/bin NO_DEFAULT_PATH REQUIRED)

foreach(name report_page report_browser)
  add_test(NAME ${name} COMMAND ${ORVA_PYTHON} -m pytest -q -p no:cacheprovider ${CMAKE_CURRENT_LIST_DIR}/${name}_test.py)
  set_tests_properties(${name} PROPERTIES SKIP_RETURN_CODE 77
    ENVIRONMENT "ORVA_STATION=$<TARGET_FILE:orva-station>;PYTHONDONTWRITEBYTECODE=1")
endforeach()
