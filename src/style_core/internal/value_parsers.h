#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace talvero {

// Hand-written parsers of style values: no tokeniser, no allocation, working in place on the
// given text. `dynamic` is set when a result depends on anything but the text (viewport,
// insets, font size) and is never cleared. `em` is the node's font size.

// Colour number 0xRRGGBBAA from "#rgb", "#rgba", "#rrggbb", "#rrggbbaa", "rgb(...)",
// "rgba(...)" or a named colour. Null or empty input gives false.
bool tryParseColor(const char* value, uint32_t& out);

// The digits of a hex colour: 3 or 4 digits, one per channel times 17 (a non-hex character
// counts as 0); 6 or 8 digits, two per channel through strtoul. Alpha 255 unless 4 or 8.
// Any other count is refused.
bool parseHexBody(const char* digits, size_t count, uint8_t& r, uint8_t& g, uint8_t& b, uint8_t& a);

// A length in points: px, vw, vh, em, vmin, vmax, the safe-area keywords, calc(), min(),
// max(), clamp(). A bare number is no length. Numbers are read with atof, which reads on
// past `length` ("1e" of "calc(1e-5)"): the text must be NUL-terminated somewhere after it.
bool parse_vw(const char* value, size_t length, float& out, bool& dynamic, float em);
bool parseSingleValue(const char* value, size_t length, float& out, bool& dynamic, float em);
bool parseCalc(const char* value, size_t length, float& out, bool& dynamic, float em);

// Corners top left, top right, bottom right, bottom left; `flag` 0 when all four are equal.
struct BorderRadiusValue {
  float topLeft = 0;
  float topRight = 0;
  float bottomRight = 0;
  float bottomLeft = 0;
  uint32_t flag = 0;
};

bool parseBorderRadius(const char* value, size_t length, float em, bool& dynamic,
                       BorderRadiusValue& out);

// Nine floats in column order: m[0], m[1], m[3], m[4] the linear part, m[6], m[7] the
// translation. The function written first acts on the point first. Never refuses.
using TransformMatrix = std::array<float, 9>;
inline constexpr TransformMatrix kIdentityMatrix = {1, 0, 0, 0, 1, 0, 0, 0, 1};
TransformMatrix parse_transform(const char* value);

}  // namespace talvero
