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

TEST(SvgPathData, SmoothCurveWithoutACurveBeforeTakesTheCurrentPointAsControl) {
  const SVGShape smooth = pathShape("M0 0 L10 0 S20 10 20 0");
  EXPECT_TRUE(near(smooth.subpaths.at(0).curves.at(1).control1, {10, 0}));
  const SVGShape quad = pathShape("M0 0 L10 0 T20 0");
  EXPECT_TRUE(near(quad.subpaths.at(0).curves.at(1).control1, {10, 0}));
  EXPECT_TRUE(near(quad.subpaths[0].curves[1].end, {20, 0}));
}

TEST(SvgPathData, DegenerateArcRadiiGiveTheChord) {
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

TEST(SvgShapes, ShapesWithoutAreaAreDroppedButNegativeRectanglesDraw) {
  EXPECT_TRUE(parseInCanvas("<rect width=\"0\" height=\"10\"/><rect width=\"10\"/>"
                            "<circle r=\"0\"/><ellipse rx=\"5\"/>")
                  .shapes.empty());
  EXPECT_EQ(parseInCanvas("<rect width=\"-10\" height=\"10\"/>").shapes.size(), 1u);
  // A rounded rectangle closes with a line of length 0 after its last corner.
  const SVGShape round =
      onlyShape(parseInCanvas("<rect x=\"10\" y=\"20\" width=\"30\" height=\"40\" ry=\"5\"/>"));
  EXPECT_EQ(round.subpaths.at(0).curves.size(), 9u);
  EXPECT_TRUE(round.subpaths[0].isClosed);
}

}  // namespace
}  // namespace talvero
