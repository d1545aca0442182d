#include "platform/desktop/content_types.h"

#include <gio/gio.h>

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

namespace talvero::desktop {

namespace {

constexpr const char* kAnyData = "application/octet-stream";

std::string takeString(char* owned) {
  std::string text = owned ? owned : "";
  g_free(owned);
  return text;
}

// GIO accepts any well-formed MIME name, so "known" means listed in the system's database.
bool isRegistered(const std::string& contentType) {
  GList* registered = g_content_types_get_registered();
  const bool found = g_list_find_custom(registered, contentType.c_str(),
                                        reinterpret_cast<GCompareFunc>(g_strcmp0)) != nullptr;
  g_list_free_full(registered, g_free);
  return found;
}

// Files, not folders: inode types are the only ones that do not derive from plain data.
bool isFileData(const std::string& contentType) {
  return g_content_type_is_a(contentType.c_str(), kAnyData);
}

std::optional<std::string> mimeTypeOfContentType(const std::string& contentType) {
  if (contentType.empty() || g_content_type_is_unknown(contentType.c_str())) return std::nullopt;
  if (!isFileData(contentType)) return std::nullopt;
  std::string mime = takeString(g_content_type_get_mime_type(contentType.c_str()));
  if (mime.empty()) return std::nullopt;
  return mime;
}

std::optional<std::string> typeOfMimeName(const std::string& text) {
  const std::string contentType = takeString(g_content_type_from_mime_type(text.c_str()));
  if (contentType.empty() || !isRegistered(contentType)) return std::nullopt;
  return mimeTypeOfContentType(contentType);
}

std::string contentTypeOfFileName(const std::string& name) {
  return takeString(g_content_type_guess(name.c_str(), nullptr, 0, nullptr));
}

std::optional<std::string> typeOfExtension(std::string_view text) {
  const size_t first = text.find_first_not_of('.');
  if (first == std::string_view::npos) return std::nullopt;
  text = text.substr(first, text.find_last_not_of('.') - first + 1);
  // The guess goes by the last path component, so a slash would name another extension.
  if (text.find('/') != std::string_view::npos) return std::nullopt;
  return mimeTypeOfContentType(contentTypeOfFileName("file." + std::string(text)));
}

std::optional<std::string> allowedTypeOf(const std::string& text) {
  static constexpr std::array<std::string_view, 4> kFamilies = {"image/*", "video/*", "audio/*",
                                                                "text/*"};
  if (std::find(kFamilies.begin(), kFamilies.end(), text) != kFamilies.end()) return text;
  if (auto type = typeOfMimeName(text)) return type;
  return typeOfExtension(text);
}

}  // namespace

std::vector<std::string> contentTypesForAccept(const std::vector<std::string>& accept) {
  std::vector<std::string> allowed;
  for (const std::string& text : accept) {
    const auto type = allowedTypeOf(text);
    if (type && std::find(allowed.begin(), allowed.end(), *type) == allowed.end()) {
      allowed.push_back(*type);
    }
  }
  return allowed;
}

std::string mimeTypeForFileName(const std::string& name) {
  return mimeTypeOfContentType(contentTypeOfFileName(name)).value_or(kAnyData);
}

}  // namespace talvero::desktop
