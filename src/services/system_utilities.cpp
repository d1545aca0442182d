#include "services/system_utilities.h"

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <system_error>
#include <utility>

#include "platform/desktop/content_types.h"
#include "platform/dispatch/main_queue.h"
#include "platform/net/url.h"
#include "platform/toolkit/window.h"
#include "runtime/buffers.h"
#include "runtime/log.h"
#include "runtime/utf8.h"

namespace talvero {

namespace {

std::string uuidV4Text() {
  std::random_device random;
  std::array<uint8_t, 16> bytes{};
  for (size_t i = 0; i < bytes.size(); i += 4) {
    const uint32_t word = random();
    for (size_t j = 0; j < 4; ++j) bytes[i + j] = static_cast<uint8_t>(word >> (8 * j));
  }
  bytes[6] = static_cast<uint8_t>((bytes[6] & 0x0F) | 0x40);  // version 4
  bytes[8] = static_cast<uint8_t>((bytes[8] & 0x3F) | 0x80);  // RFC 4122 variant
  std::string text;
  for (size_t i = 0; i < bytes.size(); ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) text += '-';
    char hex[3];
    std::snprintf(hex, sizeof hex, "%02X", bytes[i]);
    text += hex;
  }
  return text;
}

std::filesystem::path temporaryFolder() {
  std::error_code error;
  std::filesystem::path folder = std::filesystem::temp_directory_path(error);
  return error ? std::filesystem::path("/tmp") : folder;
}

std::filesystem::path writeShareFile(const std::vector<uint8_t>& bytes) {
  const std::filesystem::path file = temporaryFolder() / shareFileName();
  // A failed write does not stop the share: sharing reports nothing to the script either way.
  std::ofstream out(file, std::ios::binary);
  out.write(reinterpret_cast<const char*>(bytes.data()),
            static_cast<std::streamsize>(bytes.size()));
  return file;
}

std::optional<std::string> shareableText(const std::string& text) {
  if (text.empty() || text == "undefined") return std::nullopt;
  return text;
}

void deliverChosenFiles(const ScriptValue& onComplete, bool multiple,
                        const std::optional<std::vector<std::string>>& paths) {
  // A choice of remote files only leaves no path to read: the script sees a cancelled picker.
  if (!paths || paths->empty()) {
    if (multiple) {
      onComplete.call({NativeValue(NativeValue::Array{})});
    } else {
      onComplete.call();
    }
    return;
  }
  NativeValue::Array files;
  for (const std::string& path : *paths) {
    FileResponse file = readFileResponse(path);
    const int64_t id = Buffers::putBuffer(std::move(file.data));
    files.push_back(NativeValue::Array{id, file.name, file.size});
  }
  onComplete.call({NativeValue(std::move(files))});
}

}  // namespace

FileResponse readFileResponse(const std::string& path) {
  FileResponse response;
  response.name = std::filesystem::path(path).filename().string();
  response.type = desktop::mimeTypeForFileName(response.name);
  std::vector<uint8_t> data;
  std::ifstream in(path, std::ios::binary);
  // `read` turns a failed read (a folder, an I/O error) into the bad bit instead of throwing.
  std::array<char, 64 * 1024> chunk;
  while (in) {
    in.read(chunk.data(), chunk.size());
    data.insert(data.end(), chunk.begin(), chunk.begin() + in.gcount());
  }
  if (in.bad()) data.clear();
  response.size = static_cast<int64_t>(data.size());
  response.data = makeBytes(std::move(data));
  return response;
}

std::vector<std::string> acceptListOf(const ScriptValue& accept) {
  if (accept.isString()) return {accept.toString()};
  if (!accept.isArray()) return {};
  std::vector<std::string> texts;
  const uint32_t length = accept.get("length").toUInt32();
  for (uint32_t i = 0; i < length; ++i) {
    const ScriptValue item = accept.at(i);
    if (!item.isString()) return {};
    texts.push_back(item.toString());
  }
  return texts;
}

std::string shareFileName() {
  return "share-" + uuidV4Text() + ".png";
}

SystemUtilities::SystemUtilities(const OpenProject& openProject, DesktopAccess desktop)
    : openProject_(openProject), desktop_(std::move(desktop)) {}

void SystemUtilities::run(int64_t id, ScriptValue reject) {
  std::weak_ptr<bool> alive = alive_;
  dispatch::post([this, alive, id, reject = std::move(reject)] {
    if (!alive.lock()) return;
    const Bytes bytes = Buffers::get(id);
    if (!bytes || !isValidUtf8(bytes->data(), bytes->size())) {
      logLine("[Buffers] run: stale id " + std::to_string(id));
      return;
    }
    if (openProject_) openProject_(std::string(bytes->begin(), bytes->end()), reject);
  });
}

void SystemUtilities::openUrl(const std::string& url) {
  if (!net::isParsableUrl(url)) return;
  dispatch::post([openUri = desktop_.openUri, url] { openUri(url); });
}

void SystemUtilities::openAppSettings() {
  if (!desktop_.openSettings()) {
    logLine("[openAppSettings] no settings application is known on this desktop");
  }
}

void SystemUtilities::openFilePicker(ScriptValue onComplete, bool multiple,
                                     std::vector<std::string> accept) {
  std::weak_ptr<bool> alive = alive_;
  dispatch::post(
      [this, alive, onComplete = std::move(onComplete), multiple, accept = std::move(accept)] {
        if (!alive.lock()) return;
        const desktop::FileChoice choice{multiple, desktop::contentTypesForAccept(accept)};
        desktop_.chooseFiles(window(), choice,
                             [onComplete, multiple](std::optional<std::vector<std::string>> paths) {
                               deliverChosenFiles(onComplete, multiple, paths);
                             });
      });
}

void SystemUtilities::shareMedia(int64_t id, const std::string& text) {
  Bytes bytes = Buffers::get(id);
  if (!bytes) {
    logLine("[Buffers] shareMedia: stale id " + std::to_string(id));
    return;
  }
  std::weak_ptr<bool> alive = alive_;
  dispatch::post([this, alive, bytes = std::move(bytes), text] {
    if (!alive.lock()) return;
    const std::filesystem::path file = writeShareFile(*bytes);
    const desktop::ShareItems items{desktop::fileUriOf(file.string()), shareableText(text)};
    if (toolkit::Window* shown = window()) desktop_.share(*shown, items);
  });
}

double SystemUtilities::pixelRatio() const {
  toolkit::Window* shown = window();
  return shown ? shown->contentView()->backingScaleFactor() : 2.0;
}

toolkit::Window* SystemUtilities::window() const {
  return mainWindow ? mainWindow() : nullptr;
}

}  // namespace talvero
