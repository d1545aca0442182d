#include "runtime/log.h"

#include <cstdio>
#include <cstdlib>
#include <string>

namespace talvero {

void logLine(std::string_view line) {
  std::string text(line);
  text.push_back('\n');
  std::fwrite(text.data(), 1, text.size(), stdout);
  std::fflush(stdout);
}

void fatalStop(std::string_view message) {
  std::fflush(stdout);
  std::fprintf(stderr, "Fatal error: %.*s\n", static_cast<int>(message.size()), message.data());
  std::fflush(stderr);
  // No atexit handlers or destructors: nothing of the script may run after this point.
  std::_Exit(kFatalExitStatus);
}

}  // namespace talvero
