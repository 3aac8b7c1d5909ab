#include "console_output.h"

#include <atomic>

namespace ORVANE {

namespace {
std::atomic<bool> g_console{true};
}  // namespace

bool consoleOutput() { return g_console; }

void setConsoleOutput(bool on) { g_console = on; }

}  // namespace ORVANE
