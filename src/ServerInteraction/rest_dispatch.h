#pragma once

#include <functional>
#include <string>

namespace ORVANE {

// Builds the wire text of one REST command from (type, data).
using RestBuilder = std::function<std::string(const std::string& type, const std::string& data)>;

// The builder the control channel uses for `type`, or an empty function for a
// type it does not send (unknown types, and those with a builder but no
// entry, such as the layout and room-creation commands).
RestBuilder restBuilderFor(const std::string& type);

}  // namespace ORVANE
