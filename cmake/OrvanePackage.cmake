# What `cmake --install` puts into the prefix: the shared library with its
# SONAME, the public headers, the CMake package (config, version, targets)
# and the pkg-config files. The simulators are the optional component "sim".
include(CMakePackageConfigHelpers)

set(ORVANE_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/orvaneControl)
set(ORVANE_PKGCONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
set(ORVANE_PACKAGE_TEMPLATES ${CMAKE_CURRENT_LIST_DIR})

# pkg-config files find the prefix from where they lie, so that a tree
# installed with `cmake --install --prefix DIR` works wherever DIR is.
file(RELATIVE_PATH ORVANE_PC_TO_PREFIX ${CMAKE_INSTALL_PREFIX}/${ORVANE_PKGCONFIG_DIR} ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" ORVANE_PC_TO_PREFIX "${ORVANE_PC_TO_PREFIX}")

# Installs an optional component: its library, as orvaneControl::NAME, in an
# export file of its own (orvaneControl-NAME-targets.cmake, which the package
# config looks for), its headers, and orvaneControl-NAME.pc. What its target
# links beyond the core is found by the package config: see the component
# table there.
#   orvane_install_component(NAME TARGET target [HEADERS file... [HEADER_DESTINATION dir]]
#                            [PC_REQUIRES "pkg..."] [PC_LIBS "-l..."])
function(orvane_install_component name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "TARGET;HEADER_DESTINATION;PC_REQUIRES;PC_LIBS" "HEADERS")
  if(NOT arg_HEADER_DESTINATION)
    set(arg_HEADER_DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/orvane)
  endif()
  # Installed, it is orvaneControl::NAME, as its alias in the build tree.
  set_target_properties(${arg_TARGET} PROPERTIES EXPORT_NAME ${name})
  install(TARGETS ${arg_TARGET} EXPORT orvaneControl-${name}
          ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${name}
          LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${name}
          RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT ${name})
  install(EXPORT orvaneControl-${name} NAMESPACE orvaneControl::
          FILE orvaneControl-${name}-targets.cmake DESTINATION ${ORVANE_CMAKE_DIR} COMPONENT ${name})
  if(arg_HEADERS)
    install(FILES ${arg_HEADERS} DESTINATION ${arg_HEADER_DESTINATION} COMPONENT ${name})
  endif()
  get_target_property(ORVANE_PC_LIB ${arg_TARGET} OUTPUT_NAME)
  if(NOT ORVANE_PC_LIB)
    set(ORVANE_PC_LIB ${arg_TARGET})
  endif()
  set(ORVANE_PC_COMPONENT ${name})
  set(ORVANE_PC_REQUIRES "${arg_PC_REQUIRES}")
  set(ORVANE_PC_LIBS "${arg_PC_LIBS}")
  configure_file(${ORVANE_PACKAGE_TEMPLATES}/orvaneControl-component.pc.in
                 ${PROJECT_BINARY_DIR}/orvaneControl-${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/orvaneControl-${name}.pc DESTINATION ${ORVANE_PKGCONFIG_DIR} COMPONENT ${name})
endfunction()

# The core: the library and every header of include/orvane/ that belongs to
# no component.
install(TARGETS orvaneControl EXPORT orvaneControl-core
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT core
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT core
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT core)
install(EXPORT orvaneControl-core NAMESPACE orvaneControl::
        FILE orvaneControl-core-targets.cmake DESTINATION ${ORVANE_CMAKE_DIR} COMPONENT core)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/orvane ${PROJECT_BINARY_DIR}/include/orvane
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT core
        FILES_MATCHING PATTERN "*.h"
        PATTERN "websocket_transport.h" EXCLUDE
        PATTERN "sim" EXCLUDE)

orvane_install_component(sim TARGET orvane_sim
  HEADERS ${PROJECT_SOURCE_DIR}/sim/sim_engine.h ${PROJECT_SOURCE_DIR}/sim/loopback_transport.h
          ${PROJECT_SOURCE_DIR}/sim/sim_servers.h
  HEADER_DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/orvane/sim
  PC_REQUIRES "nlohmann_json >= 3.11" PC_LIBS "-pthread")
# The WebSocket transport, where it is built.
if(TARGET orvaneControl_websocket)
  orvane_install_component(websocket TARGET orvaneControl_websocket
    HEADERS ${PROJECT_SOURCE_DIR}/include/orvane/websocket_transport.h)
endif()

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/orvaneControlConfig.cmake.in
  ${PROJECT_BINARY_DIR}/orvaneControlConfig.cmake INSTALL_DESTINATION ${ORVANE_CMAKE_DIR})
# Before 1.0 a minor version may break the interface.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/orvaneControlConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/orvaneControlConfig.cmake ${PROJECT_BINARY_DIR}/orvaneControlConfigVersion.cmake
        DESTINATION ${ORVANE_CMAKE_DIR} COMPONENT core)

configure_file(${CMAKE_CURRENT_LIST_DIR}/orvaneControl.pc.in ${PROJECT_BINARY_DIR}/orvaneControl.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/orvaneControl.pc DESTINATION ${ORVANE_PKGCONFIG_DIR} COMPONENT core)
