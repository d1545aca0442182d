#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "style_core/style_core.h"

namespace talvero {

struct GradientParseResult {
  bool ok = false;
  std::string error;
  size_t errorPosition = 0;
  CUIGradient gradient;  // without its stops pointer
  std::vector<CUIGradientStop> stops;
};

// One gradient: "linear-gradient(...)" or "radial-gradient(...)"; failures carry a message
// and the byte position it applies to.
GradientParseResult parseGradientString(const char* value);

// The pieces of the gradient grammar, open to tests. White space here is the bytes 9 to 13
// and the blank; brackets are counted so that "rgba(...)" stays whole.
namespace gradient_detail {

struct Segment {
  std::string_view text;  // untrimmed
  size_t start = 0;       // offset in the split text plus the base given
};

// Split at commas outside brackets; n commas give n + 1 segments, empty ones included.
std::vector<Segment> splitTopLevelCommas(std::string_view text, size_t base);
// Non-empty tokens between runs of white space outside brackets; views into `text`.
std::vector<std::string_view> splitTopLevelSpaces(std::string_view text);
std::string_view trim(std::string_view text);

// An optional sign, digits, an optional full stop and digits, one digit at least; no
// exponent. On success `position` moves past what was read.
bool parseNumber(std::string_view text, size_t& position, float& out);

// `top` 1, `bottom` 2, `left` 4, `right` 8; 0 for any other word.
uint32_t sideBit(std::string_view token);

struct RadialPrefix {
  uint32_t shape = 0;
  uint32_t extent = 0;
  float cx = 0.5f;
  float cy = 0.5f;
  float rx = 0;
  float ry = 0;
  uint32_t rUnitX = 0;
  uint32_t rUnitY = 0;
};

// Size and shape words, then `at` and a position. False when the size part holds a word
// it does not know or more than two sizes; a position it cannot read leaves the centre.
bool parseRadialPrefix(const std::vector<std::string_view>& tokens, RadialPrefix& out);

enum class RadialAxis { Horizontal, Vertical, Free };
struct RadialPosition {
  RadialAxis axis = RadialAxis::Free;
  float value = 0.5f;
};
bool radialPosToken(std::string_view token, RadialPosition& out);

}  // namespace gradient_detail

}  // namespace talvero
