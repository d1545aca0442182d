#include "style_core/internal/value_parsers.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "style_core/hash.h"
#include "style_core/internal/viewport.h"

namespace talvero {

using namespace hash_literals;

namespace {

bool isBlank(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

// The number at the head of the text, read past the end of a term or token as atof does, so
// the text must be NUL-terminated somewhere after it.
float readHead(const char* value) {
  return static_cast<float>(std::atof(value));
}

bool isSpaceOrTab(char c) {
  return c == ' ' || c == '\t';
}

const char* skipBlanks(const char* p) {
  while (isBlank(*p)) ++p;
  return p;
}

// True when the `available` bytes at `p` start with the word whose hash is `word` and whose
// length is `length`.
bool startsWith(const char* p, size_t available, uint32_t word, size_t length) {
  return available >= length && fnv1a(p, length) == word;
}

bool endsWith(const char* value, size_t length, uint32_t unit, size_t unitLength) {
  return length >= unitLength && fnv1a(value + length - unitLength, unitLength) == unit;
}

// ---------------------------------------------------------------------------------------
// Colours

uint32_t packColor(uint8_t r, uint8_t g, uint8_t b, uint8_t a) {
  return (uint32_t{r} << 24) | (uint32_t{g} << 16) | (uint32_t{b} << 8) | uint32_t{a};
}

bool namedColor(const char* value, uint32_t& out) {
  switch (fnv1a(value, std::strlen(value))) {
    case "white"_h:
      out = 0xFFFFFFFF;
      return true;
    case "black"_h:
      out = 0x000000FF;
      return true;
    case "red"_h:
      out = 0xFF0000FF;
      return true;
    case "green"_h:
      out = 0x00FF00FF;
      return true;
    case "blue"_h:
      out = 0x0000FFFF;
      return true;
    case "yellow"_h:
      out = 0xFFFF00FF;
      return true;
    case "cyan"_h:
      out = 0x00FFFFFF;
      return true;
    case "magenta"_h:
      out = 0xFF00FFFF;
      return true;
    case "gray"_h:
      out = 0x808080FF;
      return true;
    case "orange"_h:
      out = 0xFFA500FF;
      return true;
    case "brown"_h:
      out = 0xA52A2AFF;
      return true;
    case "purple"_h:
      out = 0x800080FF;
      return true;
    case "transparent"_h:
      out = 0x00000000;
      return true;
    case "clear"_h:
      out = 0xFFFFFF00;
      return true;
    default:
      return false;
  }
}

int hexDigitValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return 0;
}

uint8_t hexPair(const char* digits) {
  const char pair[3] = {digits[0], digits[1], '\0'};
  return static_cast<uint8_t>(std::strtoul(pair, nullptr, 16));
}

// Half away from zero, then into 0..255; a NaN reads as 0.
uint8_t roundChannel(double value) {
  const double rounded = std::round(value);
  if (!(rounded > 0)) return 0;
  if (rounded > 255) return 255;
  return static_cast<uint8_t>(rounded);
}

// Blanks, a number, blanks, an optional sign %, blanks. False when there is no number.
bool parseCssNumberToken(const char*& p, double& value, bool& percent) {
  p = skipBlanks(p);
  char* end = nullptr;
  value = std::strtod(p, &end);
  if (end == p) return false;
  p = skipBlanks(end);
  percent = *p == '%';
  if (percent) p = skipBlanks(p + 1);
  return true;
}

uint8_t channelFrom(double value, bool percent) {
  return roundChannel(percent ? value * 255 / 100 : value);
}

uint8_t alphaFrom(double value, bool percent) {
  if (percent) return roundChannel(value * 255 / 100);
  return roundChannel(value >= 0 && value <= 1 ? value * 255 : value);
}

// "rgb(#rrggbb)" or "rgba(#rrggbb, alpha)"; `p` is at the sign #.
bool parseFunctionalHex(const char* p, bool withAlpha, uint32_t& out) {
  const char* digits = p + 1;
  const char* end = digits;
  while (*end != '\0' && *end != ')' && *end != ',') ++end;
  uint8_t r, g, b, ignoredAlpha;
  if (!parseHexBody(digits, static_cast<size_t>(end - digits), r, g, b, ignoredAlpha)) {
    return false;
  }
  uint8_t a = 255;
  p = end;
  if (withAlpha) {
    if (*p != ',') return false;
    ++p;
    double value;
    bool percent;
    if (!parseCssNumberToken(p, value, percent)) return false;
    a = alphaFrom(value, percent);
  }
  if (*p != ')') return false;
  out = packColor(r, g, b, a);
  return true;
}

// `p` is just past the opening bracket of "rgb(" or "rgba(".
bool parseFunctionalColor(const char* p, bool withAlpha, uint32_t& out) {
  p = skipBlanks(p);
  if (*p == '#') return parseFunctionalHex(p, withAlpha, out);

  const int count = withAlpha ? 4 : 3;
  uint8_t channels[4] = {0, 0, 0, 255};
  for (int i = 0; i < count; ++i) {
    double value;
    bool percent;
    if (!parseCssNumberToken(p, value, percent)) return false;
    channels[i] = i == 3 ? alphaFrom(value, percent) : channelFrom(value, percent);
    const char expected = i + 1 < count ? ',' : ')';
    if (*p != expected) return false;
    ++p;
  }
  out = packColor(channels[0], channels[1], channels[2], channels[3]);
  return true;
}

// Lower-case copy of up to five leading bytes, for the case-blind "rgb(" and "rgba(".
uint32_t lowerPrefixHash(const char* value, size_t length) {
  char lowered[5];
  for (size_t i = 0; i < length; ++i) {
    const char c = value[i];
    lowered[i] = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  }
  return fnv1a(lowered, length);
}

// ---------------------------------------------------------------------------------------
// Lengths

bool insetKeyword(const char* value, size_t length, float& out) {
  switch (fnv1a(value, length)) {
    case "safe-top"_h:
      out = safeTop;
      return true;
    case "safe-right"_h:
      out = safeRight;
      return true;
    case "safe-bottom"_h:
      out = safeBottom;
      return true;
    case "safe-left"_h:
      out = safeLeft;
      return true;
    case "safe-top-comfort"_h:
      out = safeTopComfort;
      return true;
    case "safe-right-comfort"_h:
      out = safeRightComfort;
      return true;
    case "safe-bottom-comfort"_h:
      out = safeBottomComfort;
      return true;
    case "safe-left-comfort"_h:
      out = safeLeftComfort;
      return true;
    default:
      return false;
  }
}

float scaled(const char* value, float unit) {
  return static_cast<float>(std::atof(value) * static_cast<double>(unit));
}

// One argument of min(), max() or clamp(): from `p` to the first comma or closing bracket
// outside brackets, or to `end`; trailing blanks and tabs cut. `p` ends at the stop byte.
struct Argument {
  const char* text;
  size_t length;
};

Argument nextArgument(const char*& p, const char* end) {
  while (p < end && isSpaceOrTab(*p)) ++p;
  const char* start = p;
  int depth = 0;
  while (p < end) {
    const char c = *p;
    if (depth == 0 && (c == ',' || c == ')')) break;
    if (c == '(') ++depth;
    if (c == ')') --depth;
    ++p;
  }
  const char* last = p;
  while (last > start && isSpaceOrTab(last[-1])) --last;
  return {start, static_cast<size_t>(last - start)};
}

bool parseMinMax(const char* value, size_t length, float& out, bool& dynamic, float em,
                 bool takeSmaller) {
  const char* p = value + 4;
  const char* end = value + length;
  bool haveValue = false;
  float result = 0;
  while (true) {
    while (p < end && isSpaceOrTab(*p)) ++p;
    if (p >= end || *p == ')') break;
    const Argument argument = nextArgument(p, end);
    float item;
    if (argument.length == 0 || !parse_vw(argument.text, argument.length, item, dynamic, em)) {
      break;
    }
    if (p < end && *p == ',') ++p;
    if (!haveValue || (takeSmaller ? item < result : item > result)) result = item;
    haveValue = true;
  }
  if (haveValue) out = result;
  return haveValue;
}

bool parseClamp(const char* value, size_t length, float& out, bool& dynamic, float em) {
  const char* p = value + 6;
  const char* end = value + length;
  float bounds[3];
  for (int i = 0; i < 3; ++i) {
    const Argument argument = nextArgument(p, end);
    if (argument.length == 0 || !parse_vw(argument.text, argument.length, bounds[i], dynamic, em)) {
      return false;
    }
    const bool comma = p < end && *p == ',';
    if (comma != (i < 2)) return false;
    if (comma) ++p;
  }
  const float low = bounds[0], preferred = bounds[1], high = bounds[2];
  out = preferred < low ? low : preferred > high ? high : preferred;
  return true;
}

// In calc(), a minus sign that belongs to an inset keyword is no operator.
bool isKeywordMinus(const char* expression, size_t length, size_t i) {
  if (i == 0) return false;
  if (i + 1 < length && expression[i - 1] == 'e') {
    const char next = expression[i + 1];
    if (next == 'b' || next == 'l' || next == 'r' || next == 't') return true;
  }
  return startsWith(expression + i + 1, length - i - 1, "comfort"_h, 7);
}

bool isOperator(char c) {
  return c == '+' || c == '-' || c == '*' || c == '/';
}

}  // namespace

// -----------------------------------------------------------------------------------------

bool parseHexBody(const char* digits, size_t count, uint8_t& r, uint8_t& g, uint8_t& b,
                  uint8_t& a) {
  if (count == 3 || count == 4) {
    r = static_cast<uint8_t>(hexDigitValue(digits[0]) * 17);
    g = static_cast<uint8_t>(hexDigitValue(digits[1]) * 17);
    b = static_cast<uint8_t>(hexDigitValue(digits[2]) * 17);
    a = count == 4 ? static_cast<uint8_t>(hexDigitValue(digits[3]) * 17) : 255;
    return true;
  }
  if (count == 6 || count == 8) {
    r = hexPair(digits);
    g = hexPair(digits + 2);
    b = hexPair(digits + 4);
    a = count == 8 ? hexPair(digits + 6) : 255;
    return true;
  }
  return false;
}

bool tryParseColor(const char* value, uint32_t& out) {
  if (value == nullptr || *value == '\0') return false;
  const size_t length = std::strlen(value);
  if (length >= 4 && lowerPrefixHash(value, 4) == "rgb("_h) {
    return parseFunctionalColor(value + 4, false, out);
  }
  if (length >= 5 && lowerPrefixHash(value, 5) == "rgba("_h) {
    return parseFunctionalColor(value + 5, true, out);
  }
  if (*value == '#') {
    uint8_t r, g, b, a;
    if (!parseHexBody(value + 1, length - 1, r, g, b, a)) return false;
    out = packColor(r, g, b, a);
    return true;
  }
  return namedColor(value, out);
}

bool parse_vw(const char* value, size_t length, float& out, bool& dynamic, float em) {
  if (length >= 7 && startsWith(value, length, "calc("_h, 5)) {
    return parseCalc(value, length, out, dynamic, em);
  }
  if (length >= 6 && startsWith(value, length, "min("_h, 4)) {
    return parseMinMax(value, length, out, dynamic, em, true);
  }
  if (length >= 6 && startsWith(value, length, "max("_h, 4)) {
    return parseMinMax(value, length, out, dynamic, em, false);
  }
  if (length >= 7 && startsWith(value, length, "clamp("_h, 6)) {
    return parseClamp(value, length, out, dynamic, em);
  }
  return parseSingleValue(value, length, out, dynamic, em);
}

bool parseSingleValue(const char* value, size_t length, float& out, bool& dynamic, float em) {
  if (length < 3) return false;
  switch (fnv1a(value + length - 2, 2)) {
    case "px"_h:
      out = readHead(value);
      return true;
    case "vw"_h:
      out = scaled(value, vw);
      dynamic = true;
      return true;
    case "vh"_h:
      out = scaled(value, vh);
      dynamic = true;
      return true;
    case "em"_h:
      out = scaled(value, em);
      dynamic = true;
      return true;
    default:
      break;
  }
  if (length < 5) return false;
  if (endsWith(value, length, "vmax"_h, 4)) {
    out = scaled(value, vmax);
    dynamic = true;
    return true;
  }
  if (endsWith(value, length, "vmin"_h, 4)) {
    out = scaled(value, vmin);
    dynamic = true;
    return true;
  }
  if (insetKeyword(value, length, out)) {
    dynamic = true;
    return true;
  }
  return false;
}

bool parseCalc(const char* value, size_t length, float& out, bool& dynamic, float em) {
  if (length < 7) return false;
  const char* expression = value + 5;
  const size_t expressionLength = value[length - 1] == ')' ? length - 6 : length - 5;

  bool haveTerm = false;
  char pending = '+';
  float sum = 0;
  float product = 0;
  float sign = 1;
  int depth = 0;
  size_t termStart = 0;

  // Reads the term [termStart, i) into the running sum and product.
  auto closeTerm = [&](size_t i) {
    const char* begin = expression + termStart;
    const char* end = expression + i;
    while (begin < end && isBlank(*begin)) ++begin;
    while (end > begin && isBlank(end[-1])) --end;
    if (begin == end) return;
    float term;
    if (!parse_vw(begin, static_cast<size_t>(end - begin), term, dynamic, em)) {
      term = readHead(begin);
    }
    if (!haveTerm) {
      product = term;
      haveTerm = true;
      return;
    }
    switch (pending) {
      case '*':
        product *= term;
        break;
      case '/':
        product /= term;
        break;
      default:
        sum += sign * product;
        product = term;
        sign = pending == '-' ? -1.0f : 1.0f;
        break;
    }
  };

  for (size_t i = 0; i < expressionLength; ++i) {
    const char c = expression[i];
    if (c == '(') {
      ++depth;
      continue;
    }
    if (c == ')') {
      if (depth > 0) --depth;
      continue;
    }
    if (depth > 0 || !isOperator(c)) continue;
    if (c == '-' && isKeywordMinus(expression, expressionLength, i)) continue;
    closeTerm(i);
    pending = c;
    termStart = i + 1;
  }
  closeTerm(expressionLength);

  if (!haveTerm) return false;
  out = sum + sign * product;
  return true;
}

bool parseBorderRadius(const char* value, size_t length, float em, bool& dynamic,
                       BorderRadiusValue& out) {
  if (std::memchr(value, '/', length) != nullptr) return false;

  float corners[4];
  int count = 0;
  const char* p = value;
  const char* end = value + length;
  while (true) {
    while (p < end && isSpaceOrTab(*p)) ++p;
    if (p >= end) break;
    const char* start = p;
    while (p < end && !isSpaceOrTab(*p)) ++p;
    if (count == 4) return false;
    float radius;
    if (!parse_vw(start, static_cast<size_t>(p - start), radius, dynamic, em)) {
      radius = readHead(start);
    }
    if (radius < 0) return false;
    corners[count++] = radius;
  }
  if (count == 1) {
    corners[1] = corners[2] = corners[3] = corners[0];
  } else if (count != 4) {
    return false;
  }

  float nonZero = 0;
  for (float corner : corners) {
    if (corner == 0) continue;
    if (nonZero != 0 && corner != nonZero) return false;
    nonZero = corner;
  }
  const bool allEqual =
      corners[0] == corners[1] && corners[1] == corners[2] && corners[2] == corners[3];
  out = {corners[0], corners[1], corners[2], corners[3], allEqual ? 0u : 1u};
  return true;
}

namespace {

// m[row * 3 + column], a point being a row vector multiplied from the left.
TransformMatrix multiply(const TransformMatrix& a, const TransformMatrix& b) {
  TransformMatrix result{};
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) {
      float sum = 0;
      for (int k = 0; k < 3; ++k) sum += a[row * 3 + k] * b[k * 3 + column];
      result[row * 3 + column] = sum;
    }
  }
  return result;
}

float readNumber(const char*& p) {
  char* end = nullptr;
  const float number = std::strtof(p, &end);
  p = end;
  return number;
}

void skipLengthUnit(const char*& p) {
  if (*p == '%') {
    ++p;
  } else if (p[0] == 'p' && p[1] == 'x') {
    p += 2;
  }
}

void skipClosingBracket(const char*& p) {
  if (*p == ')') ++p;
}

// After "translate" or "scale": an optional X, an optional Y, blanks and the opening
// bracket. False, with `p` left where the scan goes on, when no bracket follows.
bool openAxisFunction(const char*& p, bool& onlyX, bool& onlyY) {
  onlyX = *p == 'X';
  if (onlyX) ++p;
  onlyY = *p == 'Y';
  if (onlyY) ++p;
  p = skipBlanks(p);
  if (*p != '(') return false;
  ++p;
  return true;
}

TransformMatrix translation(const char*& p, bool onlyX, bool onlyY) {
  float x = 0, y = 0;
  if (onlyX) {
    x = readNumber(p);
    skipLengthUnit(p);
  } else if (onlyY) {
    y = readNumber(p);
    skipLengthUnit(p);
  } else {
    x = readNumber(p);
    skipLengthUnit(p);
    p = skipBlanks(p);
    if (*p == ',') ++p;
    y = readNumber(p);
    skipLengthUnit(p);
  }
  skipClosingBracket(p);
  return {1, 0, 0, 0, 1, 0, x, y, 1};
}

TransformMatrix scaling(const char*& p, bool onlyX, bool onlyY) {
  float sx = 1, sy = 1;
  if (onlyX) {
    sx = readNumber(p);
  } else if (onlyY) {
    sy = readNumber(p);
  } else {
    sx = sy = readNumber(p);
    const char* afterFirst = p;
    p = skipBlanks(p);
    if (*p == ',') {
      ++p;
      sy = readNumber(p);
    } else {
      p = afterFirst;
    }
  }
  skipClosingBracket(p);
  return {sx, 0, 0, 0, sy, 0, 0, 0, 1};
}

TransformMatrix rotation(const char*& p, const char* end) {
  float degrees = readNumber(p);
  if (startsWith(p, static_cast<size_t>(end - p), "deg"_h, 3)) {
    p += 3;
  } else if (startsWith(p, static_cast<size_t>(end - p), "rad"_h, 3)) {
    degrees *= 57.295776f;
    p += 3;
  }
  skipClosingBracket(p);
  const float radians = degrees * 3.1415927f / 180;
  const float c = std::cos(radians);
  const float s = std::sin(radians);
  return {c, s, 0, -s, c, 0, 0, 0, 1};
}

}  // namespace

TransformMatrix parse_transform(const char* value) {
  TransformMatrix matrix = kIdentityMatrix;
  if (value == nullptr) return matrix;
  const char* p = value;
  const char* end = value + std::strlen(value);
  while (p < end) {
    const size_t available = static_cast<size_t>(end - p);
    bool onlyX, onlyY;
    if (startsWith(p, available, "translate"_h, 9)) {
      p += 9;
      if (openAxisFunction(p, onlyX, onlyY))
        matrix = multiply(matrix, translation(p, onlyX, onlyY));
    } else if (startsWith(p, available, "scale"_h, 5)) {
      p += 5;
      if (openAxisFunction(p, onlyX, onlyY)) matrix = multiply(matrix, scaling(p, onlyX, onlyY));
    } else if (startsWith(p, available, "rotate"_h, 6)) {
      p = skipBlanks(p + 6);
      if (*p == '(') matrix = multiply(matrix, rotation(++p, end));
    } else {
      ++p;
    }
  }
  return matrix;
}

}  // namespace talvero
