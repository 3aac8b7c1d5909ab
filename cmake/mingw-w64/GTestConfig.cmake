# Built from source for the Windows cross-build.
include(${CMAKE_CURRENT_LIST_DIR}/gtest-from-source.cmake)
