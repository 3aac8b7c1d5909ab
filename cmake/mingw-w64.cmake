# Cross-builds the library and its tests for 64-bit Windows with Debian's
# mingw-w64, and runs what it builds under Wine:
#   cmake -S . -B build-win -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64.cmake
# scripts/test.sh --windows does that and runs the tests.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

# The POSIX thread model: the default one has no std::thread or std::mutex.
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The compiler's own runtime (libstdc++, libgcc, winpthread) goes into every
# program and DLL, so Wine needs no DLLs of the cross compiler on its path.
set(CMAKE_EXE_LINKER_FLAGS_INIT -static)
set(CMAKE_SHARED_LINKER_FLAGS_INIT -static)

# Programs beside the library's DLL, where Windows looks for it first.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)

# Debian has no Windows builds of the JSON, formatting and logging libraries:
# their headers from the host stand in, used header-only
# (cmake/mingw-w64/host-headers.cmake). GoogleTest is built from its sources.
foreach(package nlohmann_json fmt spdlog GTest)
  set(${package}_DIR ${CMAKE_CURRENT_LIST_DIR}/mingw-w64)
endforeach()

# Listing a test program's cases runs it under Wine: at test time, when
# scripts/test-windows.sh has started Wine's server, not during the build.
set(CMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE PRE_TEST)

find_program(ORVANE_WINE NAMES wine wine64 PATHS /usr/lib/wine NO_CMAKE_FIND_ROOT_PATH)
if(ORVANE_WINE)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${ORVANE_WINE})
endif()
