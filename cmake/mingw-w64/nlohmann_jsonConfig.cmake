# The host's headers, for the Windows cross-build.
include(${CMAKE_CURRENT_LIST_DIR}/host-headers.cmake)
