# SPDX-License-Identifier: Apache-2.0
# The Debian packages, one for each component of Install.cmake; script/package makes them.
set(CPACK_PACKAGE_NAME wifi-factory-test-orva)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "The authors of libwifi_factory_test_orva")
set(CPACK_PACKAGE_CONTACT "The authors of libwifi_factory_test_orva <maintainers@localhost>")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL library development station python)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR} ${PROJECT_BINARY_DIR}/virtual_phone)

# orva_package(COMPONENT NAME SECTION DEPENDS SUMMARY TEXT)
function(orva_package component name section depends summary text)
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name} PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section} PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS "${depends}" PARENT_SCOPE)
  set(CPACK_COMPONENT_${upper}_DESCRIPTION "${summary}\n${text}" PARENT_SCOPE)
  install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name} RENAME copyright
          COMPONENT ${component} EXCLUDE_FROM_ALL)
endfunction()

set(library libwifi-factory-test-orva)
orva_package(library ${library} libs "" "factory test of a phone's WLAN chip"
  "The shared library through which a factory test station drives and checks the chip.")
orva_package(development ${library}-dev libdevel "${library} (= ${PROJECT_VERSION}), orva-station (= ${PROJECT_VERSION})"
  "factory test of a phone's WLAN chip: development files"
  "Headers, a CMake package and pkg-config files of the library and of the virtual phone.")
orva_package(station orva-station utils "${library} (= ${PROJECT_VERSION})"
  "console, virtual phone and RF test set for the WLAN chip's factory test"
  "The console orva-station with a phone made of software, sessions, phone descriptions, and orva-rf-tester.")
orva_package(python python3-orva python "python3 (>= 3.11), orva-station (= ${PROJECT_VERSION})"
  "WLAN chip's factory test from Python, and records of runs"
  "The packages orva, with a plugin for pytest, and orva_records, with the command orva-records.")
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_RECOMMENDS
    "python3-sqlalchemy, python3-alembic, python3-jinja2, libjs-chart.js, python3-pyvisa, python3-pyvisa-py")
set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS "python3-pytest, python3-psycopg2")
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA
    ${PROJECT_SOURCE_DIR}/cmake/python3-orva/postinst ${PROJECT_SOURCE_DIR}/cmake/python3-orva/prerm)
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)
