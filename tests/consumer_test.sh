#!/usr/bin/env bash
# Installs the library from a build folder into a temporary prefix, builds
# the program of docs/embedding.md against it twice (CMake package and
# pkg-config) as a separate project, and runs each: it must join the
# simulated meeting and leave it. Then a project that takes the sources with
# add_subdirectory must find the same targets, and none of the library's
# tests and tools.
#   consumer_test.sh BUILD_DIR EMBEDDING_MD SOURCE_DIR
set -euo pipefail
build=$(realpath "$1")
doc=$(realpath "$2")
source=$(realpath "$3")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
app=$work/app
mkdir -p "$app"

fail() {
  echo "FAIL: $*" >&2
  exit 1
}

cmake --install "$build" --prefix "$prefix" >"$work/install.log" || { cat "$work/install.log"; fail "install"; }

# The installed tree: the library with its SONAME and the names that lead
# to it, the headers, both packages.
lib=$(find "$prefix" -name 'liborvaneControl.so.*.*.*' -type f)
[ -n "$lib" ] || fail "no liborvaneControl.so.X.Y.Z installed"
libdir=$(dirname "$lib")
soname=$(objdump -p "$lib" | awk '$1 == "SONAME" { print $2 }')
[ "$soname" = liborvaneControl.so.0 ] || fail "SONAME is '$soname'"
[ -L "$libdir/$soname" ] && [ -L "$libdir/liborvaneControl.so" ] || fail "the SONAME and linker links are missing"
for f in include/orvane/orvane.h include/orvane/version.h include/orvane/sim/sim_engine.h; do
  [ -f "$prefix/$f" ] || fail "$f not installed"
done
config=$(find "$prefix" -name orvaneControlConfig.cmake)
[ -n "$config" ] && [ -f "$(dirname "$config")/orvaneControlConfigVersion.cmake" ] || fail "no CMake package"
pcdir=$(dirname "$(find "$prefix" -name orvaneControl.pc)")
[ -f "$pcdir/orvaneControl-sim.pc" ] || fail "no pkg-config files"

# The files of the page: every fenced block whose info string names a file.
awk -v dir="$app" '
  /^```[a-z]+ [^ ]+$/ { file = dir "/" $2; printf "" > file; next }
  /^```/ { if (file) close(file); file = ""; next }
  file { print >> file }
' "$doc"
[ -f "$app/main.cpp" ] && [ -f "$app/CMakeLists.txt" ] || fail "docs/embedding.md has no main.cpp and CMakeLists.txt"

check_run() {
  local how=$1 out=$2
  grep -q '^joined meeting 99001: .*running: yes$' "$out" && grep -q '^done$' "$out" ||
    { cat "$out" >&2; fail "$how: the program did not join and leave the meeting"; }
  echo "--- $how"
  cat "$out"
}

# Warnings in the public headers reach every user: none allowed.
flags="-Wall -Wextra -Werror"

cmake -S "$app" -B "$app/build-cmake" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_FLAGS="$flags" \
  >"$work/cmake.log" 2>&1 || { cat "$work/cmake.log"; fail "configure with find_package"; }
cmake --build "$app/build-cmake" >>"$work/cmake.log" 2>&1 || { cat "$work/cmake.log"; fail "build with find_package"; }
timeout 60 "$app/build-cmake/hello_meeting" >"$work/cmake.out" 2>&1 || true
check_run "CMake package" "$work/cmake.out"

export PKG_CONFIG_PATH=$pcdir
[ "$(pkg-config --modversion orvaneControl)" = "$(sed -n 's/^#define ORVANE_VERSION_STRING "\(.*\)"$/\1/p' "$prefix/include/orvane/version.h")" ] ||
  fail "pkg-config's version is not the headers'"
# shellcheck disable=SC2046
g++ -std=c++17 $flags "$app/main.cpp" -o "$app/hello_meeting" $(pkg-config --cflags --libs orvaneControl-sim) \
  >"$work/pc.log" 2>&1 || { cat "$work/pc.log"; fail "build with pkg-config"; }
LD_LIBRARY_PATH=$libdir timeout 60 "$app/hello_meeting" >"$work/pc.out" 2>&1 || true
check_run "pkg-config" "$work/pc.out"

# add_subdirectory: configured only, the build is the same as above.
parent=$work/parent
mkdir -p "$parent"
cat >"$parent/CMakeLists.txt" <<CMAKE
cmake_minimum_required(VERSION 3.20)
project(parent LANGUAGES CXX)
add_subdirectory("$source" orvane)
add_executable(app main.cpp)
target_link_libraries(app PRIVATE orvaneControl::orvaneControl orvaneControl::sim)
foreach(t orvane_tests orvane_bench orvane-cli orvane-stress orvane-hello orvane-active-join)
  if(TARGET \${t})
    message(FATAL_ERROR "built under another project: \${t}")
  endif()
endforeach()
CMAKE
echo 'int main() {}' >"$parent/main.cpp"
cmake -S "$parent" -B "$parent/build" >"$work/parent.log" 2>&1 || { cat "$work/parent.log"; fail "add_subdirectory"; }
echo "--- add_subdirectory: the targets are there, the tests and tools are not"
