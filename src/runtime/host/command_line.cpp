#include "runtime/host/command_line.h"

namespace talvero {

namespace {

bool endsWith(const std::string& text, const std::string& suffix) {
  return text.size() >= suffix.size() &&
         text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

}  // namespace

CommandLine parseCommandLine(const std::vector<std::string>& args) {
  CommandLine line;
  for (const auto& arg : args) {
    if (arg == "--help" || arg == "-h") {
      line.help = true;
    } else if (arg == "--exit-when-idle") {
      line.exitWhenIdle = true;
    } else if (!arg.empty() && arg[0] == '-') {
      line.error = "unknown option " + arg;
    } else if (line.script.empty() && endsWith(arg, ".js")) {
      line.script = arg;
    } else {
      line.error = "unexpected argument " + arg;
    }
  }
  if (!line.help && !line.error && line.script.empty()) line.error = "no script given";
  return line;
}

std::string usage() {
  return "usage: talvero FILE.js [--exit-when-idle]\n"
         "\n"
         "Runs FILE.js in a fresh script context with the Talvero globals, then keeps running\n"
         "on the main loop: a script that ends does not end the process.\n"
         "\n"
         "  --exit-when-idle  exit with status 0 as soon as no timer, loop or animation of the\n"
         "                    script is pending and the main queue is empty (for tests)\n"
         "  --help            show this text\n"
         "\n"
         "An uncaught script exception prints \"JavaScript error: \" and its text, and ends the\n"
         "process with status 70. Unusable arguments or an unreadable script end it with 2.\n";
}

}  // namespace talvero
