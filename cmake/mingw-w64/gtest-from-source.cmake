# GoogleTest and GoogleMock for the cross-build, from Debian's sources.
include_guard(GLOBAL)

set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
# Its own CMake files name them GTest::gtest_main, GTest::gmock and so on.
foreach(lib gtest gtest_main gmock gmock_main)
  # Its code is not ours to keep free of warnings.
  target_compile_options(${lib} PRIVATE -w)
endforeach()
