#pragma once

// The SVG model: plain values that hold nothing of the reader, so a parsed document can be
// drawn on any thread and copied freely. Points and curves are double precision; the rest keeps
// the reader's 32-bit floats.

#include <array>
#include <optional>
#include <variant>
#include <vector>

namespace talvero {

struct SVGPoint {
  double x = 0;
  double y = 0;
  bool operator==(const SVGPoint&) const = default;
};

struct SVGSize {
  double width = 0;
  double height = 0;
  bool operator==(const SVGSize&) const = default;
};

// An sRGB colour, each component in 0...1.
struct SVGColor {
  double red = 0;
  double green = 0;
  double blue = 0;
  double alpha = 0;
  bool operator==(const SVGColor&) const = default;
};

struct CubicBezier {
  SVGPoint control1;
  SVGPoint control2;
  SVGPoint end;
  bool operator==(const CubicBezier&) const = default;
};

struct SVGSubpath {
  SVGPoint start;
  std::vector<CubicBezier> curves;
  bool isClosed = false;
  bool operator==(const SVGSubpath&) const = default;
};

enum class SVGSpread { pad = 0, reflect = 1, repeat = 2 };
enum class SVGLineCap { butt, round, square };
enum class SVGLineJoin { miter, round, bevel };
enum class SVGFillRule { winding, evenOdd };

struct SVGGradientStop {
  float offset = 0;
  SVGColor color;
  bool operator==(const SVGGradientStop&) const = default;
};

// `xform` maps drawing space into the gradient's unit space (the inverse of the gradient's
// placement), in the order a, b, c, d, e, f of x' = a x + c y + e, y' = b x + d y + f.
struct SVGLinearGradient {
  std::array<float, 6> xform{};
  std::vector<SVGGradientStop> stops;
  SVGSpread spread = SVGSpread::pad;
  bool operator==(const SVGLinearGradient&) const = default;
};

// `fx` and `fy` are the focal point divided by the radius, before any transform, kept as the
// reader gives them (0 for an unwritten focus). Drawing uses `focusFromCentre` instead: the
// focal point in the space that `xform` maps to, where the outer circle is the unit circle about
// the origin, so (0, 0) is a focus at the centre.
struct SVGRadialGradient {
  std::array<float, 6> xform{};
  float fx = 0;
  float fy = 0;
  std::vector<SVGGradientStop> stops;
  SVGSpread spread = SVGSpread::pad;
  SVGPoint focusFromCentre;
  bool operator==(const SVGRadialGradient&) const = default;
};

struct SVGNoPaint {
  bool operator==(const SVGNoPaint&) const = default;
};

// One of: none, a colour, a linear gradient, a radial gradient.
using SVGPaint = std::variant<SVGNoPaint, SVGColor, SVGLinearGradient, SVGRadialGradient>;

struct SVGDash {
  std::vector<float> pattern;
  float offset = 0;
  bool operator==(const SVGDash&) const = default;
};

struct SVGShape {
  std::vector<SVGSubpath> subpaths;
  SVGPaint fill;
  SVGPaint stroke;
  float opacity = 1;
  float strokeWidth = 1;
  SVGLineCap lineCap = SVGLineCap::butt;
  SVGLineJoin lineJoin = SVGLineJoin::miter;
  float miterLimit = 4;
  std::optional<SVGDash> dash;
  SVGFillRule fillRule = SVGFillRule::winding;
  bool operator==(const SVGShape&) const = default;
};

// A whole document. `shapes` are in paint order, first lowest.
struct ParsedSVG {
  SVGSize size;
  std::vector<SVGShape> shapes;
  bool operator==(const ParsedSVG&) const = default;
};

}  // namespace talvero
