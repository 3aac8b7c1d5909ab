# The version of the host's headers that stand in.
include(/usr/share/cmake/nlohmann_json/nlohmann_jsonConfigVersion.cmake)
