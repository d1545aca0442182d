#include "svg/svg_reader.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <unordered_map>

#include "svg/svg_colors.h"
#include "svg/svg_xml.h"

namespace talvero::svg_reader {
namespace {

using Xform = std::array<float, 6>;

constexpr float kPi = 3.14159265358979323846264338327f;
// Handle length of a cubic that approximates a quarter circle of radius 1.
constexpr float kKappa90 = 0.5522847493f;
constexpr float kDpi = 96.0f;
// Deeper groups share the innermost level's attributes.
constexpr int kMaxAttributeLevels = 128;
// Gradient href chains are followed at most this far, which also ends cycles.
constexpr int kMaxHrefHops = 32;
constexpr size_t kMaxIdLength = 63;

enum class Units { user, px, pt, pc, mm, cm, in, percent, em, ex };
enum class Align { min, mid, max };
enum class AlignType { none, meet, slice };

struct Coordinate {
  float value = 0;
  Units units = Units::user;
};

// ---- transforms: x' = a x + c y + e, y' = b x + d y + f ----

constexpr Xform kIdentity = {1, 0, 0, 1, 0, 0};

Xform translation(float tx, float ty) {
  return {1, 0, 0, 1, tx, ty};
}
Xform scaling(float sx, float sy) {
  return {sx, 0, 0, sy, 0, 0};
}

// t followed by s.
Xform multiply(const Xform& t, const Xform& s) {
  return {t[0] * s[0] + t[1] * s[2],        t[0] * s[1] + t[1] * s[3],
          t[2] * s[0] + t[3] * s[2],        t[2] * s[1] + t[3] * s[3],
          t[4] * s[0] + t[5] * s[2] + s[4], t[4] * s[1] + t[5] * s[3] + s[5]};
}

// A singular matrix gives infinities, as it does in common SVG readers; nothing guards it.
Xform inverse(const Xform& t) {
  const double det = static_cast<double>(t[0]) * t[3] - static_cast<double>(t[2]) * t[1];
  const double invdet = 1.0 / det;
  Xform inv;
  inv[0] = static_cast<float>(t[3] * invdet);
  inv[2] = static_cast<float>(-t[2] * invdet);
  inv[4] = static_cast<float>(
      (static_cast<double>(t[2]) * t[5] - static_cast<double>(t[3]) * t[4]) * invdet);
  inv[1] = static_cast<float>(-t[1] * invdet);
  inv[3] = static_cast<float>(t[0] * invdet);
  inv[5] = static_cast<float>(
      (static_cast<double>(t[1]) * t[4] - static_cast<double>(t[0]) * t[5]) * invdet);
  return inv;
}

void applyPoint(float& dx, float& dy, float x, float y, const Xform& t) {
  dx = x * t[0] + y * t[2] + t[4];
  dy = x * t[1] + y * t[3] + t[5];
}

float averageScale(const Xform& t) {
  const float sx = std::sqrt(t[0] * t[0] + t[2] * t[2]);
  const float sy = std::sqrt(t[1] * t[1] + t[3] * t[3]);
  return (sx + sy) * 0.5f;
}

// ---- bounds ----

using Bounds = std::array<float, 4>;

void extend(Bounds& b, float x, float y) {
  b[0] = std::min(b[0], x);
  b[1] = std::min(b[1], y);
  b[2] = std::max(b[2], x);
  b[3] = std::max(b[3], y);
}

double evalCubic(double t, double p0, double p1, double p2, double p3) {
  const double it = 1.0 - t;
  return it * it * it * p0 + 3.0 * it * it * t * p1 + 3.0 * it * t * t * p2 + t * t * t * p3;
}

// Tight bounds of one cubic: end points plus the extremes where the derivative is zero.
Bounds cubicBounds(const float* c) {
  Bounds b = {std::min(c[0], c[6]), std::min(c[1], c[7]), std::max(c[0], c[6]),
              std::max(c[1], c[7])};
  for (int axis = 0; axis < 2; ++axis) {
    const double p0 = c[axis], p1 = c[2 + axis], p2 = c[4 + axis], p3 = c[6 + axis];
    const double a = -3.0 * p0 + 9.0 * p1 - 9.0 * p2 + 3.0 * p3;
    const double bq = 6.0 * p0 - 12.0 * p1 + 6.0 * p2;
    const double cq = 3.0 * p1 - 3.0 * p0;
    double roots[2];
    int count = 0;
    constexpr double kEpsilon = 1e-12;
    if (std::fabs(a) < kEpsilon) {
      if (std::fabs(bq) > kEpsilon) roots[count++] = -cq / bq;
    } else {
      const double disc = bq * bq - 4.0 * cq * a;
      if (disc > kEpsilon) {
        roots[count++] = (-bq + std::sqrt(disc)) / (2.0 * a);
        roots[count++] = (-bq - std::sqrt(disc)) / (2.0 * a);
      }
    }
    for (int i = 0; i < count; ++i) {
      if (roots[i] <= kEpsilon || roots[i] >= 1.0 - kEpsilon) continue;
      const float v = static_cast<float>(evalCubic(roots[i], p0, p1, p2, p3));
      b[axis] = std::min(b[axis], v);
      b[2 + axis] = std::max(b[2 + axis], v);
    }
  }
  return b;
}

// ---- scanning ----

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}
char at(std::string_view s, size_t i) {
  return i < s.size() ? s[i] : '\0';
}

// Cuts one number token at `pos`: sign, digits, fraction, exponent. An 'e' before 'm' or 'x'
// starts a unit, not an exponent, so "2em" is two em.
std::string_view scanNumber(std::string_view s, size_t& pos) {
  const size_t begin = pos;
  if (at(s, pos) == '-' || at(s, pos) == '+') ++pos;
  while (isDigit(at(s, pos))) ++pos;
  if (at(s, pos) == '.') {
    ++pos;
    while (isDigit(at(s, pos))) ++pos;
  }
  const char e = at(s, pos);
  if ((e == 'e' || e == 'E') && at(s, pos + 1) != 'm' && at(s, pos + 1) != 'x') {
    ++pos;
    if (at(s, pos) == '-' || at(s, pos) == '+') ++pos;
    while (isDigit(at(s, pos))) ++pos;
  }
  return s.substr(begin, pos - begin);
}

// The next number or command letter of path data, after spaces and commas; empty at the end.
std::string_view nextPathItem(std::string_view s, size_t& pos) {
  while (pos < s.size() && (svg_xml::isSpace(s[pos]) || s[pos] == ',')) ++pos;
  if (pos >= s.size()) return {};
  const char c = s[pos];
  if (c == '-' || c == '+' || c == '.' || isDigit(c)) return scanNumber(s, pos);
  return s.substr(pos++, 1);
}

// Arc flags are single digits that need no separator: "a1 1 0 011 1".
std::string_view nextArcFlag(std::string_view s, size_t& pos) {
  while (pos < s.size() && (svg_xml::isSpace(s[pos]) || s[pos] == ',')) ++pos;
  if (pos < s.size() && (s[pos] == '0' || s[pos] == '1')) return s.substr(pos++, 1);
  return {};
}

bool isCoordinate(std::string_view item) {
  size_t i = 0;
  if (at(item, i) == '-' || at(item, i) == '+') ++i;
  return isDigit(at(item, i)) || at(item, i) == '.';
}

Units parseUnits(std::string_view u) {
  const char a = at(u, 0), b = at(u, 1);
  if (a == 'p' && b == 'x') return Units::px;
  if (a == 'p' && b == 't') return Units::pt;
  if (a == 'p' && b == 'c') return Units::pc;
  if (a == 'm' && b == 'm') return Units::mm;
  if (a == 'c' && b == 'm') return Units::cm;
  if (a == 'i' && b == 'n') return Units::in;
  if (a == '%') return Units::percent;
  if (a == 'e' && b == 'm') return Units::em;
  if (a == 'e' && b == 'x') return Units::ex;
  return Units::user;
}

Coordinate parseCoordinateRaw(std::string_view text) {
  size_t pos = 0;
  const std::string_view number = scanNumber(text, pos);
  return {static_cast<float>(parseNumberText(number)), parseUnits(text.substr(pos))};
}

float parseOpacity(std::string_view text) {
  return std::clamp(static_cast<float>(parseNumberText(text)), 0.0f, 1.0f);
}

std::string truncatedId(std::string_view text) {
  return std::string(text.substr(0, kMaxIdLength));
}

// url(#id) or url(id), up to the closing parenthesis.
std::string parseUrl(std::string_view text) {
  text.remove_prefix(4);
  if (!text.empty() && text.front() == '#') text.remove_prefix(1);
  const size_t close = text.find(')');
  return truncatedId(text.substr(0, close));
}

// ---- transform lists ----

// Finds the next '(' or ')' at or after a position. Queries only move forward through a
// transform list, so a remembered answer is reused and the text is scanned once in all.
class BracketFinder {
 public:
  explicit BracketFinder(std::string_view text) : text_(text) {}
  size_t next(char bracket, size_t from) {
    Cache& cache = bracket == '(' ? open_ : close_;
    if (!(cache.from <= from && (cache.found == std::string_view::npos || cache.found >= from))) {
      cache.found = text_.find(bracket, from);
    }
    cache.from = from;
    return cache.found;
  }

 private:
  struct Cache {
    size_t from = std::string_view::npos;
    size_t found = std::string_view::npos;
  };
  std::string_view text_;
  Cache open_;
  Cache close_;
};

// Reads the numbers between the parentheses after `start`. Gives the length from `start` to
// the closing parenthesis, 1 when there is no argument list. An item with too many numbers is
// dropped whole: its length is still given, and `count` is past `maxCount`.
size_t parseTransformArgs(std::string_view text, size_t start, BracketFinder& brackets, float* args,
                          int maxCount, int& count) {
  count = 0;
  const size_t open = brackets.next('(', start);
  if (open == std::string_view::npos) return 1;
  const size_t close = brackets.next(')', open);
  if (close == std::string_view::npos) return 1;
  size_t pos = open;
  while (pos < close) {
    const char c = text[pos];
    if (c == '-' || c == '+' || c == '.' || isDigit(c)) {
      const float value = static_cast<float>(parseNumberText(scanNumber(text, pos)));
      if (count < maxCount) args[count] = value;
      ++count;
    } else {
      ++pos;
    }
  }
  return close - start;
}

Xform parseTransform(std::string_view text) {
  Xform result = kIdentity;
  BracketFinder brackets(text);
  size_t pos = 0;
  while (pos < text.size()) {
    const std::string_view rest = text.substr(pos);
    float args[6] = {0, 0, 0, 0, 0, 0};
    int count = 0;
    int maxCount = 0;
    enum class Kind { matrix, translate, scale, rotate, skewX, skewY } kind;
    if (rest.starts_with("matrix"))
      kind = Kind::matrix, maxCount = 6;
    else if (rest.starts_with("translate"))
      kind = Kind::translate, maxCount = 2;
    else if (rest.starts_with("scale"))
      kind = Kind::scale, maxCount = 2;
    else if (rest.starts_with("rotate"))
      kind = Kind::rotate, maxCount = 3;
    else if (rest.starts_with("skewX"))
      kind = Kind::skewX, maxCount = 1;
    else if (rest.starts_with("skewY"))
      kind = Kind::skewY, maxCount = 1;
    else {
      ++pos;
      continue;
    }
    pos += parseTransformArgs(text, pos, brackets, args, maxCount, count);
    if (count > maxCount) continue;
    Xform t = kIdentity;
    switch (kind) {
      case Kind::matrix:
        if (count == 6) std::copy(args, args + 6, t.begin());
        break;
      case Kind::translate:
        t = translation(args[0], count == 1 ? 0.0f : args[1]);
        break;
      case Kind::scale:
        if (count > 0) t = scaling(args[0], count == 1 ? args[0] : args[1]);
        break;
      case Kind::rotate: {
        const float angle = args[0] / 180.0f * kPi;
        const float cs = std::cos(angle), sn = std::sin(angle);
        const Xform rotation = {cs, sn, -sn, cs, 0, 0};
        t = count > 1 ? multiply(multiply(translation(-args[1], -args[2]), rotation),
                                 translation(args[1], args[2]))
                      : rotation;
        break;
      }
      case Kind::skewX:
        t = {1, 0, std::tan(args[0] / 180.0f * kPi), 1, 0, 0};
        break;
      case Kind::skewY:
        t = {1, std::tan(args[0] / 180.0f * kPi), 0, 1, 0, 0};
        break;
    }
    // Later items of the list apply first.
    result = multiply(t, result);
  }
  return result;
}

// ---- the reader ----

struct Attributes {
  Xform xform = kIdentity;
  uint32_t fillColor = 0;
  uint32_t strokeColor = 0;
  float opacity = 1;
  float fillOpacity = 1;
  float strokeOpacity = 1;
  std::string fillGradient;
  std::string strokeGradient;
  float strokeWidth = 1;
  float strokeDashOffset = 0;
  std::array<float, kMaxDashes> strokeDashArray{};
  int strokeDashCount = 0;
  int strokeLineJoin = kJoinMiter;
  int strokeLineCap = kCapButt;
  float miterLimit = 4;
  int fillRule = kFillRuleNonZero;
  float fontSize = 0;
  uint32_t stopColor = 0;
  float stopOpacity = 1;
  float stopOffset = 0;
  int hasFill = 1;  // 0 none, 1 colour, 2 gradient
  int hasStroke = 0;
  bool visible = true;
};

struct GradientData {
  std::string id;
  std::string ref;
  int type = kPaintLinearGradient;
  Coordinate x1, y1, x2, y2;     // linear
  Coordinate cx, cy, r, fx, fy;  // radial; an unset focus is 0, not the centre
  bool hasFx = false, hasFy = false;
  int spread = kSpreadPad;
  bool objectUnits = true;
  Xform xform = kIdentity;
  std::vector<ReaderGradientStop> stops;
  bool stopsSorted = true;
};

class Reader final : public svg_xml::XmlHandler {
 public:
  Reader() { attributeStack_[0] = Attributes{}; }

  ReaderImage finish() {
    scaleToViewBox();
    return std::move(image_);
  }

  void startElement(std::string_view name,
                    const std::vector<svg_xml::XmlAttribute>& attrs) override {
    if (inDefs_) {
      if (name == "linearGradient")
        parseGradient(attrs, kPaintLinearGradient);
      else if (name == "radialGradient")
        parseGradient(attrs, kPaintRadialGradient);
      else if (name == "stop")
        parseStop(attrs);
      return;
    }
    if (name == "g") {
      pushAttributes();
      for (const auto& a : attrs) parseAttribute(a.name, a.value);
    } else if (name == "path") {
      pushAttributes();
      parsePath(attrs);
      popAttributes();
    } else if (name == "rect") {
      pushAttributes();
      parseRect(attrs);
      popAttributes();
    } else if (name == "circle") {
      pushAttributes();
      parseEllipse(attrs, true);
      popAttributes();
    } else if (name == "ellipse") {
      pushAttributes();
      parseEllipse(attrs, false);
      popAttributes();
    } else if (name == "line") {
      pushAttributes();
      parseLine(attrs);
      popAttributes();
    } else if (name == "polyline") {
      pushAttributes();
      parsePoly(attrs, false);
      popAttributes();
    } else if (name == "polygon") {
      pushAttributes();
      parsePoly(attrs, true);
      popAttributes();
    } else if (name == "linearGradient") {
      parseGradient(attrs, kPaintLinearGradient);
    } else if (name == "radialGradient") {
      parseGradient(attrs, kPaintRadialGradient);
    } else if (name == "stop") {
      parseStop(attrs);
    } else if (name == "defs") {
      inDefs_ = true;
    } else if (name == "svg") {
      parseSvg(attrs);
    }
  }

  void endElement(std::string_view name) override {
    if (name == "g")
      popAttributes();
    else if (name == "defs")
      inDefs_ = false;
  }

 private:
  Attributes& current() { return attributeStack_[head_]; }

  void pushAttributes() {
    if (head_ < kMaxAttributeLevels - 1) {
      ++head_;
      attributeStack_[head_] = attributeStack_[head_ - 1];
    }
  }

  void popAttributes() {
    if (head_ > 0) --head_;
  }

  float actualLength() const {
    return std::sqrt(viewWidth_ * viewWidth_ + viewHeight_ * viewHeight_) / std::sqrt(2.0f);
  }

  float toPixels(Coordinate c, float origin, float length) {
    switch (c.units) {
      case Units::user:
      case Units::px:
        return c.value;
      case Units::pt:
        return c.value / 72.0f * kDpi;
      case Units::pc:
        return c.value / 6.0f * kDpi;
      case Units::mm:
        return c.value / 25.4f * kDpi;
      case Units::cm:
        return c.value / 2.54f * kDpi;
      case Units::in:
        return c.value * kDpi;
      case Units::em:
        return c.value * current().fontSize;
      case Units::ex:
        return c.value * current().fontSize * 0.52f;  // x-height of Helvetica
      case Units::percent:
        return origin + c.value / 100.0f * length;
    }
    return c.value;
  }

  float parseCoordinate(std::string_view text, float origin, float length) {
    return toPixels(parseCoordinateRaw(text), origin, length);
  }

  int parseDashArray(std::string_view text, std::array<float, kMaxDashes>& dashes) {
    if (text.starts_with('n')) return 0;
    int count = 0;
    size_t pos = 0;
    while (pos < text.size()) {
      while (pos < text.size() && (svg_xml::isSpace(text[pos]) || text[pos] == ',')) ++pos;
      const size_t begin = pos;
      while (pos < text.size() && !svg_xml::isSpace(text[pos]) && text[pos] != ',') ++pos;
      if (pos == begin) break;
      if (count < kMaxDashes) {
        dashes[count++] =
            std::fabs(parseCoordinate(text.substr(begin, pos - begin), 0.0f, actualLength()));
      }
    }
    float sum = 0;
    for (int i = 0; i < count; ++i) sum += dashes[i];
    return sum <= 1e-6f ? 0 : count;
  }

  // The presentation attributes and `style`; false for any other name.
  bool parseAttribute(std::string_view name, std::string_view value) {
    Attributes& attr = current();
    if (name == "style") {
      parseStyle(value);
    } else if (name == "display") {
      if (value == "none") attr.visible = false;
    } else if (name == "fill") {
      if (value == "none") {
        attr.hasFill = 0;
      } else if (value.starts_with("url(")) {
        attr.hasFill = 2;
        attr.fillGradient = parseUrl(value);
      } else {
        attr.hasFill = 1;
        attr.fillColor = parseColor(value);
      }
    } else if (name == "opacity") {
      attr.opacity = parseOpacity(value);
    } else if (name == "fill-opacity") {
      attr.fillOpacity = parseOpacity(value);
    } else if (name == "stroke") {
      if (value == "none") {
        attr.hasStroke = 0;
      } else if (value.starts_with("url(")) {
        attr.hasStroke = 2;
        attr.strokeGradient = parseUrl(value);
      } else {
        attr.hasStroke = 1;
        attr.strokeColor = parseColor(value);
      }
    } else if (name == "stroke-width") {
      attr.strokeWidth = parseCoordinate(value, 0.0f, actualLength());
    } else if (name == "stroke-dasharray") {
      attr.strokeDashCount = parseDashArray(value, attr.strokeDashArray);
    } else if (name == "stroke-dashoffset") {
      attr.strokeDashOffset = parseCoordinate(value, 0.0f, actualLength());
    } else if (name == "stroke-opacity") {
      attr.strokeOpacity = parseOpacity(value);
    } else if (name == "stroke-linecap") {
      attr.strokeLineCap = value == "round" ? kCapRound : value == "square" ? kCapSquare : kCapButt;
    } else if (name == "stroke-linejoin") {
      attr.strokeLineJoin = value == "round"   ? kJoinRound
                            : value == "bevel" ? kJoinBevel
                                               : kJoinMiter;
    } else if (name == "stroke-miterlimit") {
      attr.miterLimit = std::max(0.0f, static_cast<float>(parseNumberText(value)));
    } else if (name == "fill-rule") {
      attr.fillRule = value == "evenodd" ? kFillRuleEvenOdd : kFillRuleNonZero;
    } else if (name == "font-size") {
      attr.fontSize = parseCoordinate(value, 0.0f, actualLength());
    } else if (name == "transform") {
      attr.xform = multiply(parseTransform(value), attr.xform);
    } else if (name == "stop-color") {
      attr.stopColor = parseColor(value);
    } else if (name == "stop-opacity") {
      attr.stopOpacity = parseOpacity(value);
    } else if (name == "offset") {
      attr.stopOffset = parseCoordinate(value, 0.0f, 1.0f);
    } else if (name == "id") {
      // Shapes keep no id in the model; only gradients are looked up by it.
    } else {
      return false;
    }
    return true;
  }

  static std::string_view trim(std::string_view s) {
    while (!s.empty() && svg_xml::isSpace(s.front())) s.remove_prefix(1);
    while (!s.empty() && svg_xml::isSpace(s.back())) s.remove_suffix(1);
    return s;
  }

  void parseStyle(std::string_view text) {
    size_t pos = 0;
    while (pos < text.size()) {
      size_t end = text.find(';', pos);
      if (end == std::string_view::npos) end = text.size();
      const std::string_view declaration = text.substr(pos, end - pos);
      const size_t colon = declaration.find(':');
      const std::string_view name = trim(declaration.substr(0, colon));
      std::string_view value;
      if (colon != std::string_view::npos) {
        value = declaration.substr(colon + 1);
        while (!value.empty() && (value.front() == ':' || svg_xml::isSpace(value.front()))) {
          value.remove_prefix(1);
        }
        value = trim(value);
      }
      // A nested `style` would recurse; declarations cannot hold one.
      if (name != "style") parseAttribute(name, value);
      pos = end + 1;
    }
  }

  // ---- points and paths ----

  void moveTo(float x, float y) {
    if (!points_.empty()) {
      points_[points_.size() - 2] = x;
      points_.back() = y;
    } else {
      points_.push_back(x);
      points_.push_back(y);
    }
  }

  void lineTo(float x, float y) {
    if (points_.empty()) return;
    const float px = points_[points_.size() - 2], py = points_.back();
    const float dx = x - px, dy = y - py;
    points_.insert(points_.end(),
                   {px + dx / 3.0f, py + dy / 3.0f, x - dx / 3.0f, y - dy / 3.0f, x, y});
  }

  void cubicTo(float c1x, float c1y, float c2x, float c2y, float x, float y) {
    if (points_.empty()) return;
    points_.insert(points_.end(), {c1x, c1y, c2x, c2y, x, y});
  }

  int pointCount() const { return static_cast<int>(points_.size() / 2); }

  void addPath(bool closed) {
    if (pointCount() < 4) return;
    if (closed) lineTo(points_[0], points_[1]);
    if (pointCount() % 3 != 1) return;
    ReaderPath path;
    path.closed = closed;
    path.points.resize(points_.size());
    const Xform& xform = current().xform;
    for (size_t i = 0; i < points_.size(); i += 2) {
      applyPoint(path.points[i], path.points[i + 1], points_[i], points_[i + 1], xform);
    }
    for (size_t i = 0; i + 2 < path.points.size(); i += 6) {
      const Bounds b = cubicBounds(&path.points[i]);
      if (i == 0) {
        path.bounds = b;
      } else {
        extend(path.bounds, b[0], b[1]);
        extend(path.bounds, b[2], b[3]);
      }
    }
    pendingPaths_.push_back(std::move(path));
  }

  Bounds localBounds(const ReaderShape& shape, const Xform& xform) {
    Bounds bounds{};
    bool first = true;
    for (const ReaderPath& path : shape.paths) {
      float curve[8];
      applyPoint(curve[0], curve[1], path.points[0], path.points[1], xform);
      for (size_t i = 0; i + 7 < path.points.size(); i += 6) {
        for (int k = 1; k <= 3; ++k) {
          applyPoint(curve[2 * k], curve[2 * k + 1], path.points[i + 2 * k],
                     path.points[i + 2 * k + 1], xform);
        }
        const Bounds b = cubicBounds(curve);
        if (first) {
          bounds = b;
          first = false;
        } else {
          extend(bounds, b[0], b[1]);
          extend(bounds, b[2], b[3]);
        }
        curve[0] = curve[6];
        curve[1] = curve[7];
      }
    }
    return bounds;
  }

  GradientData* findGradient(const std::string& id) {
    if (id.empty()) return nullptr;
    const auto found = gradientIndex_.find(id);
    return found == gradientIndex_.end() ? nullptr : &gradients_[found->second];
  }

  std::optional<ReaderGradient> createGradient(const std::string& id, const Bounds& local,
                                               int& paintType) {
    GradientData* data = findGradient(id);
    if (data == nullptr) return std::nullopt;
    GradientData* withStops = nullptr;
    GradientData* ref = data;
    for (int hops = 0; ref != nullptr;) {
      if (!ref->stops.empty()) {
        withStops = ref;
        break;
      }
      GradientData* next = findGradient(ref->ref);
      if (next == ref) break;
      ref = next;
      if (++hops > kMaxHrefHops) break;
    }
    if (withStops == nullptr) return std::nullopt;
    if (!withStops->stopsSorted) {
      std::stable_sort(withStops->stops.begin(), withStops->stops.end(),
                       [](const ReaderGradientStop& a, const ReaderGradientStop& b) {
                         return a.offset < b.offset;
                       });
      withStops->stopsSorted = true;
    }

    // In bounding-box units the gradient and its gradientTransform live in the box's unit
    // square, which is stretched over the box only afterwards.
    float ox, oy, sw, sh;
    Xform units = kIdentity;
    if (data->objectUnits) {
      ox = oy = 0;
      sw = sh = 1;
      units = {local[2] - local[0], 0, 0, local[3] - local[1], local[0], local[1]};
    } else {
      ox = viewMinX_;
      oy = viewMinY_;
      sw = viewWidth_;
      sh = viewHeight_;
    }
    const float sl = std::sqrt(sw * sw + sh * sh) / std::sqrt(2.0f);

    ReaderGradient gradient;
    if (data->type == kPaintLinearGradient) {
      const float x1 = toPixels(data->x1, ox, sw), y1 = toPixels(data->y1, oy, sh);
      const float x2 = toPixels(data->x2, ox, sw), y2 = toPixels(data->y2, oy, sh);
      const float dx = x2 - x1, dy = y2 - y1;
      gradient.xform = {dy, -dx, dx, dy, x1, y1};
    } else {
      const float cx = toPixels(data->cx, ox, sw), cy = toPixels(data->cy, oy, sh);
      const float fx = toPixels(data->fx, ox, sw), fy = toPixels(data->fy, oy, sh);
      const float r = toPixels(data->r, 0, sl);
      gradient.xform = {r, 0, 0, r, cx, cy};
      gradient.fx = fx / r;
      gradient.fy = fy / r;
      gradient.focusFromCentreX = data->hasFx ? (fx - cx) / r : 0;
      gradient.focusFromCentreY = data->hasFy ? (fy - cy) / r : 0;
    }
    gradient.xform =
        multiply(multiply(multiply(gradient.xform, data->xform), units), current().xform);
    gradient.spread = data->spread;
    gradient.stops = withStops->stops;
    paintType = data->type;
    return gradient;
  }

  void setPaint(ReaderPaint& paint, ReaderShape& shape, int has, uint32_t color, float opacity,
                const std::string& gradientId) {
    if (has == 1) {
      paint.type = kPaintColor;
      paint.color = color | (static_cast<uint32_t>(opacity * 255) << 24);
    } else if (has == 2) {
      const Bounds local = localBounds(shape, inverse(current().xform));
      paint.gradient = createGradient(gradientId, local, paint.type);
      if (!paint.gradient) paint.type = kPaintNone;
    }
  }

  void addShape() {
    if (pendingPaths_.empty()) return;
    const Attributes& attr = current();
    ReaderShape shape;
    const float scale = averageScale(attr.xform);
    shape.strokeWidth = attr.strokeWidth * scale;
    shape.strokeDashOffset = attr.strokeDashOffset * scale;
    shape.strokeDashCount = attr.strokeDashCount;
    for (int i = 0; i < attr.strokeDashCount; ++i) {
      shape.strokeDashArray[i] = attr.strokeDashArray[i] * scale;
    }
    shape.strokeLineJoin = attr.strokeLineJoin;
    shape.strokeLineCap = attr.strokeLineCap;
    shape.miterLimit = attr.miterLimit;
    shape.fillRule = attr.fillRule;
    shape.opacity = attr.opacity;
    shape.visible = attr.visible;
    // Each new subpath goes to the front of the shape's list.
    shape.paths.assign(std::make_move_iterator(pendingPaths_.rbegin()),
                       std::make_move_iterator(pendingPaths_.rend()));
    pendingPaths_.clear();
    shape.bounds = shape.paths.front().bounds;
    for (const ReaderPath& path : shape.paths) {
      extend(shape.bounds, path.bounds[0], path.bounds[1]);
      extend(shape.bounds, path.bounds[2], path.bounds[3]);
    }
    setPaint(shape.fill, shape, attr.hasFill, attr.fillColor, attr.fillOpacity, attr.fillGradient);
    setPaint(shape.stroke, shape, attr.hasStroke, attr.strokeColor, attr.strokeOpacity,
             attr.strokeGradient);
    image_.shapes.push_back(std::move(shape));
  }

  // ---- path data ----

  static int argumentsPerCommand(char command) {
    switch (command) {
      case 'v':
      case 'V':
      case 'h':
      case 'H':
        return 1;
      case 'm':
      case 'M':
      case 'l':
      case 'L':
      case 't':
      case 'T':
        return 2;
      case 'q':
      case 'Q':
      case 's':
      case 'S':
        return 4;
      case 'c':
      case 'C':
        return 6;
      case 'a':
      case 'A':
        return 7;
      case 'z':
      case 'Z':
        return 0;
      default:
        return -1;
    }
  }

  struct Cursor {
    float x = 0, y = 0;    // current point
    float cx = 0, cy = 0;  // last control point, for S and T
  };

  void arcTo(Cursor& c, const float* args, bool relative) {
    float rx = std::fabs(args[0]);
    float ry = std::fabs(args[1]);
    const float rotation = args[2] / 180.0f * kPi;
    const bool largeArc = std::fabs(args[3]) > 1e-6f;
    const bool sweep = std::fabs(args[4]) > 1e-6f;
    const float x1 = c.x, y1 = c.y;
    const float x2 = relative ? c.x + args[5] : args[5];
    const float y2 = relative ? c.y + args[6] : args[6];

    float dx = x1 - x2, dy = y1 - y2;
    float d = std::sqrt(dx * dx + dy * dy);
    if (d < 1e-6f || rx < 1e-6f || ry < 1e-6f) {
      lineTo(x2, y2);
      c.x = x2;
      c.y = y2;
      return;
    }
    const float sinrx = std::sin(rotation), cosrx = std::cos(rotation);
    // Centre parameterisation, per the SVG implementation notes.
    const float x1p = cosrx * dx / 2.0f + sinrx * dy / 2.0f;
    const float y1p = -sinrx * dx / 2.0f + cosrx * dy / 2.0f;
    d = x1p * x1p / (rx * rx) + y1p * y1p / (ry * ry);
    if (d > 1) {
      // Radii too small to reach the end point grow until they just do.
      d = std::sqrt(d);
      rx *= d;
      ry *= d;
    }
    float sa = rx * rx * ry * ry - rx * rx * y1p * y1p - ry * ry * x1p * x1p;
    const float sb = rx * rx * y1p * y1p + ry * ry * x1p * x1p;
    if (sa < 0) sa = 0;
    float s = sb > 0 ? std::sqrt(sa / sb) : 0.0f;
    if (largeArc == sweep) s = -s;
    const float cxp = s * rx * y1p / ry;
    const float cyp = s * -ry * x1p / rx;
    const float cx = (x1 + x2) / 2.0f + cosrx * cxp - sinrx * cyp;
    const float cy = (y1 + y2) / 2.0f + sinrx * cxp + cosrx * cyp;

    auto angle = [](float ux, float uy, float vx, float vy) {
      const float r = std::clamp(
          (ux * vx + uy * vy) / (std::sqrt(ux * ux + uy * uy) * std::sqrt(vx * vx + vy * vy)),
          -1.0f, 1.0f);
      return ((ux * vy < uy * vx) ? -1.0f : 1.0f) * std::acos(r);
    };
    const float ux = (x1p - cxp) / rx, uy = (y1p - cyp) / ry;
    const float vx = (-x1p - cxp) / rx, vy = (-y1p - cyp) / ry;
    const float a1 = angle(1.0f, 0.0f, ux, uy);
    float da = angle(ux, uy, vx, vy);
    if (!sweep && da > 0)
      da -= 2 * kPi;
    else if (sweep && da < 0)
      da += 2 * kPi;

    if (!std::isfinite(da) || !std::isfinite(a1) || !std::isfinite(cx) || !std::isfinite(cy)) {
      // Radii so large that their squares overflow leave nothing to divide; draw the chord.
      lineTo(x2, y2);
      c.x = x2;
      c.y = y2;
      return;
    }
    const Xform t = {cosrx, sinrx, -sinrx, cosrx, cx, cy};
    // At most a quarter turn per cubic.
    const int divisions = static_cast<int>(std::fabs(da) / (kPi * 0.5f) + 1.0f);
    float hda = (da / static_cast<float>(divisions)) / 2.0f;
    if (hda < 1e-3f && hda > -1e-3f)
      hda *= 0.5f;
    else
      hda = (1.0f - std::cos(hda)) / std::sin(hda);
    float kappa = std::fabs(4.0f / 3.0f * hda);
    if (da < 0.0f) kappa = -kappa;

    float px = 0, py = 0, ptx = 0, pty = 0;
    for (int i = 0; i <= divisions; ++i) {
      const float a = a1 + da * (static_cast<float>(i) / static_cast<float>(divisions));
      const float ca = std::cos(a), sa2 = std::sin(a);
      float x, y;
      applyPoint(x, y, ca * rx, sa2 * ry, t);
      const float vxr = -sa2 * rx * kappa, vyr = ca * ry * kappa;
      const float tx = vxr * t[0] + vyr * t[2], ty = vxr * t[1] + vyr * t[3];
      if (i > 0) cubicTo(px + ptx, py + pty, x - tx, y - ty, x, y);
      px = x;
      py = y;
      ptx = tx;
      pty = ty;
    }
    c.x = x2;
    c.y = y2;
  }

  void runCommand(char command, Cursor& c, const float* args, int count) {
    const bool rel = command >= 'a' && command <= 'z';
    switch (command) {
      case 'm':
      case 'M':
        c.x = rel ? c.x + args[0] : args[0];
        c.y = rel ? c.y + args[1] : args[1];
        moveTo(c.x, c.y);
        c.cx = c.x;
        c.cy = c.y;
        break;
      case 'l':
      case 'L':
        c.x = rel ? c.x + args[0] : args[0];
        c.y = rel ? c.y + args[1] : args[1];
        lineTo(c.x, c.y);
        c.cx = c.x;
        c.cy = c.y;
        break;
      case 'h':
      case 'H':
        c.x = rel ? c.x + args[0] : args[0];
        lineTo(c.x, c.y);
        c.cx = c.x;
        c.cy = c.y;
        break;
      case 'v':
      case 'V':
        c.y = rel ? c.y + args[0] : args[0];
        lineTo(c.x, c.y);
        c.cx = c.x;
        c.cy = c.y;
        break;
      case 'c':
      case 'C': {
        const float ox = rel ? c.x : 0, oy = rel ? c.y : 0;
        cubicTo(ox + args[0], oy + args[1], ox + args[2], oy + args[3], ox + args[4], oy + args[5]);
        c.cx = ox + args[2];
        c.cy = oy + args[3];
        c.x = ox + args[4];
        c.y = oy + args[5];
        break;
      }
      case 's':
      case 'S': {
        const float ox = rel ? c.x : 0, oy = rel ? c.y : 0;
        const float c1x = 2 * c.x - c.cx, c1y = 2 * c.y - c.cy;
        cubicTo(c1x, c1y, ox + args[0], oy + args[1], ox + args[2], oy + args[3]);
        c.cx = ox + args[0];
        c.cy = oy + args[1];
        c.x = ox + args[2];
        c.y = oy + args[3];
        break;
      }
      case 'q':
      case 'Q':
      case 't':
      case 'T': {
        const bool smooth = command == 't' || command == 'T';
        const float ox = rel ? c.x : 0, oy = rel ? c.y : 0;
        const float x1 = c.x, y1 = c.y;
        const float qx = smooth ? 2 * x1 - c.cx : ox + args[0];
        const float qy = smooth ? 2 * y1 - c.cy : oy + args[1];
        const float x2 = ox + args[smooth ? 0 : 2], y2 = oy + args[smooth ? 1 : 3];
        cubicTo(x1 + 2.0f / 3.0f * (qx - x1), y1 + 2.0f / 3.0f * (qy - y1),
                x2 + 2.0f / 3.0f * (qx - x2), y2 + 2.0f / 3.0f * (qy - y2), x2, y2);
        c.cx = qx;
        c.cy = qy;
        c.x = x2;
        c.y = y2;
        break;
      }
      case 'a':
      case 'A':
        arcTo(c, args, rel);
        c.cx = c.x;
        c.cy = c.y;
        break;
      default:
        // Numbers after Z move the current point without drawing.
        if (count >= 2) {
          c.x = args[count - 2];
          c.y = args[count - 1];
          c.cx = c.x;
          c.cy = c.y;
        }
        break;
    }
  }

  void parsePathData(std::string_view d) {
    points_.clear();
    Cursor cursor;
    char command = '\0';
    float args[10];
    int count = 0;
    int needed = 0;
    bool started = false;
    bool closed = false;
    size_t pos = 0;
    while (pos < d.size()) {
      std::string_view item;
      if ((command == 'A' || command == 'a') && (count == 3 || count == 4)) {
        item = nextArcFlag(d, pos);
      }
      if (item.empty()) item = nextPathItem(d, pos);
      if (item.empty()) break;
      if (command != '\0' && isCoordinate(item)) {
        if (count < 10) args[count++] = static_cast<float>(parseNumberText(item));
        if (count >= needed) {
          runCommand(command, cursor, args, count);
          if (command == 'm' || command == 'M') {
            // Pairs after a move are lines.
            command = command == 'm' ? 'l' : 'L';
            needed = argumentsPerCommand(command);
            started = true;
          }
          count = 0;
        }
        continue;
      }
      command = item[0];
      if (command == 'M' || command == 'm') {
        if (!points_.empty()) addPath(closed);
        points_.clear();
        closed = false;
        count = 0;
      } else if (!started) {
        // Nothing draws before the first move.
        command = '\0';
      }
      if (command == 'Z' || command == 'z') {
        if (!points_.empty()) {
          cursor.x = points_[0];
          cursor.y = points_[1];
          cursor.cx = cursor.x;
          cursor.cy = cursor.y;
          addPath(true);
        }
        points_.clear();
        moveTo(cursor.x, cursor.y);
        closed = false;
        count = 0;
      }
      needed = argumentsPerCommand(command);
      if (needed == -1) {
        command = '\0';
        needed = 0;
      }
    }
    if (!points_.empty()) addPath(closed);
  }

  void parsePath(const std::vector<svg_xml::XmlAttribute>& attrs) {
    std::optional<std::string_view> d;
    for (const auto& a : attrs) {
      if (a.name == "d")
        d = a.value;
      else
        parseAttribute(a.name, a.value);
    }
    if (d) parsePathData(*d);
    addShape();
  }

  void parseRect(const std::vector<svg_xml::XmlAttribute>& attrs) {
    float x = 0, y = 0, w = 0, h = 0, rx = -1, ry = -1;
    for (const auto& a : attrs) {
      if (parseAttribute(a.name, a.value)) continue;
      if (a.name == "x")
        x = parseCoordinate(a.value, viewMinX_, viewWidth_);
      else if (a.name == "y")
        y = parseCoordinate(a.value, viewMinY_, viewHeight_);
      else if (a.name == "width")
        w = parseCoordinate(a.value, 0, viewWidth_);
      else if (a.name == "height")
        h = parseCoordinate(a.value, 0, viewHeight_);
      else if (a.name == "rx")
        rx = std::fabs(parseCoordinate(a.value, 0, viewWidth_));
      else if (a.name == "ry")
        ry = std::fabs(parseCoordinate(a.value, 0, viewHeight_));
    }
    if (rx < 0 && ry > 0) rx = ry;
    if (ry < 0 && rx > 0) ry = rx;
    rx = std::min(std::max(rx, 0.0f), w / 2.0f);
    ry = std::min(std::max(ry, 0.0f), h / 2.0f);
    if (w == 0 || h == 0) return;
    points_.clear();
    if (rx < 0.00001f || ry < 0.0001f) {
      moveTo(x, y);
      lineTo(x + w, y);
      lineTo(x + w, y + h);
      lineTo(x, y + h);
    } else {
      const float kx = rx * (1 - kKappa90), ky = ry * (1 - kKappa90);
      moveTo(x + rx, y);
      lineTo(x + w - rx, y);
      cubicTo(x + w - kx, y, x + w, y + ky, x + w, y + ry);
      lineTo(x + w, y + h - ry);
      cubicTo(x + w, y + h - ky, x + w - kx, y + h, x + w - rx, y + h);
      lineTo(x + rx, y + h);
      cubicTo(x + kx, y + h, x, y + h - ky, x, y + h - ry);
      lineTo(x, y + ry);
      cubicTo(x, y + ky, x + kx, y, x + rx, y);
    }
    addPath(true);
    addShape();
  }

  void parseEllipse(const std::vector<svg_xml::XmlAttribute>& attrs, bool circle) {
    float cx = 0, cy = 0, rx = 0, ry = 0;
    for (const auto& a : attrs) {
      if (parseAttribute(a.name, a.value)) continue;
      if (a.name == "cx")
        cx = parseCoordinate(a.value, viewMinX_, viewWidth_);
      else if (a.name == "cy")
        cy = parseCoordinate(a.value, viewMinY_, viewHeight_);
      else if (circle && a.name == "r")
        rx = ry = std::fabs(parseCoordinate(a.value, 0, actualLength()));
      else if (!circle && a.name == "rx")
        rx = std::fabs(parseCoordinate(a.value, 0, viewWidth_));
      else if (!circle && a.name == "ry")
        ry = std::fabs(parseCoordinate(a.value, 0, viewHeight_));
    }
    if (!(rx > 0 && ry > 0)) return;
    points_.clear();
    const float kx = rx * kKappa90, ky = ry * kKappa90;
    moveTo(cx + rx, cy);
    cubicTo(cx + rx, cy + ky, cx + kx, cy + ry, cx, cy + ry);
    cubicTo(cx - kx, cy + ry, cx - rx, cy + ky, cx - rx, cy);
    cubicTo(cx - rx, cy - ky, cx - kx, cy - ry, cx, cy - ry);
    cubicTo(cx + kx, cy - ry, cx + rx, cy - ky, cx + rx, cy);
    addPath(true);
    addShape();
  }

  void parseLine(const std::vector<svg_xml::XmlAttribute>& attrs) {
    float x1 = 0, y1 = 0, x2 = 0, y2 = 0;
    for (const auto& a : attrs) {
      if (parseAttribute(a.name, a.value)) continue;
      if (a.name == "x1")
        x1 = parseCoordinate(a.value, viewMinX_, viewWidth_);
      else if (a.name == "y1")
        y1 = parseCoordinate(a.value, viewMinY_, viewHeight_);
      else if (a.name == "x2")
        x2 = parseCoordinate(a.value, viewMinX_, viewWidth_);
      else if (a.name == "y2")
        y2 = parseCoordinate(a.value, viewMinY_, viewHeight_);
    }
    points_.clear();
    moveTo(x1, y1);
    lineTo(x2, y2);
    addPath(false);
    addShape();
  }

  void parsePoly(const std::vector<svg_xml::XmlAttribute>& attrs, bool closed) {
    points_.clear();
    for (const auto& a : attrs) {
      if (parseAttribute(a.name, a.value) || a.name != "points") continue;
      float args[2];
      int count = 0;
      int done = 0;
      size_t pos = 0;
      while (pos < a.value.size()) {
        args[count++] = static_cast<float>(parseNumberText(nextPathItem(a.value, pos)));
        if (count == 2) {
          if (done++ == 0)
            moveTo(args[0], args[1]);
          else
            lineTo(args[0], args[1]);
          count = 0;
        }
      }
    }
    addPath(closed);
    addShape();
  }

  // ---- document and gradients ----

  void parseSvg(const std::vector<svg_xml::XmlAttribute>& attrs) {
    for (const auto& a : attrs) {
      if (parseAttribute(a.name, a.value)) continue;
      if (a.name == "width") {
        image_.width = parseCoordinate(a.value, 0, 0);
      } else if (a.name == "height") {
        image_.height = parseCoordinate(a.value, 0, 0);
      } else if (a.name == "viewBox") {
        parseViewBox(a.value);
      } else if (a.name == "preserveAspectRatio") {
        const std::string_view v = a.value;
        if (v.find("none") != std::string_view::npos) {
          alignType_ = AlignType::none;
          continue;
        }
        if (v.find("xMin") != std::string_view::npos)
          alignX_ = Align::min;
        else if (v.find("xMid") != std::string_view::npos)
          alignX_ = Align::mid;
        else if (v.find("xMax") != std::string_view::npos)
          alignX_ = Align::max;
        // The standard spelling has a capital Y; the lower-case one is read as well.
        auto hasY = [&](std::string_view tail) {
          return v.find("Y" + std::string(tail)) != std::string_view::npos ||
                 v.find("y" + std::string(tail)) != std::string_view::npos;
        };
        if (hasY("Min"))
          alignY_ = Align::min;
        else if (hasY("Mid"))
          alignY_ = Align::mid;
        else if (hasY("Max"))
          alignY_ = Align::max;
        alignType_ = v.find("slice") != std::string_view::npos ? AlignType::slice : AlignType::meet;
      }
    }
  }

  void parseViewBox(std::string_view v) {
    float* targets[4] = {&viewMinX_, &viewMinY_, &viewWidth_, &viewHeight_};
    size_t pos = 0;
    for (int i = 0; i < 4; ++i) {
      if (i > 0) {
        while (pos < v.size() && (svg_xml::isSpace(v[pos]) || v[pos] == '%' || v[pos] == ',')) {
          ++pos;
        }
        if (pos >= v.size()) return;
      }
      *targets[i] = static_cast<float>(parseNumberText(scanNumber(v, pos)));
    }
  }

  void parseGradient(const std::vector<svg_xml::XmlAttribute>& attrs, int type) {
    GradientData grad;
    grad.type = type;
    if (type == kPaintLinearGradient) {
      grad.x1 = {0, Units::percent};
      grad.y1 = {0, Units::percent};
      grad.x2 = {100, Units::percent};
      grad.y2 = {0, Units::percent};
    } else {
      grad.cx = {50, Units::percent};
      grad.cy = {50, Units::percent};
      grad.r = {50, Units::percent};
    }
    for (const auto& a : attrs) {
      if (a.name == "id") {
        grad.id = truncatedId(a.value);
        continue;
      }
      if (parseAttribute(a.name, a.value)) continue;
      if (a.name == "gradientUnits")
        grad.objectUnits = a.value == "objectBoundingBox";
      else if (a.name == "gradientTransform")
        grad.xform = parseTransform(a.value);
      else if (a.name == "cx")
        grad.cx = parseCoordinateRaw(a.value);
      else if (a.name == "cy")
        grad.cy = parseCoordinateRaw(a.value);
      else if (a.name == "r")
        grad.r = parseCoordinateRaw(a.value);
      else if (a.name == "fx") {
        grad.fx = parseCoordinateRaw(a.value);
        grad.hasFx = true;
      } else if (a.name == "fy") {
        grad.fy = parseCoordinateRaw(a.value);
        grad.hasFy = true;
      } else if (a.name == "x1")
        grad.x1 = parseCoordinateRaw(a.value);
      else if (a.name == "y1")
        grad.y1 = parseCoordinateRaw(a.value);
      else if (a.name == "x2")
        grad.x2 = parseCoordinateRaw(a.value);
      else if (a.name == "y2")
        grad.y2 = parseCoordinateRaw(a.value);
      else if (a.name == "spreadMethod") {
        if (a.value == "pad")
          grad.spread = kSpreadPad;
        else if (a.value == "reflect")
          grad.spread = kSpreadReflect;
        else if (a.value == "repeat")
          grad.spread = kSpreadRepeat;
      } else if (a.name == "xlink:href" && !a.value.empty()) {
        grad.ref = std::string(a.value.substr(1, kMaxIdLength - 1));
      }
    }
    gradients_.push_back(std::move(grad));
    // The latest gradient of an id wins, and stops go to the latest gradient.
    if (!gradients_.back().id.empty()) gradientIndex_[gradients_.back().id] = gradients_.size() - 1;
  }

  void parseStop(const std::vector<svg_xml::XmlAttribute>& attrs) {
    Attributes& attr = current();
    attr.stopOffset = 0;
    attr.stopColor = 0;
    attr.stopOpacity = 1;
    for (const auto& a : attrs) parseAttribute(a.name, a.value);
    if (gradients_.empty()) return;
    GradientData& grad = gradients_.back();
    const Attributes& now = current();
    const ReaderGradientStop stop = {
        now.stopColor | (static_cast<uint32_t>(now.stopOpacity * 255) << 24), now.stopOffset};
    // Sorted once when first used, stably, so equal offsets keep document order.
    if (!grad.stops.empty() && stop.offset < grad.stops.back().offset) grad.stopsSorted = false;
    grad.stops.push_back(stop);
  }

  static float alignOffset(float content, float container, Align align) {
    if (align == Align::min) return 0;
    if (align == Align::max) return container - content;
    return (container - content) * 0.5f;
  }

  void scaleToViewBox() {
    Bounds bounds{};
    if (!image_.shapes.empty()) {
      bounds = image_.shapes.front().bounds;
      for (const ReaderShape& shape : image_.shapes) {
        extend(bounds, shape.bounds[0], shape.bounds[1]);
        extend(bounds, shape.bounds[2], shape.bounds[3]);
      }
    }
    if (viewWidth_ == 0) {
      if (image_.width > 0) {
        viewWidth_ = image_.width;
      } else {
        viewMinX_ = bounds[0];
        viewWidth_ = bounds[2] - bounds[0];
      }
    }
    if (viewHeight_ == 0) {
      if (image_.height > 0) {
        viewHeight_ = image_.height;
      } else {
        viewMinY_ = bounds[1];
        viewHeight_ = bounds[3] - bounds[1];
      }
    }
    if (image_.width == 0) image_.width = viewWidth_;
    if (image_.height == 0) image_.height = viewHeight_;

    float tx = -viewMinX_, ty = -viewMinY_;
    float sx = viewWidth_ > 0 ? image_.width / viewWidth_ : 0;
    float sy = viewHeight_ > 0 ? image_.height / viewHeight_ : 0;
    if (alignType_ != AlignType::none) {
      sx = sy = alignType_ == AlignType::meet ? std::min(sx, sy) : std::max(sx, sy);
      tx += alignOffset(viewWidth_ * sx, image_.width, alignX_) / sx;
      ty += alignOffset(viewHeight_ * sy, image_.height, alignY_) / sy;
    }
    const float averageScale = (sx + sy) / 2.0f;
    auto place = [&](float& x, float& y) {
      x = (x + tx) * sx;
      y = (y + ty) * sy;
    };
    auto placeGradient = [&](ReaderPaint& paint) {
      if (!paint.gradient) return;
      const Xform placed =
          multiply(multiply(paint.gradient->xform, translation(tx, ty)), scaling(sx, sy));
      paint.gradient->xform = inverse(placed);
    };
    for (ReaderShape& shape : image_.shapes) {
      place(shape.bounds[0], shape.bounds[1]);
      place(shape.bounds[2], shape.bounds[3]);
      for (ReaderPath& path : shape.paths) {
        place(path.bounds[0], path.bounds[1]);
        place(path.bounds[2], path.bounds[3]);
        for (size_t i = 0; i + 1 < path.points.size(); i += 2)
          place(path.points[i], path.points[i + 1]);
      }
      placeGradient(shape.fill);
      placeGradient(shape.stroke);
      shape.strokeWidth *= averageScale;
      shape.strokeDashOffset *= averageScale;
      for (int i = 0; i < shape.strokeDashCount; ++i) shape.strokeDashArray[i] *= averageScale;
    }
  }

  std::array<Attributes, kMaxAttributeLevels> attributeStack_;
  int head_ = 0;
  std::vector<float> points_;
  std::vector<ReaderPath> pendingPaths_;
  std::vector<GradientData> gradients_;
  std::unordered_map<std::string, size_t> gradientIndex_;
  ReaderImage image_;
  float viewMinX_ = 0, viewMinY_ = 0, viewWidth_ = 0, viewHeight_ = 0;
  Align alignX_ = Align::min, alignY_ = Align::min;
  AlignType alignType_ = AlignType::none;
  bool inDefs_ = false;
};

}  // namespace

ReaderImage readImage(std::string_view markup) {
  Reader reader;
  svg_xml::tokenize(markup, reader);
  return reader.finish();
}

}  // namespace talvero::svg_reader
