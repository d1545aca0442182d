#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/bytes.h"
#include "platform/script/script_value.h"
#include "platform/toolkit/geometry.h"

namespace talvero {

class TalveroEngine;

inline constexpr const char* kAppVersion = "1.0.0";
inline constexpr const char* kAppBundleName = "TalveroSDK_TalveroApp.bundle";

// The self-test modes, each asked for by an argument compared whole.
struct LaunchFlags {
  bool verify = false;
  bool verifyLauncher = false;  // wins over `verify`
};
LaunchFlags readLaunchFlags(const std::vector<std::string>& argv);

// A URL, or a script path that cannot be mistaken for an option.
bool isLaunchArgument(const std::string& argument);

// What the program is to open: the first launch argument after the process name; else
// "app.js" beside the executable (its full path); else "app.js" when the bundle can read it;
// else empty.
std::string launchArgument(const std::vector<std::string>& argv,
                           const std::string& executableDirectory, const std::string& bundle);

// The entries of the first "// preload:" line, split at ";" and trimmed of blanks and tabs;
// empty pieces are dropped, later marker lines are not read.
std::vector<std::string> parsePreloads(const std::string& source);
// Each entry in double quotes, as it is, joined with ",".
std::string preloadList(const std::vector<std::string>& preloads);

// JSON text of an array of texts; "[]" when one of them is not valid UTF-8.
std::string argvJson(const std::vector<std::string>& argv);

// The language code of the user's preferred language: the first set of LANGUAGE (its first
// entry), LC_ALL, LC_MESSAGES and LANG, cut before its territory, codeset and modifier.
// "en" for the C and POSIX locales, for none, and for a value without a language code.
using EnvironmentLookup = std::function<std::optional<std::string>(const std::string& name)>;
std::string languageFromLocale(const EnvironmentLookup& lookup);
std::string languageFromLocale();

// "Linux " and the kernel's major and minor version, and the machine's architecture.
struct SystemFacts {
  std::string platform;
  std::string arch;
  int cpuCores = 1;
};
SystemFacts systemFacts();
// "6.1.0-13-amd64" gives "6.1"; a text without a leading number gives it unchanged.
std::string kernelMajorMinor(const std::string& release);

std::string executableDirectory();

// The application's resource bundle: `requested` ("--bundle DIR") when given, else
// TalveroSDK_TalveroApp.bundle beside the executable, else `buildTimePath`. Stops the process
// when none of the candidates is a directory.
std::string resolveAppBundle(const std::string& requested, const std::string& executableDir,
                             const std::string& buildTimePath);

// The bytes behind `fetchLocal(path)`: a resource of the registered and candidate bundles,
// else the resource of the application's bundle, else `path` as a file path; null for none.
Bytes readLocalFile(const std::string& bundle, const std::string& path);

// What the host does with its engine, apart from any window: the host functions, the
// provenance lines and the choice of what runs first. Main thread only.
class AppLaunch {
 public:
  AppLaunch(TalveroEngine& engine, std::string bundle, std::vector<std::string> argv,
            std::string executableDirectory);
  ~AppLaunch();
  AppLaunch(const AppLaunch&) = delete;
  AppLaunch& operator=(const AppLaunch&) = delete;

  // Registers the bundle, sets the language and the local file function, registers
  // `_creatorUtils.systemInfo` and `_creatorUtils.getArgv`, then runs the provenance script.
  void wireEngine();
  // "initial.js" of the bundle when it reads; else "launcher.js" and `launch(argv)`.
  void runLauncher();
  // "bundle.js" of the bundle after `_creator.createEngine` with its preloads, which is skipped
  // with a log line while the 3D layer does not offer it.
  void runBundle();

  std::string launchArgument() const;
  NativeValue systemInfo() const;

  // The container's size while there is one; `systemInfo` leaves `window` out without it.
  std::function<std::optional<toolkit::Size>()> containerSize;

  const std::string& bundle() const { return bundle_; }
  const std::vector<std::string>& argv() const { return argv_; }

 private:
  // The text of a file of the bundle, when it reads and is valid UTF-8.
  std::optional<std::string> readBundleText(const std::string& name) const;

  TalveroEngine& engine_;
  std::string bundle_;
  std::vector<std::string> argv_;
  std::string executableDirectory_;
  // Host functions outlive this object in the shared callback registry.
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace talvero
