#pragma once

#include <optional>
#include <string>
#include <vector>

namespace talvero {

struct CommandLine {
  std::string script;  // the ".js" file to run
  bool exitWhenIdle = false;
  bool help = false;
  std::optional<std::string> error;  // set when the arguments cannot be used
};

// `args` without the program name.
CommandLine parseCommandLine(const std::vector<std::string>& args);
std::string usage();

}  // namespace talvero
