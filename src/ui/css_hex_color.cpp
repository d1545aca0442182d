#include "ui/css_hex_color.h"

#include <charconv>
#include <cstdint>
#include <string>

namespace talvero {

std::optional<toolkit::Color> cssHexColor(std::string_view text) {
  if (!text.starts_with('#')) return std::nullopt;
  std::string digits(text.substr(1));
  if (digits.size() == 3)
    digits = {digits[0], digits[0], digits[1], digits[1], digits[2], digits[2]};
  uint32_t value = 0;
  const char* end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, value, 16);
  if (digits.empty() || error != std::errc() || stop != end) return std::nullopt;
  if (digits.size() == 8) return toolkit::Color::fromRGBA(value);
  if (digits.size() == 6) return toolkit::Color::fromRGBA(value << 8 | 0xFF);
  return std::nullopt;
}

std::optional<toolkit::Color> cssColor(const ScriptValue& value) {
  if (!value.isString()) return std::nullopt;
  return cssHexColor(value.toString());
}

}  // namespace talvero
