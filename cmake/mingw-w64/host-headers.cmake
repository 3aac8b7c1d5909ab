# The cross-build's stand-ins for the JSON, formatting and logging libraries
# (see cmake/mingw-w64.cmake): the host's headers, used as headers only.
include_guard(GLOBAL)

add_library(orvane_host_headers INTERFACE IMPORTED)
set_target_properties(orvane_host_headers PROPERTIES
  # Searched after the compiler's own headers, never before them:
  # /usr/include also holds the host's C library.
  INTERFACE_COMPILE_OPTIONS "-idirafter/usr/include"
  # Without SPDLOG_COMPILED_LIB spdlog is headers only as well; Debian's
  # tweakme.h already has it use the external fmt. spdlog then brings
  # <windows.h> into every file that logs: without the last three, that
  # defines ERROR, min and max as macros, which break ordinary names.
  INTERFACE_COMPILE_DEFINITIONS "FMT_HEADER_ONLY;WIN32_LEAN_AND_MEAN;NOMINMAX;NOGDI"
  # Compiling spdlog and fmt again in every file costs more than the file
  # itself: each target that uses them precompiles them once.
  INTERFACE_PRECOMPILE_HEADERS "<spdlog/spdlog.h>;<nlohmann/json.hpp>")

foreach(target nlohmann_json::nlohmann_json fmt::fmt spdlog::spdlog)
  add_library(${target} INTERFACE IMPORTED)
  set_target_properties(${target} PROPERTIES INTERFACE_LINK_LIBRARIES orvane_host_headers)
endforeach()
