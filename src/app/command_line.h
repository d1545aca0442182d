#pragma once

#include <optional>
#include <string>
#include <vector>

namespace talvero {

// The two ways the process runs: the desktop host with its window and launcher, or one
// script run directly, without window or launcher ("--run").
enum class RunMode { Host, Script };

struct CommandLine {
  RunMode mode = RunMode::Host;
  bool help = false;
  std::optional<std::string> error;  // set when the arguments cannot be used

  // Script mode.
  std::string script;  // the ".js" file to run
  bool exitWhenIdle = false;

  // Host mode.
  std::string bundle;  // "--bundle DIR": the application's resource bundle; empty for the default
  // The process name and every argument but "--bundle DIR", as the launcher gets them.
  std::vector<std::string> argv;
};

// `argv` with the process name first. In host mode every argument that is not the host's own
// goes on to the launcher unchanged.
CommandLine parseCommandLine(const std::vector<std::string>& argv);
std::string usage();

}  // namespace talvero
