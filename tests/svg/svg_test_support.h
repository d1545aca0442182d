#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <span>
#include <string_view>
#include <variant>

#include "svg/svg_parser.h"

namespace talvero::svg_test {

inline ParsedSVG parseMarkup(std::string_view markup) {
  const SVGParseResult result = SVGParser::parse(
      std::span<const uint8_t>(reinterpret_cast<const uint8_t*>(markup.data()), markup.size()));
  EXPECT_TRUE(isParsed(result)) << markup;
  if (!isParsed(result)) return {};
  return std::get<ParsedSVG>(result);
}

// One shape's document in a 100 by 100 canvas whose user units are pixels.
inline ParsedSVG parseInCanvas(std::string_view body) {
  std::string markup = "<svg width=\"100\" height=\"100\">";
  markup += body;
  markup += "</svg>";
  return parseMarkup(markup);
}

inline ::testing::AssertionResult near(SVGPoint actual, SVGPoint expected,
                                       double tolerance = 1e-3) {
  if (std::fabs(actual.x - expected.x) <= tolerance &&
      std::fabs(actual.y - expected.y) <= tolerance) {
    return ::testing::AssertionSuccess();
  }
  return ::testing::AssertionFailure() << "(" << actual.x << ", " << actual.y << ") is not ("
                                       << expected.x << ", " << expected.y << ")";
}

// A straight segment as the reader makes it: controls at a third and two thirds.
inline void expectLine(const CubicBezier& curve, SVGPoint from, SVGPoint to) {
  const double dx = to.x - from.x, dy = to.y - from.y;
  EXPECT_TRUE(near(curve.control1, {from.x + dx / 3, from.y + dy / 3}));
  EXPECT_TRUE(near(curve.control2, {to.x - dx / 3, to.y - dy / 3}));
  EXPECT_TRUE(near(curve.end, to));
}

inline SVGPoint pointAt(SVGPoint start, const CubicBezier& c, double t) {
  const double it = 1 - t;
  return {it * it * it * start.x + 3 * it * it * t * c.control1.x + 3 * it * t * t * c.control2.x +
              t * t * t * c.end.x,
          it * it * it * start.y + 3 * it * it * t * c.control1.y + 3 * it * t * t * c.control2.y +
              t * t * t * c.end.y};
}

inline SVGColor colorOf(const SVGPaint& paint) {
  EXPECT_TRUE(std::holds_alternative<SVGColor>(paint));
  return std::holds_alternative<SVGColor>(paint) ? std::get<SVGColor>(paint) : SVGColor{};
}

inline void expectColor(const SVGPaint& paint, double r, double g, double b, double a) {
  const SVGColor c = colorOf(paint);
  EXPECT_NEAR(c.red, r, 1e-6);
  EXPECT_NEAR(c.green, g, 1e-6);
  EXPECT_NEAR(c.blue, b, 1e-6);
  EXPECT_NEAR(c.alpha, a, 1e-6);
}

}  // namespace talvero::svg_test
