#pragma once

#include <string_view>

namespace talvero {

// Writes one whole line to the standard output and flushes it, from any thread, so that no
// line is lost or torn when the process is killed.
void logLine(std::string_view line);

// Ends the process after a condition it cannot go on from: the message goes to the standard
// error, after the standard output is flushed. The exit status is kFatalExitStatus.
[[noreturn]] void fatalStop(std::string_view message);

inline constexpr int kFatalExitStatus = 70;

}  // namespace talvero
