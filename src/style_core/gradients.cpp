#include "style_core/internal/gradients.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <unordered_map>

#include "style_core/hash.h"
#include "style_core/internal/value_parsers.h"

namespace talvero {

using namespace hash_literals;

namespace gradient_detail {

namespace {

bool isWhite(char c) {
  return c == ' ' || (c >= 9 && c <= 13);
}

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

bool startsLikeNumber(std::string_view text) {
  if (text.empty()) return false;
  const char c = text.front();
  return isDigit(c) || c == '+' || c == '-' || c == '.';
}

}  // namespace

std::vector<Segment> splitTopLevelCommas(std::string_view text, size_t base) {
  std::vector<Segment> segments;
  int depth = 0;
  size_t start = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '(') {
      ++depth;
    } else if (c == ')') {
      if (depth > 0) --depth;
    } else if (c == ',' && depth == 0) {
      segments.push_back({text.substr(start, i - start), start + base});
      start = i + 1;
    }
  }
  segments.push_back({text.substr(start), start + base});
  return segments;
}

std::vector<std::string_view> splitTopLevelSpaces(std::string_view text) {
  std::vector<std::string_view> tokens;
  int depth = 0;
  size_t start = std::string_view::npos;
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (depth == 0 && isWhite(c)) {
      if (start != std::string_view::npos) tokens.push_back(text.substr(start, i - start));
      start = std::string_view::npos;
      continue;
    }
    if (start == std::string_view::npos) start = i;
    if (c == '(') ++depth;
    if (c == ')' && depth > 0) --depth;
  }
  if (start != std::string_view::npos) tokens.push_back(text.substr(start));
  return tokens;
}

std::string_view trim(std::string_view text) {
  size_t begin = 0;
  size_t end = text.size();
  while (begin < end && isWhite(text[begin])) ++begin;
  while (end > begin && isWhite(text[end - 1])) --end;
  return text.substr(begin, end - begin);
}

bool parseNumber(std::string_view text, size_t& position, float& out) {
  size_t i = position;
  const bool negative = i < text.size() && text[i] == '-';
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
  const size_t digitsBegin = i;
  size_t digitCount = 0;
  while (i < text.size() && isDigit(text[i])) ++i, ++digitCount;
  size_t digitsEnd = i;
  bool nonZeroInteger = false;
  for (size_t k = digitsBegin; k < digitsEnd; ++k) nonZeroInteger |= text[k] != '0';
  if (i < text.size() && text[i] == '.') {
    ++i;
    const size_t fractionBegin = i;
    while (i < text.size() && isDigit(text[i])) ++i, ++digitCount;
    if (i > fractionBegin) digitsEnd = i;
  }
  if (digitCount == 0) return false;

  // from_chars takes no plus sign, so the sign is applied afterwards.
  float magnitude = 0;
  const auto [end, error] = std::from_chars(text.data() + digitsBegin, text.data() + digitsEnd,
                                            magnitude, std::chars_format::fixed);
  (void)end;
  if (error == std::errc::result_out_of_range) {
    magnitude = nonZeroInteger ? std::numeric_limits<float>::infinity() : 0.0f;
  }
  out = negative ? -magnitude : magnitude;
  position = i;
  return true;
}

uint32_t sideBit(std::string_view token) {
  switch (fnv1a(token)) {
    case "top"_h:
      return 1;
    case "bottom"_h:
      return 2;
    case "left"_h:
      return 4;
    case "right"_h:
      return 8;
    default:
      return 0;
  }
}

bool radialPosToken(std::string_view token, RadialPosition& out) {
  switch (fnv1a(token)) {
    case "left"_h:
      out = {RadialAxis::Horizontal, 0};
      return true;
    case "right"_h:
      out = {RadialAxis::Horizontal, 1};
      return true;
    case "top"_h:
      out = {RadialAxis::Vertical, 0};
      return true;
    case "bottom"_h:
      out = {RadialAxis::Vertical, 1};
      return true;
    case "center"_h:
      out = {RadialAxis::Free, 0.5f};
      return true;
    default:
      break;
  }
  size_t position = 0;
  float number;
  if (!parseNumber(token, position, number)) return false;
  const bool percent = position + 1 == token.size() && token[position] == '%';
  out = {RadialAxis::Free, percent ? number / 100 : 0.5f};
  return true;
}

namespace {

// A radius: a length in points (the font size taken as 16) or a percentage of the box.
bool parseRadialSize(std::string_view token, float& size, uint32_t& unit) {
  const std::string copy(token);
  bool ignoredDynamic = false;
  if (parse_vw(copy.c_str(), copy.size(), size, ignoredDynamic, 16.0f)) {
    if (size < 0) size = 0;
    unit = 0;
    return true;
  }
  size_t position = 0;
  if (token.back() == '%' && parseNumber(token, position, size) && position + 1 == token.size()) {
    size /= 100;
    if (size < 0) size = 0;
    unit = 1;
    return true;
  }
  return false;
}

}  // namespace

bool parseRadialPrefix(const std::vector<std::string_view>& tokens, RadialPrefix& out) {
  RadialPrefix prefix;
  size_t at = 0;
  while (at < tokens.size() && fnv1a(tokens[at]) != "at"_h) ++at;

  float sizes[2] = {0, 0};
  uint32_t units[2] = {0, 0};
  size_t sizeCount = 0;
  for (size_t i = 0; i < at; ++i) {
    switch (fnv1a(tokens[i])) {
      case "circle"_h:
        prefix.shape = 1;
        continue;
      case "ellipse"_h:
        prefix.shape = 0;
        continue;
      case "farthest-corner"_h:
        prefix.extent = 0;
        continue;
      case "closest-side"_h:
        prefix.extent = 1;
        continue;
      case "closest-corner"_h:
        prefix.extent = 2;
        continue;
      case "farthest-side"_h:
        prefix.extent = 3;
        continue;
      default:
        break;
    }
    if (!startsLikeNumber(tokens[i]) || sizeCount == 2) return false;
    if (!parseRadialSize(tokens[i], sizes[sizeCount], units[sizeCount])) return false;
    ++sizeCount;
  }
  if (sizeCount > 0) {
    prefix.shape = sizeCount == 1 ? 1 : 0;
    prefix.extent = 4;
    const size_t second = sizeCount - 1;
    prefix.rx = sizes[0];
    prefix.ry = sizes[second];
    prefix.rUnitX = units[0];
    prefix.rUnitY = units[second];
  }

  const size_t positionCount = at < tokens.size() ? tokens.size() - at - 1 : 0;
  RadialPosition first, second;
  if (positionCount == 1 && radialPosToken(tokens[at + 1], first)) {
    (first.axis == RadialAxis::Vertical ? prefix.cy : prefix.cx) = first.value;
  } else if (positionCount == 2 && radialPosToken(tokens[at + 1], first) &&
             radialPosToken(tokens[at + 2], second)) {
    const bool swapped =
        first.axis == RadialAxis::Vertical && second.axis == RadialAxis::Horizontal;
    prefix.cx = swapped ? second.value : first.value;
    prefix.cy = swapped ? first.value : second.value;
  }
  out = prefix;
  return true;
}

}  // namespace gradient_detail

namespace {

using namespace gradient_detail;

struct ParsedStop {
  uint32_t rgba = 0;
  float position = 0;
  bool hasPosition = false;
};

struct GradientCacheEntry {
  bool ok = false;
  std::vector<CUIGradient> gradients;
  std::vector<CUIGradientStop> stops;  // those of all gradients, one after the other
};

std::unordered_map<uint32_t, GradientCacheEntry>& gradientCache() {
  static std::unordered_map<uint32_t, GradientCacheEntry> cache;
  return cache;
}

// The angle of "to <side> [<side>]" from the bits of its sides, or -1 for a pair that is
// no direction.
float angleOfSides(uint32_t bits) {
  switch (bits) {
    case 1:
      return 0;
    case 1 | 8:
      return 45;
    case 8:
      return 90;
    case 2 | 8:
      return 135;
    case 2:
      return 180;
    case 2 | 4:
      return 225;
    case 4:
      return 270;
    case 1 | 4:
      return 315;
    default:
      return -1;
  }
}

float normalizedAngle(float degrees) {
  float angle = std::fmod(degrees, 360.0f);
  if (angle < 0) angle += 360.0f;
  // A tiny negative angle rounds up to 360, which is 0 again; fmod of an infinity is NaN.
  if (angle >= 360.0f || std::isnan(angle)) angle = 0;
  return angle;
}

void spreadPositions(std::vector<ParsedStop>& stops) {
  if (!stops.front().hasPosition) stops.front() = {stops.front().rgba, 0, true};
  if (!stops.back().hasPosition) stops.back() = {stops.back().rgba, 1, true};
  size_t previous = 0;
  for (size_t i = 1; i < stops.size(); ++i) {
    if (!stops[i].hasPosition) continue;
    const size_t gap = i - previous - 1;
    const float a = stops[previous].position;
    const float b = stops[i].position;
    for (size_t k = 1; k <= gap; ++k) {
      stops[previous + k].position =
          a + (b - a) * static_cast<float>(k) / static_cast<float>(gap + 1);
    }
    previous = i;
  }
  for (size_t i = 1; i < stops.size(); ++i) {
    if (stops[i].position < stops[i - 1].position) stops[i].position = stops[i - 1].position;
  }
}

}  // namespace

GradientParseResult parseGradientString(const char* value) {
  GradientParseResult result;
  auto fail = [&result](std::string message, size_t position) {
    result.ok = false;
    result.error = std::move(message);
    result.errorPosition = position;
    result.stops.clear();
    return result;
  };
  if (value == nullptr) return fail("parse error", 0);

  // Every view below points into `whole`, so a view's position is its distance from it.
  const std::string_view whole(value);
  auto positionOf = [&whole](std::string_view part) {
    return static_cast<size_t>(part.data() - whole.data());
  };

  const std::string_view text = trim(whole);
  if (text.empty()) return fail("parse error", 0);
  const size_t open = text.find('(');
  if (open == std::string_view::npos) return fail("parse error", positionOf(text));

  const std::string_view name = trim(text.substr(0, open));
  bool radial = false;
  switch (fnv1a(name)) {
    case "linear-gradient"_h:
      break;
    case "radial-gradient"_h:
      radial = true;
      break;
    case "conic-gradient"_h:
      return fail("conic-gradient is not supported yet", positionOf(name));
    default:
      return fail("parse error", positionOf(name));
  }

  size_t close = std::string_view::npos;
  int depth = 0;
  for (size_t i = open; i < text.size(); ++i) {
    if (text[i] == '(') ++depth;
    if (text[i] == ')' && --depth == 0) {
      close = i;
      break;
    }
  }
  if (close == std::string_view::npos) return fail("parse error", positionOf(text) + open);
  size_t after = close + 1;
  while (after < text.size() && isWhite(text[after])) ++after;
  if (after < text.size()) {
    return fail(text[after] == ','
                    ? "multiple backgrounds are not supported, use the first gradient"
                    : "parse error",
                positionOf(text) + after);
  }

  const std::string_view inner = text.substr(open + 1, close - open - 1);
  const std::vector<Segment> segments = splitTopLevelCommas(inner, positionOf(inner));

  size_t firstStop = 0;
  float angle = 180;
  RadialPrefix prefix;
  const std::string_view head = trim(segments.front().text);
  const std::vector<std::string_view> headTokens = splitTopLevelSpaces(head);
  if (!radial) {
    if (!headTokens.empty() && fnv1a(headTokens.front()) == "to"_h) {
      if (headTokens.size() < 2 || headTokens.size() > 3) {
        return fail("parse error", positionOf(head));
      }
      uint32_t sides = 0;
      for (size_t i = 1; i < headTokens.size(); ++i) {
        const uint32_t bit = sideBit(headTokens[i]);
        if (bit == 0 || (sides & bit) != 0) return fail("parse error", positionOf(headTokens[i]));
        sides |= bit;
      }
      angle = angleOfSides(sides);
      if (angle < 0) return fail("parse error", positionOf(head));
      firstStop = 1;
    } else if (startsLikeNumber(head)) {
      size_t position = 0;
      float degrees;
      if (!parseNumber(head, position, degrees)) return fail("parse error", positionOf(head));
      const std::string_view unit = trim(head.substr(position));
      if (fnv1a(unit) != "deg"_h) {
        return fail("unsupported angle unit, use deg", positionOf(head) + position);
      }
      angle = normalizedAngle(degrees);
      firstStop = 1;
    }
  } else if (!headTokens.empty()) {
    uint32_t ignoredColor;
    if (!tryParseColor(std::string(headTokens.front()).c_str(), ignoredColor)) {
      if (!parseRadialPrefix(headTokens, prefix)) return fail("parse error", positionOf(head));
      firstStop = 1;
    }
  }

  std::vector<ParsedStop> stops;
  for (size_t i = firstStop; i < segments.size(); ++i) {
    const std::string_view stop = trim(segments[i].text);
    if (stop.empty()) return fail("parse error", segments[i].start);
    const std::vector<std::string_view> tokens = splitTopLevelSpaces(stop);
    if (tokens.size() > 2) {
      const bool doublePercent =
          tokens[tokens.size() - 1].back() == '%' && tokens[tokens.size() - 2].back() == '%';
      return fail(doublePercent ? "double positions are not supported" : "parse error",
                  positionOf(stop));
    }
    if (tokens.size() == 1 && tokens[0].back() == '%') {
      return fail("color hints are not supported", positionOf(stop));
    }
    ParsedStop parsed;
    const std::string color(tokens[0]);
    if (!tryParseColor(color.c_str(), parsed.rgba)) {
      return fail("invalid color \"" + color + "\"", positionOf(tokens[0]));
    }
    if (tokens.size() == 2) {
      size_t position = 0;
      float percent;
      if (!parseNumber(tokens[1], position, percent) || position + 1 != tokens[1].size() ||
          tokens[1][position] != '%') {
        return fail("only percent positions are supported", positionOf(tokens[1]));
      }
      parsed.position = std::clamp(percent, 0.0f, 100.0f) / 100;
      parsed.hasPosition = true;
    }
    stops.push_back(parsed);
  }
  if (stops.size() < 2) return fail("at least two color stops are required", 0);
  spreadPositions(stops);

  CUIGradient& gradient = result.gradient;
  gradient.stopCount = static_cast<uint32_t>(stops.size());
  if (radial) {
    gradient.kind = 1;
    gradient.shape = prefix.shape;
    gradient.extent = prefix.extent;
    gradient.cx = prefix.cx;
    gradient.cy = prefix.cy;
    gradient.rx = prefix.rx;
    gradient.ry = prefix.ry;
    gradient.rUnitX = prefix.rUnitX;
    gradient.rUnitY = prefix.rUnitY;
  } else {
    gradient.angle = angle;
  }
  for (const ParsedStop& stop : stops) result.stops.push_back({stop.rgba, stop.position});
  result.ok = true;
  return result;
}

const CUIGradient* getOrParseGradients(const char* value, uint32_t* count) {
  const std::string_view text = trim(value == nullptr ? "" : value);
  auto& cache = gradientCache();
  auto found = cache.find(fnv1a(text));
  if (found == cache.end()) {
    GradientCacheEntry entry;
    entry.ok = true;
    for (const Segment& segment : splitTopLevelCommas(text, 0)) {
      GradientParseResult parsed = parseGradientString(std::string(trim(segment.text)).c_str());
      if (!parsed.ok) {
        entry = {};
        break;
      }
      entry.gradients.push_back(parsed.gradient);
      entry.stops.insert(entry.stops.end(), parsed.stops.begin(), parsed.stops.end());
    }
    found = cache.emplace(fnv1a(text), std::move(entry)).first;
    // Map nodes do not move, so these pointers hold for the life of the process.
    const CUIGradientStop* next = found->second.stops.data();
    for (CUIGradient& gradient : found->second.gradients) {
      gradient.stops = next;
      next += gradient.stopCount;
    }
  }
  const GradientCacheEntry& entry = found->second;
  if (count != nullptr) *count = entry.ok ? static_cast<uint32_t>(entry.gradients.size()) : 0;
  return entry.ok ? entry.gradients.data() : nullptr;
}

}  // namespace talvero
