#pragma once

namespace ORVANE {

// Whether the library may write its few diagnostics straight to standard
// output (the fallback logger and its error line, the call-signal intake
// lines, the lobby's lines). On unless the application turns it off with
// ConfSDK::setConsoleOutput; any thread.
bool consoleOutput();
void setConsoleOutput(bool on);

}  // namespace ORVANE
