#include "app/app_launch.h"

#include <sys/utsname.h>
#include <unistd.h>

#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "engine/engine.h"
#include "runtime/log.h"
#include "runtime/resources.h"
#include "runtime/utf8.h"
#include "services/string_table_json.h"

namespace talvero {

namespace fs = std::filesystem;

namespace {

constexpr const char* kPreloadMarker = "// preload:";

// The first script code of every run: says which runtime this is and whether its 3D side can
// simulate physics, so that a log of a broken project shows it at once.
constexpr const char* kProvenanceScript = R"js((function () {
  var physics = typeof _creator.physicsHasSupport === "function" && !!_creator.physicsHasSupport();
  console.log("[provenance] runtime " + "1.0.0" + " · creator-gl physics=" + (physics ? "on" : "OFF"));
  if (!physics) {
    console.log("[provenance] WARNING: creator-gl reports NO physics support — a stale or DEBUG " +
        "native slice (CREATOR_GL_PHYSICS off). 3D physics projects/playgrounds will not simulate.");
  }
})();)js";

bool startsWith(const std::string& text, const std::string& prefix) {
  return text.compare(0, prefix.size(), prefix) == 0;
}

bool endsWith(const std::string& text, const std::string& suffix) {
  return text.size() >= suffix.size() &&
         text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

bool isRegularFile(const fs::path& path) {
  std::error_code error;
  return fs::is_regular_file(path, error);
}

bool isDirectory(const fs::path& path) {
  std::error_code error;
  return fs::is_directory(path, error);
}

Bytes readFile(const fs::path& path) {
  if (!isRegularFile(path)) return nullptr;
  std::ifstream in(path, std::ios::binary);
  if (!in) return nullptr;
  std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)),
                             std::istreambuf_iterator<char>());
  if (in.bad()) return nullptr;
  return makeBytes(std::move(bytes));
}

std::string trimBlanks(const std::string& text) {
  const size_t first = text.find_first_not_of(" \t");
  if (first == std::string::npos) return {};
  const size_t last = text.find_last_not_of(" \t");
  return text.substr(first, last - first + 1);
}

size_t codePointCount(const std::string& text) {
  size_t count = 0;
  for (unsigned char c : text) {
    if ((c & 0xC0) != 0x80) ++count;
  }
  return count;
}

bool isCLocale(const std::string& locale) {
  return locale == "C" || locale == "POSIX" || startsWith(locale, "C.") || startsWith(locale, "C@");
}

}  // namespace

LaunchFlags readLaunchFlags(const std::vector<std::string>& argv) {
  LaunchFlags flags;
  for (size_t i = 1; i < argv.size(); ++i) {
    if (argv[i] == "--verify") flags.verify = true;
    if (argv[i] == "--verify-launcher") flags.verifyLauncher = true;
  }
  return flags;
}

bool isLaunchArgument(const std::string& argument) {
  if (startsWith(argument, "http://") || startsWith(argument, "https://")) return true;
  return endsWith(argument, ".js") && !startsWith(argument, "-");
}

std::string launchArgument(const std::vector<std::string>& argv,
                           const std::string& executableDirectory, const std::string& bundle) {
  for (size_t i = 1; i < argv.size(); ++i) {
    if (isLaunchArgument(argv[i])) return argv[i];
  }
  if (!executableDirectory.empty()) {
    const fs::path besideExecutable = fs::path(executableDirectory) / "app.js";
    if (isRegularFile(besideExecutable)) return besideExecutable.string();
  }
  if (!bundle.empty() && readFile(fs::path(bundle) / "app.js")) return "app.js";
  return {};
}

std::vector<std::string> parsePreloads(const std::string& source) {
  std::vector<std::string> entries;
  size_t lineStart = 0;
  while (lineStart <= source.size()) {
    size_t lineEnd = source.find_first_of("\r\n", lineStart);
    if (lineEnd == std::string::npos) lineEnd = source.size();
    const std::string line = source.substr(lineStart, lineEnd - lineStart);
    const size_t marker = line.find(kPreloadMarker);
    if (marker != std::string::npos) {
      const std::string list = line.substr(marker + std::char_traits<char>::length(kPreloadMarker));
      size_t start = 0;
      while (start <= list.size()) {
        size_t end = list.find(';', start);
        if (end == std::string::npos) end = list.size();
        std::string entry = trimBlanks(list.substr(start, end - start));
        if (!entry.empty()) entries.push_back(std::move(entry));
        start = end + 1;
      }
      break;
    }
    lineStart = lineEnd + 1;
  }
  return entries;
}

std::string preloadList(const std::vector<std::string>& preloads) {
  std::string list;
  for (const auto& entry : preloads) {
    if (!list.empty()) list += ",";
    list += "\"" + entry + "\"";
  }
  return list;
}

std::string argvJson(const std::vector<std::string>& argv) {
  std::string json = "[";
  for (size_t i = 0; i < argv.size(); ++i) {
    if (!isValidUtf8(argv[i])) return "[]";
    if (i > 0) json += ",";
    appendJsonString(json, argv[i]);
  }
  return json + "]";
}

std::string languageFromLocale(const EnvironmentLookup& lookup) {
  std::string locale;
  for (const char* name : {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"}) {
    std::optional<std::string> value = lookup(name);
    if (!value || value->empty()) continue;
    locale = *value;
    // LANGUAGE is a list of preferences; the first one is the user's choice.
    if (std::string(name) == "LANGUAGE") locale = locale.substr(0, locale.find(':'));
    if (!locale.empty()) break;
  }
  if (locale.empty() || isCLocale(locale)) return "en";
  std::string code = locale.substr(0, locale.find_first_of("_.@-"));
  if (code.empty()) return "en";
  for (char& c : code) {
    if (!std::isalpha(static_cast<unsigned char>(c))) return "en";
    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  return code;
}

std::string languageFromLocale() {
  return languageFromLocale([](const std::string& name) -> std::optional<std::string> {
    const char* value = std::getenv(name.c_str());
    if (!value) return std::nullopt;
    return std::string(value);
  });
}

std::string kernelMajorMinor(const std::string& release) {
  size_t end = 0;
  int dots = 0;
  while (end < release.size()) {
    const char c = release[end];
    if (c == '.') {
      if (++dots == 2) break;
    } else if (!std::isdigit(static_cast<unsigned char>(c))) {
      break;
    }
    ++end;
  }
  if (end == 0) return release;
  std::string version = release.substr(0, end);
  if (version.back() == '.') version.pop_back();
  return version;
}

SystemFacts systemFacts() {
  SystemFacts facts;
  utsname name{};
  if (::uname(&name) == 0) {
    facts.platform = "Linux " + kernelMajorMinor(name.release);
    facts.arch = name.machine;
  } else {
    facts.platform = "Linux";
    facts.arch = "unknown";
  }
  const long online = ::sysconf(_SC_NPROCESSORS_ONLN);
  facts.cpuCores = online > 0 ? static_cast<int>(online) : 1;
  return facts;
}

std::string executableDirectory() {
  std::error_code error;
  const fs::path executable = fs::read_symlink("/proc/self/exe", error);
  return error ? std::string() : executable.parent_path().string();
}

std::string resolveAppBundle(const std::string& requested, const std::string& executableDir,
                             const std::string& buildTimePath) {
  if (!requested.empty()) {
    if (isDirectory(requested)) return requested;
    fatalStop("could not load resource bundle: from " + requested);
  }
  const std::string besideExecutable = (fs::path(executableDir) / kAppBundleName).string();
  if (!executableDir.empty() && isDirectory(besideExecutable)) return besideExecutable;
  if (!buildTimePath.empty() && isDirectory(buildTimePath)) return buildTimePath;
  fatalStop("could not load resource bundle: from " + besideExecutable + " or " + buildTimePath);
}

Bytes readLocalFile(const std::string& bundle, const std::string& path) {
  if (Bytes bytes = TalveroResources::localAsset(path)) return bytes;
  const auto [name, extension] = TalveroResources::splitExtension(path);
  if (!bundle.empty() && !name.empty()) {
    const fs::path file = fs::path(bundle) / (extension.empty() ? name : name + "." + extension);
    if (Bytes bytes = readFile(file)) return bytes;
  }
  return readFile(path);
}

AppLaunch::AppLaunch(TalveroEngine& engine, std::string bundle, std::vector<std::string> argv,
                     std::string executableDirectory)
    : engine_(engine),
      bundle_(std::move(bundle)),
      argv_(std::move(argv)),
      executableDirectory_(std::move(executableDirectory)) {}

AppLaunch::~AppLaunch() {
  *alive_ = false;
}

void AppLaunch::wireEngine() {
  TalveroResources::registerBundle(bundle_);
  engine_.setLanguage(languageFromLocale());
  engine_.setFetchLocal(
      [bundle = bundle_](const std::string& path) { return readLocalFile(bundle, path); });
  std::weak_ptr<bool> alive = alive_;
  engine_.registerCallback("_creatorUtils.systemInfo",
                           [this, alive](const std::vector<ScriptValue>&) -> NativeValue {
                             if (!alive.lock()) return {};
                             return systemInfo();
                           });
  engine_.registerCallback("_creatorUtils.getArgv",
                           [this, alive](const std::vector<ScriptValue>&) -> NativeValue {
                             if (!alive.lock()) return {};
                             return launchArgument();
                           });
  engine_.run(kProvenanceScript);
}

void AppLaunch::runLauncher() {
  if (auto initial = readBundleText("initial.js")) {
    logLine("[TalveroApp] running initial.js (argv=\"" + launchArgument() + "\")");
    engine_.run(*initial, (fs::path(bundle_) / "initial.js").string());
    return;
  }
  if (auto launcher = readBundleText("launcher.js")) {
    engine_.run(*launcher, (fs::path(bundle_) / "launcher.js").string());
    const std::string json = argvJson(argv_);
    logLine("[TalveroApp] launch(" + json + ")");
    engine_.run("launch(" + json + ")");
    return;
  }
  logLine("[TalveroApp] no Resources/initial.js or launcher.js found");
}

void AppLaunch::runBundle() {
  const auto source = readBundleText("bundle.js");
  if (!source) {
    logLine("[TalveroApp] no Resources/bundle.js found");
    return;
  }
  const std::string list = preloadList(parsePreloads(*source));
  logLine("[TalveroApp] createEngine([" + list + "])");
  engine_.run("_creator.createEngine([" + list + "])");
  logLine("[TalveroApp] running bundle (" + std::to_string(codePointCount(*source)) + " chars)");
  engine_.run(*source, (fs::path(bundle_) / "bundle.js").string());
  logLine("[TalveroApp] bundle returned");
}

std::string AppLaunch::launchArgument() const {
  return talvero::launchArgument(argv_, executableDirectory_, bundle_);
}

NativeValue AppLaunch::systemInfo() const {
  const SystemFacts facts = systemFacts();
  NativeValue::Dict info{
      {"app", kAppVersion},         {"platform", facts.platform},
      {"arch", facts.arch},         {"backend", CreatorGLHandler::rendererBackend()},
      {"cpuCores", facts.cpuCores},
  };
  if (containerSize) {
    if (const auto size = containerSize()) {
      info.emplace_back("window", NativeValue::Dict{{"width", static_cast<int>(size->width)},
                                                    {"height", static_cast<int>(size->height)}});
    }
  }
  return info;
}

std::optional<std::string> AppLaunch::readBundleText(const std::string& name) const {
  const Bytes bytes = readFile(fs::path(bundle_) / name);
  if (!bytes) return std::nullopt;
  std::string text(bytes->begin(), bytes->end());
  if (!isValidUtf8(text)) return std::nullopt;
  return text;
}

}  // namespace talvero
