# The HTML reference of include/orvane/, built by Doxygen: target "docs"
# (scripts/docs.sh; "orvaneControl_docs" under another project), checked by
# the test suite. Any warning, an undocumented member among them, fails it.
find_package(Doxygen QUIET)
set(ORVANE_DOCS_DIR ${PROJECT_BINARY_DIR}/docs)
set(ORVANE_DOCS_PAGES ${PROJECT_BINARY_DIR}/docs-pages)

# Which engine operations the "QV" wrapper queues for the UI thread is
# decided by src/avsdk_ops.h alone; the reference shows that table.
file(READ ${PROJECT_SOURCE_DIR}/src/avsdk_ops.h ORVANE_OPS_TEXT)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/avsdk_ops.h)
foreach(kind QUEUED DIRECT)
  set(ORVANE_${kind}_OPS "")
  string(REGEX MATCHALL "X\\([^,]+, [A-Za-z0-9_]+, \\([^)]*\\), \\([^)]*\\), ${kind}," rows "${ORVANE_OPS_TEXT}")
  foreach(row IN LISTS rows)
    string(REGEX REPLACE "^X\\([^,]+, ([A-Za-z0-9_]+),.*" "\\1" name "${row}")
    string(APPEND ORVANE_${kind}_OPS "`${name}` ")
  endforeach()
endforeach()
configure_file(${CMAKE_CURRENT_LIST_DIR}/docs/engine_threads.md.in ${ORVANE_DOCS_PAGES}/engine_threads.md @ONLY)
configure_file(${CMAKE_CURRENT_LIST_DIR}/docs/mainpage.md.in ${ORVANE_DOCS_PAGES}/mainpage.md @ONLY)
configure_file(${CMAKE_CURRENT_LIST_DIR}/Doxyfile.in ${PROJECT_BINARY_DIR}/Doxyfile @ONLY)

# Under another project the target has a name of its own.
if(ORVANE_TOP_LEVEL)
  set(ORVANE_DOCS_TARGET docs)
else()
  set(ORVANE_DOCS_TARGET orvaneControl_docs)
endif()
if(DOXYGEN_FOUND)
  add_custom_target(${ORVANE_DOCS_TARGET}
    COMMAND ${DOXYGEN_EXECUTABLE} ${PROJECT_BINARY_DIR}/Doxyfile
    COMMAND ${CMAKE_COMMAND} -E echo "reference: ${ORVANE_DOCS_DIR}/html/index.html"
    WORKING_DIRECTORY ${PROJECT_BINARY_DIR}
    COMMENT "Building the HTML reference of include/orvane/"
    VERBATIM)
else()
  add_custom_target(${ORVANE_DOCS_TARGET}
    COMMAND ${CMAKE_COMMAND} -E echo "doxygen not found: install Debian's doxygen to build the reference"
    COMMAND ${CMAKE_COMMAND} -E false
    VERBATIM)
endif()
