#include "runtime/resources.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <mutex>
#include <optional>

#include "runtime/log.h"

#ifndef TALVERO_DATA_DIR
#define TALVERO_DATA_DIR "/usr/local/share/talvero"
#endif

namespace talvero {

namespace fs = std::filesystem;

namespace {

constexpr const char* kResourcesBundleName = "TalveroSDKResources.bundle";

std::mutex registeredLock;

std::vector<std::string>& registered() {
  static auto* bundles = new std::vector<std::string>();
  return *bundles;
}

std::string executableDirectory() {
  std::error_code error;
  const fs::path executable = fs::read_symlink("/proc/self/exe", error);
  return error ? std::string() : executable.parent_path().string();
}

std::string identity(const fs::path& directory) {
  std::error_code error;
  const fs::path canonical = fs::canonical(directory, error);
  return error ? directory.lexically_normal().string() : canonical.string();
}

bool isDirectory(const fs::path& path) {
  std::error_code error;
  return fs::is_directory(path, error);
}

std::optional<fs::path> findIn(const std::string& bundle, const std::string& name,
                               const std::string& extension) {
  fs::path file = fs::path(bundle) / (extension.empty() ? name : name + "." + extension);
  std::error_code error;
  if (fs::is_regular_file(file, error)) return file;
  return std::nullopt;
}

std::optional<fs::path> find(const std::string& name, const std::string& extension) {
  for (const auto& bundle : TalveroResources::searchOrder()) {
    if (auto file = findIn(bundle, name, extension)) return file;
  }
  return std::nullopt;
}

}  // namespace

void TalveroResources::registerBundle(const std::string& directory) {
  std::lock_guard guard(registeredLock);
  registered().push_back(directory);
}

std::vector<std::string> TalveroResources::candidateBundles(const std::vector<std::string>& bases) {
  std::vector<std::string> bundles;
  std::vector<std::string> seen;
  auto add = [&](const fs::path& directory) {
    if (!isDirectory(directory)) return;
    const std::string id = identity(directory);
    for (const auto& known : seen) {
      if (known == id) return;
    }
    seen.push_back(id);
    bundles.push_back(directory.string());
  };
  // A resource bundle shipped inside is searched before the directories around it.
  for (const auto& base : bases) {
    if (!base.empty()) add(fs::path(base) / kResourcesBundleName);
  }
  for (const auto& base : bases) {
    if (!base.empty()) add(base);
  }
  return bundles;
}

const std::vector<std::string>& TalveroResources::candidateBundles() {
  static const auto* bundles =
      new std::vector<std::string>(candidateBundles({executableDirectory(), TALVERO_DATA_DIR}));
  return *bundles;
}

std::vector<std::string> TalveroResources::searchOrder() {
  std::vector<std::string> order;
  {
    std::lock_guard guard(registeredLock);
    order = registered();
  }
  const auto& candidates = candidateBundles();
  order.insert(order.end(), candidates.begin(), candidates.end());
  return order;
}

std::pair<std::string, std::string> TalveroResources::splitExtension(const std::string& path) {
  const size_t slash = path.find_last_of('/');
  const size_t dot = path.find_last_of('.');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return {path, ""};
  return {path.substr(0, dot), path.substr(dot + 1)};
}

std::string TalveroResources::url(const std::string& name, const std::string& extension) {
  if (auto file = find(name, extension)) return file->string();
  fatalStop("Talvero: resource " + name + "." + extension +
            " not found. For a binary (static library) integration, add the shipped " +
            kResourcesBundleName + " beside your executable.");
}

Bytes TalveroResources::localAsset(const std::string& path) {
  const auto [name, extension] = splitExtension(path);
  const auto file = find(name, extension);
  if (!file) return nullptr;
  std::ifstream in(*file, std::ios::binary);
  if (!in) return nullptr;
  std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)),
                             std::istreambuf_iterator<char>());
  if (in.bad()) return nullptr;
  return makeBytes(std::move(bytes));
}

}  // namespace talvero
