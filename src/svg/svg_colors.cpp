#include "svg/svg_colors.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "svg/svg_reader.h"
#include "svg/svg_xml.h"

namespace talvero::svg_reader {
namespace {

struct NamedColor {
  std::string_view name;
  uint32_t color;
};

// The SVG colour keywords, sorted by name for a binary search.
constexpr NamedColor kNamedColors[] = {
    {"aliceblue", packRgb(240, 248, 255)},
    {"antiquewhite", packRgb(250, 235, 215)},
    {"aqua", packRgb(0, 255, 255)},
    {"aquamarine", packRgb(127, 255, 212)},
    {"azure", packRgb(240, 255, 255)},
    {"beige", packRgb(245, 245, 220)},
    {"bisque", packRgb(255, 228, 196)},
    {"black", packRgb(0, 0, 0)},
    {"blanchedalmond", packRgb(255, 235, 205)},
    {"blue", packRgb(0, 0, 255)},
    {"blueviolet", packRgb(138, 43, 226)},
    {"brown", packRgb(165, 42, 42)},
    {"burlywood", packRgb(222, 184, 135)},
    {"cadetblue", packRgb(95, 158, 160)},
    {"chartreuse", packRgb(127, 255, 0)},
    {"chocolate", packRgb(210, 105, 30)},
    {"coral", packRgb(255, 127, 80)},
    {"cornflowerblue", packRgb(100, 149, 237)},
    {"cornsilk", packRgb(255, 248, 220)},
    {"crimson", packRgb(220, 20, 60)},
    {"cyan", packRgb(0, 255, 255)},
    {"darkblue", packRgb(0, 0, 139)},
    {"darkcyan", packRgb(0, 139, 139)},
    {"darkgoldenrod", packRgb(184, 134, 11)},
    {"darkgray", packRgb(169, 169, 169)},
    {"darkgreen", packRgb(0, 100, 0)},
    {"darkgrey", packRgb(169, 169, 169)},
    {"darkkhaki", packRgb(189, 183, 107)},
    {"darkmagenta", packRgb(139, 0, 139)},
    {"darkolivegreen", packRgb(85, 107, 47)},
    {"darkorange", packRgb(255, 140, 0)},
    {"darkorchid", packRgb(153, 50, 204)},
    {"darkred", packRgb(139, 0, 0)},
    {"darksalmon", packRgb(233, 150, 122)},
    {"darkseagreen", packRgb(143, 188, 143)},
    {"darkslateblue", packRgb(72, 61, 139)},
    {"darkslategray", packRgb(47, 79, 79)},
    {"darkslategrey", packRgb(47, 79, 79)},
    {"darkturquoise", packRgb(0, 206, 209)},
    {"darkviolet", packRgb(148, 0, 211)},
    {"deeppink", packRgb(255, 20, 147)},
    {"deepskyblue", packRgb(0, 191, 255)},
    {"dimgray", packRgb(105, 105, 105)},
    {"dimgrey", packRgb(105, 105, 105)},
    {"dodgerblue", packRgb(30, 144, 255)},
    {"firebrick", packRgb(178, 34, 34)},
    {"floralwhite", packRgb(255, 250, 240)},
    {"forestgreen", packRgb(34, 139, 34)},
    {"fuchsia", packRgb(255, 0, 255)},
    {"gainsboro", packRgb(220, 220, 220)},
    {"ghostwhite", packRgb(248, 248, 255)},
    {"gold", packRgb(255, 215, 0)},
    {"goldenrod", packRgb(218, 165, 32)},
    {"gray", packRgb(128, 128, 128)},
    {"green", packRgb(0, 128, 0)},
    {"greenyellow", packRgb(173, 255, 47)},
    {"grey", packRgb(128, 128, 128)},
    {"honeydew", packRgb(240, 255, 240)},
    {"hotpink", packRgb(255, 105, 180)},
    {"indianred", packRgb(205, 92, 92)},
    {"indigo", packRgb(75, 0, 130)},
    {"ivory", packRgb(255, 255, 240)},
    {"khaki", packRgb(240, 230, 140)},
    {"lavender", packRgb(230, 230, 250)},
    {"lavenderblush", packRgb(255, 240, 245)},
    {"lawngreen", packRgb(124, 252, 0)},
    {"lemonchiffon", packRgb(255, 250, 205)},
    {"lightblue", packRgb(173, 216, 230)},
    {"lightcoral", packRgb(240, 128, 128)},
    {"lightcyan", packRgb(224, 255, 255)},
    {"lightgoldenrodyellow", packRgb(250, 250, 210)},
    {"lightgray", packRgb(211, 211, 211)},
    {"lightgreen", packRgb(144, 238, 144)},
    {"lightgrey", packRgb(211, 211, 211)},
    {"lightpink", packRgb(255, 182, 193)},
    {"lightsalmon", packRgb(255, 160, 122)},
    {"lightseagreen", packRgb(32, 178, 170)},
    {"lightskyblue", packRgb(135, 206, 250)},
    {"lightslategray", packRgb(119, 136, 153)},
    {"lightslategrey", packRgb(119, 136, 153)},
    {"lightsteelblue", packRgb(176, 196, 222)},
    {"lightyellow", packRgb(255, 255, 224)},
    {"lime", packRgb(0, 255, 0)},
    {"limegreen", packRgb(50, 205, 50)},
    {"linen", packRgb(250, 240, 230)},
    {"magenta", packRgb(255, 0, 255)},
    {"maroon", packRgb(128, 0, 0)},
    {"mediumaquamarine", packRgb(102, 205, 170)},
    {"mediumblue", packRgb(0, 0, 205)},
    {"mediumorchid", packRgb(186, 85, 211)},
    {"mediumpurple", packRgb(147, 112, 219)},
    {"mediumseagreen", packRgb(60, 179, 113)},
    {"mediumslateblue", packRgb(123, 104, 238)},
    {"mediumspringgreen", packRgb(0, 250, 154)},
    {"mediumturquoise", packRgb(72, 209, 204)},
    {"mediumvioletred", packRgb(199, 21, 133)},
    {"midnightblue", packRgb(25, 25, 112)},
    {"mintcream", packRgb(245, 255, 250)},
    {"mistyrose", packRgb(255, 228, 225)},
    {"moccasin", packRgb(255, 228, 181)},
    {"navajowhite", packRgb(255, 222, 173)},
    {"navy", packRgb(0, 0, 128)},
    {"oldlace", packRgb(253, 245, 230)},
    {"olive", packRgb(128, 128, 0)},
    {"olivedrab", packRgb(107, 142, 35)},
    {"orange", packRgb(255, 165, 0)},
    {"orangered", packRgb(255, 69, 0)},
    {"orchid", packRgb(218, 112, 214)},
    {"palegoldenrod", packRgb(238, 232, 170)},
    {"palegreen", packRgb(152, 251, 152)},
    {"paleturquoise", packRgb(175, 238, 238)},
    {"palevioletred", packRgb(219, 112, 147)},
    {"papayawhip", packRgb(255, 239, 213)},
    {"peachpuff", packRgb(255, 218, 185)},
    {"peru", packRgb(205, 133, 63)},
    {"pink", packRgb(255, 192, 203)},
    {"plum", packRgb(221, 160, 221)},
    {"powderblue", packRgb(176, 224, 230)},
    {"purple", packRgb(128, 0, 128)},
    {"red", packRgb(255, 0, 0)},
    {"rosybrown", packRgb(188, 143, 143)},
    {"royalblue", packRgb(65, 105, 225)},
    {"saddlebrown", packRgb(139, 69, 19)},
    {"salmon", packRgb(250, 128, 114)},
    {"sandybrown", packRgb(244, 164, 96)},
    {"seagreen", packRgb(46, 139, 87)},
    {"seashell", packRgb(255, 245, 238)},
    {"sienna", packRgb(160, 82, 45)},
    {"silver", packRgb(192, 192, 192)},
    {"skyblue", packRgb(135, 206, 235)},
    {"slateblue", packRgb(106, 90, 205)},
    {"slategray", packRgb(112, 128, 144)},
    {"slategrey", packRgb(112, 128, 144)},
    {"snow", packRgb(255, 250, 250)},
    {"springgreen", packRgb(0, 255, 127)},
    {"steelblue", packRgb(70, 130, 180)},
    {"tan", packRgb(210, 180, 140)},
    {"teal", packRgb(0, 128, 128)},
    {"thistle", packRgb(216, 191, 216)},
    {"tomato", packRgb(255, 99, 71)},
    {"turquoise", packRgb(64, 224, 208)},
    {"violet", packRgb(238, 130, 238)},
    {"wheat", packRgb(245, 222, 179)},
    {"white", packRgb(255, 255, 255)},
    {"whitesmoke", packRgb(245, 245, 245)},
    {"yellow", packRgb(255, 255, 0)},
    {"yellowgreen", packRgb(154, 205, 50)},
};

constexpr uint32_t kGrey = packRgb(128, 128, 128);

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// Reads up to `width` hex digits at `pos`; false when there is none.
bool readHex(std::string_view text, size_t& pos, int width, uint32_t& out) {
  out = 0;
  int digits = 0;
  while (digits < width && pos < text.size() && hexValue(text[pos]) >= 0) {
    out = out * 16 + static_cast<uint32_t>(hexValue(text[pos]));
    ++pos;
    ++digits;
  }
  return digits > 0;
}

uint32_t parseHex(std::string_view text) {
  uint32_t r, g, b;
  size_t pos = 1;
  if (readHex(text, pos, 2, r) && readHex(text, pos, 2, g) && readHex(text, pos, 2, b)) {
    return packRgb(r, g, b);
  }
  pos = 1;
  if (readHex(text, pos, 1, r) && readHex(text, pos, 1, g) && readHex(text, pos, 1, b)) {
    return packRgb(r * 17, g * 17, b * 17);
  }
  return kGrey;
}

void skipSpaces(std::string_view text, size_t& pos) {
  while (pos < text.size() && svg_xml::isSpace(text[pos])) ++pos;
}

// rgb(r, g, b) with three whole numbers, or with three percentages.
uint32_t parseRgb(std::string_view text) {
  size_t pos = 4;
  float values[3];
  bool percent[3];
  for (int i = 0; i < 3; ++i) {
    skipSpaces(text, pos);
    const size_t begin = pos;
    while (pos < text.size() && ((text[pos] >= '0' && text[pos] <= '9') || text[pos] == '.')) {
      ++pos;
    }
    if (pos == begin) return kGrey;
    values[i] = static_cast<float>(parseNumberText(text.substr(begin, pos - begin)));
    percent[i] = pos < text.size() && text[pos] == '%';
    if (percent[i]) ++pos;
    skipSpaces(text, pos);
    const char expected = i < 2 ? ',' : ')';
    if (pos >= text.size() || text[pos] != expected) return kGrey;
    ++pos;
  }
  if (percent[0] && percent[1] && percent[2]) {
    auto channel = [](float v) {
      return static_cast<uint32_t>(std::clamp(std::round(v * 2.55f), 0.0f, 255.0f));
    };
    return packRgb(channel(values[0]), channel(values[1]), channel(values[2]));
  }
  if (percent[0] || percent[1] || percent[2]) return kGrey;
  for (float v : values) {
    if (v != std::floor(v)) return kGrey;
  }
  auto channel = [](float v) { return static_cast<uint32_t>(std::min(v, 255.0f)); };
  return packRgb(channel(values[0]), channel(values[1]), channel(values[2]));
}

}  // namespace

uint32_t parseColor(std::string_view text) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  if (text.starts_with('#')) return parseHex(text);
  if (text.starts_with("rgb(")) return parseRgb(text);
  const auto* found = std::lower_bound(
      std::begin(kNamedColors), std::end(kNamedColors), text,
      [](const NamedColor& entry, std::string_view key) { return entry.name < key; });
  if (found != std::end(kNamedColors) && found->name == text) return found->color;
  return kGrey;
}

double parseNumberText(std::string_view text) {
  size_t pos = 0;
  double sign = 1;
  if (pos < text.size() && (text[pos] == '+' || text[pos] == '-')) {
    if (text[pos] == '-') sign = -1;
    ++pos;
  }
  auto isDigit = [&](size_t at) { return at < text.size() && text[at] >= '0' && text[at] <= '9'; };
  double result = 0;
  bool hasDigits = false;
  while (isDigit(pos)) {
    result = result * 10 + (text[pos] - '0');
    hasDigits = true;
    ++pos;
  }
  if (pos < text.size() && text[pos] == '.') {
    ++pos;
    double scale = 0.1;
    while (isDigit(pos)) {
      result += (text[pos] - '0') * scale;
      scale *= 0.1;
      hasDigits = true;
      ++pos;
    }
  }
  if (!hasDigits) return 0;
  if (pos < text.size() && (text[pos] == 'e' || text[pos] == 'E')) {
    size_t at = pos + 1;
    double expSign = 1;
    if (at < text.size() && (text[at] == '+' || text[at] == '-')) {
      if (text[at] == '-') expSign = -1;
      ++at;
    }
    if (isDigit(at)) {
      double exponent = 0;
      while (isDigit(at)) {
        exponent = exponent * 10 + (text[at] - '0');
        ++at;
      }
      result *= std::pow(10.0, expSign * exponent);
    }
  }
  return result * sign;
}

}  // namespace talvero::svg_reader
