#include "orvane/version.h"

namespace ORVANE {

// Compiled into the library, so it tells the build that is loaded, not the
// headers the caller saw.
const char* version() noexcept { return ORVANE_VERSION_STRING; }

}  // namespace ORVANE
