# SPDX-License-Identifier: Apache-2.0
# What `cmake --install` installs: the library with its headers, a CMake package and a pkg-config file; if they were
# built, also the virtual phone, the console, sessions, phone descriptions and the Python packages. The components library,
# development, station and python are the Debian packages of cmake/Packages.cmake.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(orva_package wifi_factory_test_orva)
set(orva_headers ${CMAKE_INSTALL_INCLUDEDIR}/${orva_package})
set(orva_cmake ${CMAKE_INSTALL_LIBDIR}/cmake/${orva_package})
set(orva_share ${CMAKE_INSTALL_DATADIR}/${orva_package})

set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME development)
install(DIRECTORY include/ DESTINATION ${orva_headers} FILES_MATCHING PATTERN "*.h")
install(FILES platform/platform.h DESTINATION ${orva_headers}/platform)

target_include_directories(wifi_factory_test_orva INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
                                                            $<INSTALL_INTERFACE:${orva_headers}>)
install(TARGETS wifi_factory_test_orva EXPORT ${orva_package} LIBRARY COMPONENT library)

# The prefix relative to the pkg-config files, so that --prefix may move the installation.
file(RELATIVE_PATH orva_prefix_from_pkgconfig /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
function(install_pkg_config name)
  configure_file(cmake/${name}.pc.in ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endfunction()
install_pkg_config(wifi_factory_test_orva)

if(TARGET virtual_phone)
  # The kernel half looks for the platform half in its own folder.
  set_target_properties(virtual_phone virtual_phone_platform PROPERTIES INSTALL_RPATH "$ORIGIN")
  target_include_directories(virtual_phone_platform INTERFACE $<INSTALL_INTERFACE:${orva_headers}>)
  install(TARGETS virtual_phone virtual_phone_platform EXPORT ${orva_package} LIBRARY COMPONENT station)
  install(FILES virtual_phone/phone.h DESTINATION ${orva_headers}/virtual_phone)
  install(DIRECTORY virtual_phone/phones sessions DESTINATION ${orva_share} COMPONENT station)
  install_pkg_config(wifi_factory_test_orva_virtual_phone)
endif()
if(TARGET orva-rf-tester)
  install(TARGETS orva-rf-tester OPTIONAL COMPONENT station)
  install(DIRECTORY rf_tester/profiles DESTINATION ${orva_share}/rf_tester COMPONENT station)
  install(FILES rf_tester/limits.csv rf_tester/factory-limits.csv DESTINATION ${orva_share}/rf_tester COMPONENT station)
endif()
if(TARGET orva-station)
  install(TARGETS orva-station COMPONENT station)
  if(NOT CMAKE_CROSSCOMPILING)  # the console has to run to write these
    set(orva_generated ${CMAKE_CURRENT_BINARY_DIR}/generated)
    function(install_generated what name folder)
      # At installation, so that building the console alone is enough.
      install(CODE "file(MAKE_DIRECTORY \"${orva_generated}\")
        execute_process(COMMAND \"$<TARGET_FILE:orva-station>\" generate ${what}
          OUTPUT_FILE \"${orva_generated}/${name}\" RESULT_VARIABLE status)
        if(NOT status EQUAL 0)
          message(FATAL_ERROR \"orva-station generate ${what}: \${status}\")
        endif()" COMPONENT station)
      install(FILES ${orva_generated}/${name} DESTINATION ${folder} COMPONENT station)
    endfunction()
    install_generated(bash orva-station ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
    install_generated(zsh _orva-station ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
    install_generated(man orva-station.1 ${CMAKE_INSTALL_MANDIR}/man1)
  endif()
endif()

# The Python packages go where the prefix's Python looks for them, together with what pip and pytest read about them.
option(ORVA_PYTHON_PACKAGES "With ORVA_HOST, install the Python packages (wants setuptools and wheel)" ${ORVA_HOST})
if(ORVA_PYTHON_PACKAGES AND NOT CMAKE_CROSSCOMPILING)
  # Debian's Python; another one may come first in PATH.
  find_program(ORVA_PYTHON NAMES python3 PATHS /usr/bin NO_DEFAULT_PATH REQUIRED)
  configure_file(cmake/InstallPython.cmake.in ${CMAKE_CURRENT_BINARY_DIR}/InstallPython.cmake @ONLY)
  install(SCRIPT ${CMAKE_CURRENT_BINARY_DIR}/InstallPython.cmake COMPONENT python)
  install(PROGRAMS cmake/orva-records DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT python)
endif()

install(EXPORT ${orva_package} NAMESPACE ${orva_package}:: FILE ${orva_package}Targets.cmake DESTINATION ${orva_cmake})
configure_package_config_file(cmake/${orva_package}Config.cmake.in ${orva_package}Config.cmake
                              INSTALL_DESTINATION ${orva_cmake})
write_basic_package_version_file(${orva_package}ConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${orva_package}Config.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/${orva_package}ConfigVersion.cmake DESTINATION ${orva_cmake})

if(PROJECT_IS_TOP_LEVEL)
  include(cmake/Packages.cmake)
endif()
