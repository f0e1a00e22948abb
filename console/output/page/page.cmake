# SPDX-License-Identifier: Apache-2.0
# Makes a header with the report page's three texts, and again when one of its sources changes.
set(sources page.html page.css model.js dom.js time_axis.js calibration.js plot.js sweep.js measurements.js
    measurement_plots.js steps.js log.js failures.js page.js)
list(TRANSFORM sources PREPEND ${CMAKE_CURRENT_LIST_DIR}/)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${sources})
foreach(source IN LISTS sources)
  file(READ ${source} text)
  if(source MATCHES "html$")
    set(REPORT_PAGE "${text}")
  elseif(source MATCHES "css$")
    set(REPORT_STYLE "${text}")
  else()
    string(APPEND REPORT_SCRIPT "${text}")
  endif()
endforeach()
configure_file(${CMAKE_CURRENT_LIST_DIR}/report_page.h.in ${CMAKE_CURRENT_BINARY_DIR}/output/page/report_page.h @ONLY)
