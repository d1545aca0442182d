#include <gtest/gtest.h>

#include <cmath>

#include "svg_test_support.h"

namespace talvero {
namespace {

using namespace svg_test;

SVGShape onlyShape(const ParsedSVG& svg) {
  EXPECT_EQ(svg.shapes.size(), 1u);
  return svg.shapes.empty() ? SVGShape{} : svg.shapes.front();
}

SVGShape pathShape(const char* d) {
  return onlyShape(parseInCanvas(std::string("<path d=\"") + d + "\"/>"));
}

TEST(SvgPathData, PairsAfterAMoveAreLinesAndRelativeFormsFollowTheCurrentPoint) {
  const SVGShape absolute = pathShape("M10 10 20 10 20 20");
  ASSERT_EQ(absolute.subpaths.size(), 1u);
  const SVGSubpath& a = absolute.subpaths[0];
  EXPECT_TRUE(near(a.start, {10, 10}));
  ASSERT_EQ(a.curves.size(), 2u);
  expectLine(a.curves[0], {10, 10}, {20, 10});
  expectLine(a.curves[1], {20, 10}, {20, 20});
  EXPECT_FALSE(a.isClosed);

  const SVGShape relative = pathShape("m10 10 10 0 0 10");
  EXPECT_EQ(relative.subpaths, absolute.subpaths);

  // h, v and l repeat their arguments too.
  const SVGShape repeated = pathShape("M0 0 h10 10 v5 5 l-5 0 -5 0");
  ASSERT_EQ(repeated.subpaths.size(), 1u);
  const auto& curves = repeated.subpaths[0].curves;
  ASSERT_EQ(curves.size(), 6u);
  EXPECT_TRUE(near(curves[1].end, {20, 0}));
  EXPECT_TRUE(near(curves[3].end, {20, 10}));
  EXPECT_TRUE(near(curves[5].end, {10, 10}));
}

TEST(SvgPathData, CloseAddsTheClosingLineAndReturnsToTheSubpathStart) {
  const SVGShape shape = pathShape("M10 10 h10 v10 z m5 5 l1 0 l0 1");
  ASSERT_EQ(shape.subpaths.size(), 2u);
  // The last subpath of the element comes first.
  const SVGSubpath& second = shape.subpaths[0];
  const SVGSubpath& first = shape.subpaths[1];
  EXPECT_TRUE(first.isClosed);
  ASSERT_EQ(first.curves.size(), 3u);
  expectLine(first.curves[2], {20, 20}, {10, 10});
  EXPECT_FALSE(second.isClosed);
  EXPECT_TRUE(near(second.start, {15, 15}));
  EXPECT_TRUE(near(second.curves.back().end, {16, 16}));

  // Drawing straight on after Z starts from the closed subpath's start.
  const SVGShape after = pathShape("M10 10 H20 V20 Z L30 10");
  ASSERT_EQ(after.subpaths.size(), 2u);
  EXPECT_TRUE(near(after.subpaths[0].start, {10, 10}));
  expectLine(after.subpaths[0].curves[0], {10, 10}, {30, 10});
}

TEST(SvgPathData, NumbersNeedNoSeparatorsAndReadWithoutTheLocale) {
  const SVGShape dots = pathShape("M0 0L.5.5");
  ASSERT_EQ(dots.subpaths.size(), 1u);
  EXPECT_TRUE(near(dots.subpaths[0].curves[0].end, {0.5, 0.5}, 1e-6));

  const SVGShape signs = pathShape("M1e-3,0L10-5");
  ASSERT_EQ(signs.subpaths.size(), 1u);
  EXPECT_TRUE(near(signs.subpaths[0].start, {0.001, 0}, 1e-7));
  EXPECT_TRUE(near(signs.subpaths[0].curves[0].end, {10, -5}, 1e-6));

  const SVGShape exponents = pathShape("M0 0 L1.5E+1 2e1");
  EXPECT_TRUE(near(exponents.subpaths[0].curves[0].end, {15, 20}, 1e-5));
}

TEST(SvgPathData, CommandsBeforeTheFirstMoveAndUnknownLettersAreSkipped) {
  const SVGShape shape = pathShape("L50 50 Z C1 2 3 4 5 6 M0 0 L10 0 X 7 8 L10 10");
  ASSERT_EQ(shape.subpaths.size(), 1u);
  const SVGSubpath& path = shape.subpaths[0];
  EXPECT_TRUE(near(path.start, {0, 0}));
  ASSERT_EQ(path.curves.size(), 2u);
  EXPECT_TRUE(near(path.curves[1].end, {10, 10}));

  // Without any move there is nothing to draw, and so no shape.
  EXPECT_TRUE(parseInCanvas("<path d=\"L50 50 L60 60\"/>").shapes.empty());
  // A lone move makes a subpath of one point, which is dropped.
  EXPECT_TRUE(parseInCanvas("<path d=\"M5 5\"/>").shapes.empty());
}

TEST(SvgPathData, SmoothCurvesReflectThePreviousControl) {
  const SVGShape cubic = pathShape("M0 0 C0 10 10 10 10 0 S20 -10 20 0");
  const auto& c = cubic.subpaths.at(0).curves;
  ASSERT_EQ(c.size(), 2u);
  EXPECT_TRUE(near(c[1].control1, {10, -10}));
  EXPECT_TRUE(near(c[1].control2, {20, -10}));
  EXPECT_TRUE(near(c[1].end, {20, 0}));
  EXPECT_EQ(pathShape("M0 0 c0 10 10 10 10 0 s10 -10 10 0").subpaths, cubic.subpaths);

  // Quadratics become cubics with controls two thirds of the way to the quadratic control.
  const SVGShape quad = pathShape("M0 0 Q5 10 10 0 T20 0");
  const auto& q = quad.subpaths.at(0).curves;
  ASSERT_EQ(q.size(), 2u);
  EXPECT_TRUE(near(q[0].control1, {10.0 / 3, 20.0 / 3}));
  EXPECT_TRUE(near(q[0].control2, {20.0 / 3, 20.0 / 3}));
  EXPECT_TRUE(near(q[1].control1, {40.0 / 3, -20.0 / 3}));
  EXPECT_TRUE(near(q[1].control2, {50.0 / 3, -20.0 / 3}));
  EXPECT_TRUE(near(q[1].end, {20, 0}));

  // With no curve before it, S takes the current point as its first control.
  const SVGShape smooth = pathShape("M0 0 L10 0 S20 10 20 0");
  const auto& s = smooth.subpaths.at(0).curves;
  EXPECT_TRUE(near(s[1].control1, {10, 0}));
}

// Every curve end lies on the circle, and so does every curve's middle.
void expectOnCircle(const SVGSubpath& path, SVGPoint centre, double radius, double tolerance) {
  SVGPoint from = path.start;
  for (const CubicBezier& curve : path.curves) {
    const SVGPoint mid = pointAt(from, curve, 0.5);
    EXPECT_NEAR(std::hypot(curve.end.x - centre.x, curve.end.y - centre.y), radius, tolerance);
    EXPECT_NEAR(std::hypot(mid.x - centre.x, mid.y - centre.y), radius, tolerance);
    from = curve.end;
  }
}

TEST(SvgPathData, ArcsBecomeCubicsOnTheRightSideAndRadiiGrowToReachTheEnd) {
  const SVGShape upper = pathShape("M0 50 A10 10 0 0 1 20 50");
  const SVGSubpath& u = upper.subpaths.at(0);
  expectOnCircle(u, {10, 50}, 10, 0.02);
  EXPECT_TRUE(near(u.curves.back().end, {20, 50}));
  for (const CubicBezier& c : u.curves) EXPECT_LE(c.end.y, 50.001);

  const SVGShape lower = pathShape("M0 50 A10 10 0 0 0 20 50");
  for (const CubicBezier& c : lower.subpaths.at(0).curves) EXPECT_GE(c.end.y, 49.999);

  // Radii too small to span the ends are scaled up to exactly a half circle.
  const SVGShape small = pathShape("M0 50 A1 1 0 0 1 20 50");
  expectOnCircle(small.subpaths.at(0), {10, 50}, 10, 0.02);

  // A large arc of the same radii goes the long way round the other centre.
  const SVGShape large = pathShape("M10 0 A10 10 0 1 1 0 10");
  expectOnCircle(large.subpaths.at(0), {10, 10}, 10, 0.02);
  const SVGShape smallArc = pathShape("M10 0 A10 10 0 0 1 0 10");
  expectOnCircle(smallArc.subpaths.at(0), {0, 0}, 10, 0.02);
  EXPECT_GT(large.subpaths[0].curves.size(), smallArc.subpaths[0].curves.size());

  // Radii whose squares overflow a float also give the chord, not a failure.
  const SVGShape huge = pathShape("M0 0 A1e30 1e30 0 0 1 30 0");
  ASSERT_EQ(huge.subpaths.at(0).curves.size(), 1u);
  EXPECT_TRUE(near(huge.subpaths[0].curves[0].end, {30, 0}));

  // A zero radius is a straight line.
  const SVGShape flat = pathShape("M0 0 A0 5 0 0 1 30 0");
  ASSERT_EQ(flat.subpaths.at(0).curves.size(), 1u);
  expectLine(flat.subpaths[0].curves[0], {0, 0}, {30, 0});
}

TEST(SvgPathData, ArcFlagsNeedNoSeparators) {
  const SVGShape spaced = pathShape("M0 50 a10 10 0 1 1 20 0");
  EXPECT_EQ(pathShape("M0 50 a10 10 0 1120 0").subpaths, spaced.subpaths);
  EXPECT_EQ(pathShape("M0 50 a10,10,0,1,1,20,0").subpaths, spaced.subpaths);
  EXPECT_EQ(pathShape("M0 50 a10 10 0 11 20 0").subpaths, spaced.subpaths);
  // Implicit repetition of a second arc, flags packed again.
  const SVGShape twice = pathShape("M0 50 a10 10 0 0120 0 10 10 0 0120 0");
  EXPECT_TRUE(near(twice.subpaths.at(0).curves.back().end, {40, 50}));
}

TEST(SvgShapes, RectanglesWithAndWithoutRoundedCorners) {
  const SVGShape plain =
      onlyShape(parseInCanvas("<rect x=\"10\" y=\"20\" width=\"30\" height=\"40\"/>"));
  const SVGSubpath& p = plain.subpaths.at(0);
  EXPECT_TRUE(p.isClosed);
  EXPECT_TRUE(near(p.start, {10, 20}));
  ASSERT_EQ(p.curves.size(), 4u);
  expectLine(p.curves[0], {10, 20}, {40, 20});
  expectLine(p.curves[1], {40, 20}, {40, 60});
  expectLine(p.curves[2], {40, 60}, {10, 60});
  expectLine(p.curves[3], {10, 60}, {10, 20});

  const double k = 5 * (1 - 0.5522847493);
  const SVGShape round =
      onlyShape(parseInCanvas("<rect x=\"10\" y=\"20\" width=\"30\" height=\"40\" ry=\"5\"/>"));
  const SVGSubpath& r = round.subpaths.at(0);
  EXPECT_TRUE(near(r.start, {15, 20}));
  ASSERT_EQ(r.curves.size(), 9u);  // four sides, four corners, and the closing line of length 0
  expectLine(r.curves[0], {15, 20}, {35, 20});
  EXPECT_TRUE(near(r.curves[1].control1, {40 - k, 20}));
  EXPECT_TRUE(near(r.curves[1].control2, {40, 20 + k}));
  EXPECT_TRUE(near(r.curves[1].end, {40, 25}));

  // Radii beyond half the side are clamped: a 10-wide box with rx 50 has rx 5.
  const SVGShape pill =
      onlyShape(parseInCanvas("<rect width=\"10\" height=\"40\" rx=\"50\" ry=\"5\"/>"));
  EXPECT_TRUE(near(pill.subpaths.at(0).start, {5, 0}));

  // No area, no shape; a negative size still draws.
  EXPECT_TRUE(
      parseInCanvas("<rect width=\"0\" height=\"10\"/><rect width=\"10\"/>").shapes.empty());
  EXPECT_EQ(parseInCanvas("<rect width=\"-10\" height=\"10\"/>").shapes.size(), 1u);
}

TEST(SvgShapes, CirclesEllipsesLinesAndPolygons) {
  const double k = 10 * 0.5522847493;
  const SVGShape circle = onlyShape(parseInCanvas("<circle cx=\"50\" cy=\"40\" r=\"10\"/>"));
  const SVGSubpath& c = circle.subpaths.at(0);
  EXPECT_TRUE(c.isClosed);
  EXPECT_TRUE(near(c.start, {60, 40}));
  ASSERT_EQ(c.curves.size(), 5u);
  EXPECT_TRUE(near(c.curves[0].control1, {60, 40 + k}));
  EXPECT_TRUE(near(c.curves[0].control2, {50 + k, 50}));
  EXPECT_TRUE(near(c.curves[0].end, {50, 50}));
  EXPECT_TRUE(near(c.curves[3].end, {60, 40}));

  const SVGShape ellipse =
      onlyShape(parseInCanvas("<ellipse cx=\"50\" cy=\"40\" rx=\"20\" ry=\"10\"/>"));
  EXPECT_TRUE(near(ellipse.subpaths.at(0).curves[0].end, {50, 50}));
  EXPECT_TRUE(near(ellipse.subpaths.at(0).curves[1].end, {30, 40}));
  EXPECT_TRUE(parseInCanvas("<circle r=\"0\"/><ellipse rx=\"5\"/>").shapes.empty());

  const SVGShape line = onlyShape(parseInCanvas("<line x1=\"1\" y1=\"2\" x2=\"31\" y2=\"62\"/>"));
  ASSERT_EQ(line.subpaths.at(0).curves.size(), 1u);
  EXPECT_FALSE(line.subpaths[0].isClosed);
  expectLine(line.subpaths[0].curves[0], {1, 2}, {31, 62});

  const SVGShape polygon = onlyShape(parseInCanvas("<polygon points=\"0,0 10,0 10,10\"/>"));
  ASSERT_EQ(polygon.subpaths.at(0).curves.size(), 3u);
  EXPECT_TRUE(polygon.subpaths[0].isClosed);
  expectLine(polygon.subpaths[0].curves[2], {10, 10}, {0, 0});

  const SVGShape polyline = onlyShape(parseInCanvas("<polyline points=\"0 0,10 0 10-10\"/>"));
  ASSERT_EQ(polyline.subpaths.at(0).curves.size(), 2u);
  EXPECT_FALSE(polyline.subpaths[0].isClosed);
  EXPECT_TRUE(near(polyline.subpaths[0].curves[1].end, {10, -10}));
}

}  // namespace
}  // namespace talvero
