#include <gtest/gtest.h>

#include <string>

#include "svg_test_support.h"

namespace talvero {
namespace {

using namespace svg_test;

SVGPoint firstPoint(const ParsedSVG& svg) {
  EXPECT_FALSE(svg.shapes.empty());
  if (svg.shapes.empty() || svg.shapes[0].subpaths.empty()) return {-999, -999};
  return svg.shapes[0].subpaths[0].start;
}

// Matrices, rotations about a point, two-argument scales, skewX and nesting are compared with
// librsvg in drawings; the one-argument forms and skewY are read here.
TEST(SvgTransforms, ShortFormsAndUnknownFunctions) {
  auto at = [](const char* transform) {
    return firstPoint(
        parseInCanvas(std::string("<path transform=\"") + transform + "\" d=\"M20 10 L30 10\"/>"));
  };
  EXPECT_TRUE(near(at("translate(5)"), {25, 10}));
  EXPECT_TRUE(near(at("scale(2)"), {40, 20}));
  EXPECT_TRUE(near(at("rotate(90)"), {-10, 20}));
  EXPECT_TRUE(near(at("skewY(45)"), {20, 30}));
  // An unknown function is passed over; the rest still apply.
  EXPECT_TRUE(near(at("wobble(3) translate(1,1)"), {21, 11}));
}

TEST(SvgTransforms, MalformedItemsAreDroppedAndLongListsReadInOnePass) {
  auto at = [](const std::string& transform) {
    return firstPoint(parseInCanvas("<path transform=\"" + transform + "\" d=\"M20 10 L30 10\"/>"));
  };
  // Too many numbers drop the item; a missing parenthesis ends the list.
  EXPECT_TRUE(near(at("translate(1 2 3) scale(2)"), {40, 20}));
  EXPECT_TRUE(near(at("matrix(1 2 3) translate(1)"), {21, 10}));
  EXPECT_TRUE(near(at("translate(1) scale(2"), {21, 10}));

  // Every unmatched "scale(" would look ahead to the end of the text again if the reader
  // searched afresh each time; 200,000 of them must still read in a moment.
  std::string many;
  for (int i = 0; i < 200000; ++i) many += "scale(";
  EXPECT_TRUE(near(at(many), {20, 10}));
  std::string opened;
  for (int i = 0; i < 200000; ++i) opened += "rotate(((";
  EXPECT_TRUE(near(at(opened + ")"), {20, 10}));
}

TEST(SvgTransforms, StrokeWidthAndDashesScaleWithTheShape) {
  const ParsedSVG svg = parseInCanvas(
      "<g transform=\"scale(2,4)\"><path stroke=\"red\" stroke-width=\"2\" "
      "stroke-dasharray=\"5,10\" stroke-dashoffset=\"1\" d=\"M0 0 L1 0\"/></g>");
  ASSERT_EQ(svg.shapes.size(), 1u);
  const SVGShape& shape = svg.shapes[0];
  // The mean of the two axis scales, 3.
  EXPECT_FLOAT_EQ(shape.strokeWidth, 6);
  ASSERT_TRUE(shape.dash.has_value());
  EXPECT_EQ(shape.dash->pattern, (std::vector<float>{15, 30}));
  EXPECT_FLOAT_EQ(shape.dash->offset, 3);
}

TEST(SvgDocument, SizeFromUnitsAtNinetySixDotsPerInch) {
  auto size = [](const char* width, const char* height) {
    return parseMarkup(std::string("<svg width=\"") + width + "\" height=\"" + height + "\"></svg>")
        .size;
  };
  EXPECT_EQ(size("1in", "72pt"), (SVGSize{96, 96}));
  EXPECT_EQ(size("6pc", "2.54cm"), (SVGSize{96, 96}));
  EXPECT_NEAR(size("10mm", "10px").width, 37.795, 1e-3);
  EXPECT_EQ(size("10mm", "10px").height, 10);
  EXPECT_EQ(size("40", "30").width, 40);
}

TEST(SvgDocument, RelativeLengthsFollowTheViewBoxAndTheFontSize) {
  const ParsedSVG percent = parseMarkup(
      "<svg width=\"200\" height=\"100\" viewBox=\"0 0 200 100\">"
      "<rect x=\"10%\" y=\"50%\" width=\"50%\" height=\"10%\"/></svg>");
  const SVGSubpath& box = percent.shapes.at(0).subpaths.at(0);
  EXPECT_TRUE(near(box.start, {20, 50}));
  EXPECT_TRUE(near(box.curves.at(1).end, {120, 60}));

  // em and ex read the font size set so far; with none they are 0.
  const ParsedSVG em = parseInCanvas(
      "<rect font-size=\"10\" width=\"2em\" height=\"1ex\"/>"
      "<path stroke=\"red\" stroke-width=\"2em\" d=\"M0 0 L1 1\"/>");
  ASSERT_EQ(em.shapes.size(), 2u);
  EXPECT_TRUE(near(em.shapes[0].subpaths.at(0).curves.at(1).end, {20, 5.2}));
  EXPECT_FLOAT_EQ(em.shapes[1].strokeWidth, 0);
}

TEST(SvgDocument, MissingSizesComeFromTheViewBoxElseFromTheShapes) {
  EXPECT_EQ(parseMarkup("<svg viewBox=\"0 0 40 30\"></svg>").size, (SVGSize{40, 30}));
  // A percentage has nothing to be a percentage of, and falls back the same way.
  EXPECT_EQ(parseMarkup("<svg width=\"50%\" viewBox=\"0,0,40,30\"></svg>").size, (SVGSize{40, 30}));

  const ParsedSVG bounds =
      parseMarkup("<svg><rect x=\"10\" y=\"20\" width=\"30\" height=\"40\"/></svg>");
  EXPECT_EQ(bounds.size, (SVGSize{30, 40}));
  EXPECT_TRUE(near(firstPoint(bounds), {0, 0}));

  EXPECT_EQ(parseMarkup("<svg></svg>").size, (SVGSize{0, 0}));
}

TEST(SvgDocument, ViewBoxStretchesByDefaultAndAlignsWhenAskedTo) {
  auto origin = [](const char* aspect) {
    std::string markup = "<svg width=\"200\" height=\"100\" viewBox=\"0 0 100 100\"";
    if (aspect) markup += std::string(" preserveAspectRatio=\"") + aspect + "\"";
    markup += "><path d=\"M0 0 L100 100\"/></svg>";
    const ParsedSVG svg = parseMarkup(markup);
    EXPECT_EQ(svg.size, (SVGSize{200, 100}));
    return std::pair(firstPoint(svg), svg.shapes.at(0).subpaths.at(0).curves.at(0).end);
  };
  // No attribute: each axis scales on its own.
  EXPECT_TRUE(near(origin(nullptr).second, {200, 100}));
  EXPECT_TRUE(near(origin("none").second, {200, 100}));
  EXPECT_TRUE(near(origin("xMidYMid").second, {150, 100}));
  EXPECT_TRUE(near(origin("xMinYMid slice").first, {0, -50}));
  EXPECT_TRUE(near(origin("xMidYMax slice").first, {0, -100}));
  EXPECT_TRUE(near(origin("xMidYMin slice").second, {200, 200}));

  // The view box origin moves the drawing.
  const ParsedSVG offset = parseMarkup(
      "<svg width=\"10\" height=\"10\" viewBox=\"5 5 10 10\"><path d=\"M5 6 L9 9\"/></svg>");
  EXPECT_TRUE(near(firstPoint(offset), {0, 1}));
}

TEST(SvgColors, NotationsNamesAndGreyForTheRest) {
  auto fill = [](const char* value) {
    const ParsedSVG svg =
        parseInCanvas(std::string("<rect width=\"1\" height=\"1\" fill=\"") + value + "\"/>");
    return svg.shapes.empty() ? SVGPaint{} : svg.shapes[0].fill;
  };
  expectColor(fill("#f00"), 1, 0, 0, 1);
  expectColor(fill("#00FF80"), 0, 1, 128 / 255.0, 1);
  expectColor(fill("rgb(0, 0,255)"), 0, 0, 1, 1);
  expectColor(fill("rgb(100%, 0%, 50%)"), 1, 0, 128 / 255.0, 1);
  expectColor(fill("teal"), 0, 128 / 255.0, 128 / 255.0, 1);
  expectColor(fill("lightgoldenrodyellow"), 250 / 255.0, 250 / 255.0, 210 / 255.0, 1);
  const double grey = 128 / 255.0;
  expectColor(fill("nosuchcolour"), grey, grey, grey, 1);
  expectColor(fill("currentColor"), grey, grey, grey, 1);
  expectColor(fill("Red"), grey, grey, grey, 1);
  expectColor(fill("#zz"), grey, grey, grey, 1);
  expectColor(fill("r&amp;d"), grey, grey, grey, 1);

  // Black fill and no stroke unless told otherwise.
  const ParsedSVG plain = parseInCanvas("<rect width=\"1\" height=\"1\"/>");
  expectColor(plain.shapes.at(0).fill, 0, 0, 0, 1);
  EXPECT_TRUE(std::holds_alternative<SVGNoPaint>(plain.shapes[0].stroke));
  EXPECT_TRUE(std::holds_alternative<SVGNoPaint>(fill("none")));
}

TEST(SvgPaint, OpacityReachesSolidPaintsButNotGradientStops) {
  const ParsedSVG svg = parseInCanvas(
      "<linearGradient id=\"g\"><stop offset=\"0\" stop-color=\"blue\"/>"
      "<stop offset=\"1\" stop-color=\"red\" stop-opacity=\"0.5\"/></linearGradient>"
      "<rect width=\"10\" height=\"10\" opacity=\"0.5\" fill=\"red\" stroke=\"blue\" "
      "stroke-opacity=\"0.5\"/>"
      "<rect width=\"10\" height=\"10\" opacity=\"0.5\" fill=\"url(#g)\"/>"
      "<rect width=\"10\" height=\"10\" fill-opacity=\"0.5\" fill=\"red\"/>");
  ASSERT_EQ(svg.shapes.size(), 3u);
  expectColor(svg.shapes[0].fill, 1, 0, 0, 0.5);
  // 0.5 of 255 truncates to 127 before the shape's opacity applies.
  expectColor(svg.shapes[0].stroke, 0, 0, 1, 127 / 255.0 * 0.5);
  EXPECT_FLOAT_EQ(svg.shapes[0].opacity, 0.5f);

  const auto* gradient = std::get_if<SVGLinearGradient>(&svg.shapes[1].fill);
  ASSERT_NE(gradient, nullptr);
  ASSERT_EQ(gradient->stops.size(), 2u);
  EXPECT_EQ(gradient->stops[0].color, (SVGColor{0, 0, 1, 1}));
  EXPECT_EQ(gradient->stops[1].color, (SVGColor{1, 0, 0, 127 / 255.0}));
  EXPECT_FLOAT_EQ(svg.shapes[1].opacity, 0.5f);

  expectColor(svg.shapes[2].fill, 1, 0, 0, 127 / 255.0);
}

TEST(SvgPaint, StyleDeclarationsAndStrokeAttributes) {
  const ParsedSVG svg = parseInCanvas(
      "<path style=\" fill: #00f ;stroke:red;stroke-width : 3;stroke-linecap:round;"
      "stroke-linejoin:bevel;stroke-miterlimit:10;fill-rule:evenodd\" d=\"M0 0 L5 5\"/>"
      "<path stroke-linecap=\"square\" stroke-linejoin=\"round\" stroke-miterlimit=\"-3\" "
      "d=\"M0 0 L5 5\"/>"
      "<path stroke-linecap=\"inherit\" stroke-linejoin=\"arcs\" d=\"M0 0 L5 5\"/>");
  ASSERT_EQ(svg.shapes.size(), 3u);
  const SVGShape& styled = svg.shapes[0];
  expectColor(styled.fill, 0, 0, 1, 1);
  expectColor(styled.stroke, 1, 0, 0, 1);
  EXPECT_FLOAT_EQ(styled.strokeWidth, 3);
  EXPECT_EQ(styled.lineCap, SVGLineCap::round);
  EXPECT_EQ(styled.lineJoin, SVGLineJoin::bevel);
  EXPECT_FLOAT_EQ(styled.miterLimit, 10);
  EXPECT_EQ(styled.fillRule, SVGFillRule::evenOdd);

  EXPECT_EQ(svg.shapes[1].lineCap, SVGLineCap::square);
  EXPECT_EQ(svg.shapes[1].lineJoin, SVGLineJoin::round);
  EXPECT_FLOAT_EQ(svg.shapes[1].miterLimit, 0);
  EXPECT_EQ(svg.shapes[2].lineCap, SVGLineCap::butt);
  EXPECT_EQ(svg.shapes[2].lineJoin, SVGLineJoin::miter);
  EXPECT_FLOAT_EQ(svg.shapes[2].miterLimit, 4);
  EXPECT_EQ(svg.shapes[2].fillRule, SVGFillRule::winding);
}

TEST(SvgPaint, DashArraysKeepEightAbsoluteValuesAndAllZeroMeansNone) {
  auto dash = [](const char* value) {
    const ParsedSVG svg =
        parseInCanvas(std::string("<path stroke-dasharray=\"") + value + "\" d=\"M0 0 L5 5\"/>");
    return svg.shapes.at(0).dash;
  };
  EXPECT_EQ(dash("1 2 3 4 5 6 7 8 9 10")->pattern, (std::vector<float>{1, 2, 3, 4, 5, 6, 7, 8}));
  EXPECT_EQ(dash("-5,5")->pattern, (std::vector<float>{5, 5}));
  EXPECT_EQ(dash("4, 2")->pattern, (std::vector<float>{4, 2}));
  EXPECT_FALSE(dash("0 0").has_value());
  EXPECT_FALSE(dash("none").has_value());
  EXPECT_FALSE(parseInCanvas("<path d=\"M0 0 L5 5\"/>").shapes.at(0).dash.has_value());
}

TEST(SvgGradients, PlacementIsGivenInverted) {
  const ParsedSVG svg = parseInCanvas(
      "<defs><linearGradient id=\"user\" gradientUnits=\"userSpaceOnUse\" x1=\"0\" y1=\"0\" "
      "x2=\"100\" y2=\"0\" spreadMethod=\"reflect\"><stop offset=\"0\"/></linearGradient>"
      "<linearGradient id=\"box\" spreadMethod=\"repeat\"><stop offset=\"0\"/></linearGradient>"
      "<radialGradient id=\"radial\" gradientUnits=\"userSpaceOnUse\" cx=\"50\" cy=\"50\" "
      "r=\"25\" fx=\"60\" fy=\"50\"><stop offset=\"0\"/></radialGradient></defs>"
      "<rect width=\"100\" height=\"100\" fill=\"url(#user)\"/>"
      "<rect x=\"10\" width=\"50\" height=\"20\" fill=\"url(#box)\"/>"
      "<rect width=\"100\" height=\"100\" stroke=\"url(#radial)\" fill=\"none\"/>");
  ASSERT_EQ(svg.shapes.size(), 3u);

  const auto& user = std::get<SVGLinearGradient>(svg.shapes[0].fill);
  const std::array<float, 6> userXform = {0, 0.01f, -0.01f, 0, 0, 0};
  for (int i = 0; i < 6; ++i) EXPECT_NEAR(user.xform[i], userXform[i], 1e-6) << i;
  EXPECT_EQ(user.spread, SVGSpread::reflect);

  // Bounding box units: from x 10 to x 60 along the shape's box; the unit square is stretched
  // over the 50 by 20 box, so across the gradient one unit is 20 points.
  const auto& box = std::get<SVGLinearGradient>(svg.shapes[1].fill);
  const std::array<float, 6> boxXform = {0, 0.02f, -0.05f, 0, 0, -0.2f};
  for (int i = 0; i < 6; ++i) EXPECT_NEAR(box.xform[i], boxXform[i], 1e-6) << i;
  EXPECT_EQ(box.spread, SVGSpread::repeat);

  const auto& radial = std::get<SVGRadialGradient>(svg.shapes[2].stroke);
  const std::array<float, 6> radialXform = {0.04f, 0, 0, 0.04f, -2, -2};
  for (int i = 0; i < 6; ++i) EXPECT_NEAR(radial.xform[i], radialXform[i], 1e-6) << i;
  EXPECT_FLOAT_EQ(radial.fx, 2.4f);
  EXPECT_FLOAT_EQ(radial.fy, 2.0f);
  EXPECT_TRUE(near(radial.focusFromCentre, {0.4, 0}));
  EXPECT_EQ(radial.spread, SVGSpread::pad);

  // The shape's transform and the view box scale both move the placement before it is
  // inverted.
  const ParsedSVG placed = parseMarkup(
      "<svg width=\"200\" height=\"200\" viewBox=\"0 0 100 100\">"
      "<linearGradient id=\"u\" gradientUnits=\"userSpaceOnUse\" x2=\"100\">"
      "<stop offset=\"0\"/></linearGradient>"
      "<rect transform=\"translate(10,0)\" width=\"1\" height=\"1\" fill=\"url(#u)\"/></svg>");
  const auto& moved = std::get<SVGLinearGradient>(placed.shapes.at(0).fill);
  const std::array<float, 6> movedXform = {0, 0.005f, -0.005f, 0, 0, -0.1f};
  for (int i = 0; i < 6; ++i) EXPECT_NEAR(moved.xform[i], movedXform[i], 1e-6) << i;

  // A gradient whose id is unknown, or that has no stops, paints nothing.
  const ParsedSVG missing = parseInCanvas(
      "<linearGradient id=\"empty\"/><rect width=\"1\" height=\"1\" fill=\"url(#nope)\" "
      "stroke=\"url(#empty)\"/>");
  EXPECT_TRUE(std::holds_alternative<SVGNoPaint>(missing.shapes.at(0).fill));
  EXPECT_TRUE(std::holds_alternative<SVGNoPaint>(missing.shapes.at(0).stroke));
}

TEST(SvgGradients, StopsAreSortedByOffsetKeepingDocumentOrderForTies) {
  const ParsedSVG svg = parseInCanvas(
      "<linearGradient id=\"g\"><stop offset=\"0.8\" stop-color=\"red\"/>"
      "<stop offset=\"20%\" stop-color=\"blue\"/><stop offset=\"0.5\" stop-color=\"white\"/>"
      "<stop offset=\"0.5\" stop-color=\"black\"/></linearGradient>"
      "<rect width=\"1\" height=\"1\" fill=\"url(#g)\"/>");
  const auto& stops = std::get<SVGLinearGradient>(svg.shapes.at(0).fill).stops;
  ASSERT_EQ(stops.size(), 4u);
  EXPECT_FLOAT_EQ(stops[0].offset, 0.2f);
  EXPECT_EQ(stops[0].color, (SVGColor{0, 0, 1, 1}));
  EXPECT_EQ(stops[1].color, (SVGColor{1, 1, 1, 1}));
  EXPECT_EQ(stops[2].color, (SVGColor{0, 0, 0, 1}));
  EXPECT_FLOAT_EQ(stops[3].offset, 0.8f);
}

TEST(SvgGradients, ManyStopsSortQuickly) {
  std::string markup = "<svg width=\"10\" height=\"10\"><linearGradient id=\"g\">";
  constexpr int kStops = 100000;
  for (int i = kStops; i > 0; --i) {
    markup += "<stop offset=\"" + std::to_string(i / double(kStops)) + "\"/>";
  }
  markup += "</linearGradient><rect width=\"1\" height=\"1\" fill=\"url(#g)\"/></svg>";
  const ParsedSVG svg = parseMarkup(markup);
  const auto& stops = std::get<SVGLinearGradient>(svg.shapes.at(0).fill).stops;
  ASSERT_EQ(stops.size(), size_t(kStops));
  EXPECT_TRUE(std::is_sorted(stops.begin(), stops.end(),
                             [](const auto& a, const auto& b) { return a.offset < b.offset; }));
}

std::string hrefChain(int hops) {
  // g0 refers to g1, ..., the last one holds the stops.
  std::string markup = "<svg width=\"10\" height=\"10\"><defs>";
  for (int i = 0; i < hops; ++i) {
    markup += "<linearGradient id=\"g" + std::to_string(i) + "\" xlink:href=\"#g" +
              std::to_string(i + 1) + "\"/>";
  }
  markup += "<linearGradient id=\"g" + std::to_string(hops) +
            "\"><stop offset=\"0\" stop-color=\"red\"/></linearGradient></defs>"
            "<rect width=\"1\" height=\"1\" fill=\"url(#g0)\"/></svg>";
  return markup;
}

TEST(SvgGradients, HrefChainsLendStopsAndAreCutAfterThirtyTwoHops) {
  EXPECT_TRUE(
      std::holds_alternative<SVGLinearGradient>(parseMarkup(hrefChain(1)).shapes.at(0).fill));
  EXPECT_TRUE(
      std::holds_alternative<SVGLinearGradient>(parseMarkup(hrefChain(32)).shapes.at(0).fill));
  EXPECT_TRUE(std::holds_alternative<SVGNoPaint>(parseMarkup(hrefChain(33)).shapes.at(0).fill));

  const ParsedSVG cycle = parseInCanvas(
      "<linearGradient id=\"a\" xlink:href=\"#b\"/><linearGradient id=\"b\" xlink:href=\"#a\"/>"
      "<linearGradient id=\"self\" xlink:href=\"#self\"/>"
      "<rect width=\"1\" height=\"1\" fill=\"url(#a)\" stroke=\"url(#self)\"/>");
  EXPECT_TRUE(std::holds_alternative<SVGNoPaint>(cycle.shapes.at(0).fill));
  EXPECT_TRUE(std::holds_alternative<SVGNoPaint>(cycle.shapes.at(0).stroke));

  // The borrowed stops come with the borrower's own geometry and type.
  const ParsedSVG borrowed = parseInCanvas(
      "<linearGradient id=\"base\"><stop offset=\"0.25\"/></linearGradient>"
      "<radialGradient id=\"r\" xlink:href=\"#base\" gradientUnits=\"userSpaceOnUse\" "
      "cx=\"10\" cy=\"10\" r=\"10\"/><rect width=\"1\" height=\"1\" fill=\"url(#r)\"/>");
  const auto* radial = std::get_if<SVGRadialGradient>(&borrowed.shapes.at(0).fill);
  ASSERT_NE(radial, nullptr);
  ASSERT_EQ(radial->stops.size(), 1u);
  EXPECT_FLOAT_EQ(radial->stops[0].offset, 0.25f);
  EXPECT_NEAR(radial->xform[0], 0.1f, 1e-6);
}

}  // namespace
}  // namespace talvero
