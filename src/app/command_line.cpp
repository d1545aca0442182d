#include "app/command_line.h"

namespace talvero {

namespace {

bool endsWith(const std::string& text, const std::string& suffix) {
  return text.size() >= suffix.size() &&
         text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

void parseScriptMode(const std::vector<std::string>& args, CommandLine& line) {
  for (const auto& arg : args) {
    if (arg == "--run") {
      continue;
    } else if (arg == "--exit-when-idle") {
      line.exitWhenIdle = true;
    } else if (arg == "--bundle") {
      line.error = "--bundle belongs to the host and cannot be used with --run";
    } else if (!arg.empty() && arg[0] == '-') {
      line.error = "unknown option " + arg;
    } else if (line.script.empty() && endsWith(arg, ".js")) {
      line.script = arg;
    } else {
      line.error = "unexpected argument " + arg;
    }
  }
  if (!line.error && line.script.empty()) line.error = "--run needs a script FILE.js";
}

void parseHostMode(const std::vector<std::string>& argv, CommandLine& line) {
  line.argv.push_back(argv.empty() ? "talvero" : argv[0]);
  for (size_t i = 1; i < argv.size(); ++i) {
    const std::string& arg = argv[i];
    if (arg == "--bundle") {
      if (i + 1 >= argv.size() || argv[i + 1].empty()) {
        line.error = "--bundle needs a directory";
        return;
      }
      line.bundle = argv[++i];
    } else if (arg == "--exit-when-idle") {
      line.error = "--exit-when-idle only applies to --run FILE.js";
      return;
    } else {
      line.argv.push_back(arg);
    }
  }
}

}  // namespace

CommandLine parseCommandLine(const std::vector<std::string>& argv) {
  CommandLine line;
  const std::vector<std::string> args(argv.empty() ? argv.end() : argv.begin() + 1, argv.end());
  for (const auto& arg : args) {
    if (arg == "--help" || arg == "-h") {
      line.help = true;
      return line;
    }
    if (arg == "--run") line.mode = RunMode::Script;
  }
  if (line.mode == RunMode::Script) {
    parseScriptMode(args, line);
  } else {
    parseHostMode(argv, line);
  }
  return line;
}

std::string usage() {
  return "usage: talvero [--bundle DIR] [ARGUMENT...]\n"
         "       talvero --run FILE.js [--exit-when-idle]\n"
         "\n"
         "Without --run, Talvero is the desktop host: it opens its window (an X11 display is\n"
         "needed) and runs the application's resource bundle. \"initial.js\" of the bundle runs\n"
         "when present; else \"launcher.js\" runs and its global function launch(argv) gets\n"
         "the process name and every ARGUMENT as one array. The first ARGUMENT that ends in\n"
         "\".js\" (and does not start with \"-\") or starts with \"http://\" or \"https://\" is\n"
         "the launch argument, which scripts read with _creatorUtils.getArgv().\n"
         "\n"
         "  --bundle DIR      use DIR as the application's resource bundle instead of\n"
         "                    TalveroSDK_TalveroApp.bundle beside the executable\n"
         "  --verify          self-test of the bundle's \"bundle.js\", without a window (a\n"
         "                    display is still needed); PNGs under /tmp, status 0 or 1\n"
         "  --verify-launcher self-test of the launcher; wins over --verify\n"
         "\n"
         "With --run, FILE.js runs in a fresh script context with the Talvero globals, without\n"
         "window or launcher, then the process keeps running on the main loop: a script that\n"
         "ends does not end the process.\n"
         "\n"
         "  --exit-when-idle  exit with status 0 as soon as no timer, loop or animation of the\n"
         "                    script is pending and the main queue is empty (for tests)\n"
         "  --help            show this text\n"
         "\n"
         "An uncaught script exception prints \"JavaScript error: \" and its text, and ends the\n"
         "process with status 70. Unusable arguments or an unreadable script end it with 2.\n";
}

}  // namespace talvero
