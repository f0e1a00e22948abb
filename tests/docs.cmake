# What stands around the library: the Python module, the installed package, the examples, the docs.
if(NOT TARGET orva-station)  # a cross build
  return()
endif()

# Debian's Python, which has pytest; another one may come first in PATH.
find_program(ORVA_PYTHON NAMES python3 PATHS /usr/bin NO_DEFAULT_PATH REQUIRED)

set(orva_python_environment PYTHONPATH=${PROJECT_SOURCE_DIR}/python PYTHONDONTWRITEBYTECODE=1
    "ORVA_LIBRARY_PATH=$<TARGET_FILE_DIR:wifi_factory_test_orva>:$<TARGET_FILE_DIR:virtual_phone>")
if(ORVA_SANITIZE)
  # Python is not built with the sanitizers, so their runtime must come first into the phone's process.
  execute_process(COMMAND ${CMAKE_C_COMPILER} -print-file-name=libasan.so OUTPUT_VARIABLE orva_asan
                  OUTPUT_STRIP_TRAILING_WHITESPACE)
  list(APPEND orva_python_environment ORVA_SANITIZER=${orva_asan} ASAN_OPTIONS=detect_leaks=0)
endif()

function(add_python_test name)
  add_test(NAME ${name} COMMAND ${ORVA_PYTHON} -m pytest -q -p no:cacheprovider
                                ${CMAKE_CURRENT_LIST_DIR}/${name}_test.py)
  set_tests_properties(${name} PROPERTIES ENVIRONMENT "${orva_python_environment};${ARGN}")
endfunction()

add_python_test(python)
if(NOT ORVA_SANITIZE)  # an example is built as its reader would
  add_python_test(docs ORVA_BUILD=${PROJECT_BINARY_DIR} ORVA_STATION=$<TARGET_FILE:orva-station>)
endif()
