#include "ui/font_source.h"

#include <cctype>
#include <fstream>
#include <iterator>

namespace talvero {

namespace {

bool startsWith(const std::string& text, const std::string& prefix) {
  return text.compare(0, prefix.size(), prefix) == 0;
}

// The scheme of a URL ("file", "res"), lower-cased; nothing when the text has none. A colon
// after a slash belongs to a path, not to a scheme.
std::optional<std::string> schemeOf(const std::string& text) {
  const size_t colon = text.find(':');
  if (colon == std::string::npos || colon == 0) return std::nullopt;
  if (!std::isalpha(static_cast<unsigned char>(text[0]))) return std::nullopt;
  std::string scheme;
  for (size_t i = 0; i < colon; ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    if (!std::isalnum(c) && c != '+' && c != '-' && c != '.') return std::nullopt;
    scheme += static_cast<char>(std::tolower(c));
  }
  return scheme;
}

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

std::optional<std::string> percentDecoded(const std::string& text) {
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      out += text[i];
      continue;
    }
    if (i + 2 >= text.size()) return std::nullopt;
    const int high = hexValue(text[i + 1]);
    const int low = hexValue(text[i + 2]);
    if (high < 0 || low < 0) return std::nullopt;
    out += static_cast<char>(high * 16 + low);
    i += 2;
  }
  return out;
}

}  // namespace

bool isRemoteSource(const std::string& source) {
  return startsWith(source, "http://") || startsWith(source, "https://");
}

std::optional<std::string> localPathOf(const std::string& source) {
  if (source.empty()) return std::nullopt;
  const std::optional<std::string> scheme = schemeOf(source);
  if (!scheme) return source;
  if (*scheme != "file" || source.compare(4, 3, "://") != 0) return std::nullopt;
  const std::string rest = source.substr(7);
  const size_t slash = rest.find('/');
  if (slash == std::string::npos) return std::nullopt;
  const std::string host = rest.substr(0, slash);
  if (!host.empty() && host != "localhost") return std::nullopt;
  // A query or fragment is no part of a file's name.
  const std::string path = rest.substr(slash, rest.find_first_of("?#", slash) - slash);
  std::optional<std::string> decoded = percentDecoded(path);
  if (!decoded || decoded->find('\0') != std::string::npos) return std::nullopt;
  return decoded;
}

std::optional<std::vector<uint8_t>> readFileBytes(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return std::nullopt;
  std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(file),
                             std::istreambuf_iterator<char>()};
  if (file.bad() || bytes.empty()) return std::nullopt;
  return bytes;
}

}  // namespace talvero
