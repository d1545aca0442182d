#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <string>

#include "svg/svg_renderer.h"
#include "svg_test_support.h"

namespace talvero {
namespace {

using svg_test::parseInCanvas;
using svg_test::parseMarkup;
using Pixel = std::array<int, 4>;

constexpr SVGColor kGreen{0, 1, 0, 1};

// A 100 by 100 document rendered at one pixel a point, so pixels and user units coincide.
struct Rendered {
  graphics::BitmapRef bitmap;
  std::vector<uint8_t> rgba;
  Pixel at(int x, int y) const {
    const size_t i = (static_cast<size_t>(y) * bitmap->width() + x) * 4;
    return {rgba[i], rgba[i + 1], rgba[i + 2], rgba[i + 3]};
  }
};

Rendered render(const ParsedSVG& svg, std::optional<SVGColor> tint = std::nullopt) {
  Rendered result;
  result.bitmap = SVGRenderer(svg).renderToImage(100, 100, 1, tint);
  EXPECT_TRUE(result.bitmap);
  if (result.bitmap) result.rgba = result.bitmap->straightRGBA();
  return result;
}

bool isClear(const Pixel& p) {
  return p[3] == 0;
}
bool isRedDominant(const Pixel& p) {
  return p[3] > 200 && p[0] > 180 && p[2] < 75;
}
bool isBlueDominant(const Pixel& p) {
  return p[3] > 200 && p[2] > 180 && p[0] < 75;
}
bool isGreen(const Pixel& p) {
  return p == Pixel{0, 255, 0, 255};
}

TEST(SvgRendererSize, PixelSizesFollowTheScaleRoundedUp) {
  const SVGRenderer renderer(parseInCanvas("<rect width=\"100\" height=\"100\"/>"));
  const graphics::BitmapRef byDefault = renderer.renderToImage(10, 5, 0, std::nullopt);
  ASSERT_TRUE(byDefault);
  EXPECT_EQ(byDefault->width(), 20);
  EXPECT_EQ(byDefault->height(), 10);
  EXPECT_TRUE(renderer.renderToImage(10, 5, -3, std::nullopt));
  const graphics::BitmapRef rounded = renderer.renderToImage(10.2, 10.2, 2, std::nullopt);
  ASSERT_TRUE(rounded);
  EXPECT_EQ(rounded->width(), 21);
  EXPECT_EQ(rounded->height(), 21);
  EXPECT_FALSE(renderer.renderToImage(0, 10, 2, std::nullopt));
  EXPECT_FALSE(renderer.renderToImage(10, -1, 2, std::nullopt));
}

TEST(SvgRendererSize, WideDocumentIsFittedAndCentredVertically) {
  const ParsedSVG svg = parseMarkup(
      "<svg width=\"100\" height=\"50\"><rect width=\"100\" height=\"50\" fill=\"red\"/></svg>");
  const Rendered r = render(svg);
  EXPECT_TRUE(isClear(r.at(50, 23)));
  EXPECT_TRUE(isRedDominant(r.at(50, 26)));
  EXPECT_TRUE(isRedDominant(r.at(50, 73)));
  EXPECT_TRUE(isClear(r.at(50, 76)));
}

TEST(SvgRendererPaint, TintReplacesGradientsButNotNone) {
  const Rendered r =
      render(parseInCanvas("<linearGradient id=\"g\"><stop offset=\"0\" stop-color=\"red\"/>"
                           "<stop offset=\"1\" stop-color=\"blue\"/></linearGradient>"
                           "<rect x=\"10\" y=\"10\" width=\"30\" height=\"30\" fill=\"url(#g)\""
                           " stroke=\"url(#g)\" stroke-width=\"6\"/>"
                           "<rect x=\"60\" y=\"10\" width=\"30\" height=\"30\" fill=\"none\""
                           " stroke=\"red\" stroke-width=\"2\"/>"),
             kGreen);
  EXPECT_TRUE(isGreen(r.at(25, 25)));
  EXPECT_TRUE(isGreen(r.at(10, 25)));  // on the gradient stroke
  EXPECT_TRUE(isGreen(r.at(60, 25)));
  EXPECT_TRUE(isClear(r.at(75, 25)));
}

TEST(SvgRendererPaint, GradientWithoutStopsSkipsTheFillButKeepsTheStroke) {
  ParsedSVG svg = parseInCanvas(
      "<rect x=\"10\" y=\"10\" width=\"80\" height=\"80\" stroke=\"lime\" stroke-width=\"4\"/>");
  ASSERT_EQ(svg.shapes.size(), 1u);
  svg.shapes[0].fill = SVGLinearGradient{{1, 0, 0, 1, 0, 0}, {}, SVGSpread::pad};
  const Rendered r = render(svg);
  EXPECT_TRUE(isClear(r.at(50, 50)));
  EXPECT_TRUE(isGreen(r.at(10, 50)));
}

TEST(SvgRendererStroke, WidthZeroDashesAndUntintedGradientStrokes) {
  const Rendered r = render(parseInCanvas(
      "<linearGradient id=\"g\"><stop stop-color=\"red\"/></linearGradient>"
      "<path d=\"M0 10 H100\" stroke=\"red\" stroke-width=\"0\"/>"
      "<path d=\"M0 30 H100\" stroke=\"url(#g)\" stroke-width=\"4\"/>"
      "<path d=\"M0 50 H100\" stroke=\"lime\" stroke-width=\"4\" stroke-dasharray=\"10 10\""
      " stroke-dashoffset=\"5\"/>"));
  for (int x = 0; x < 100; ++x) {
    ASSERT_TRUE(isClear(r.at(x, 10))) << x;
    ASSERT_TRUE(isClear(r.at(x, 30))) << x;
  }
  // The offset of 5 shifts the first dash to 0...5, then a gap to 15, a dash to 25, ...
  EXPECT_TRUE(isGreen(r.at(2, 50)));
  EXPECT_TRUE(isClear(r.at(7, 50)));
  EXPECT_TRUE(isGreen(r.at(17, 50)));
  EXPECT_TRUE(isClear(r.at(27, 50)));
}

const std::string kRedToBlue =
    "<stop offset=\"0\" stop-color=\"red\"/><stop offset=\"1\" stop-color=\"blue\"/>";

TEST(SvgRendererGradient, RadialFocusIsWhereWrittenUnderUnitsAndTransforms) {
  // Each draws the circle about (50, 50) of radius 40 with its focus at (30, 50).
  const char* variants[] = {
      "<radialGradient id=\"g\" gradientUnits=\"userSpaceOnUse\" cx=\"50\" cy=\"50\" r=\"40\""
      " fx=\"30\" fy=\"50\">",
      "<radialGradient id=\"g\" fx=\"0.25\">",
      "<radialGradient id=\"g\" gradientUnits=\"userSpaceOnUse\" cx=\"30\" cy=\"50\" r=\"40\""
      " fx=\"10\" gradientTransform=\"translate(20 0)\">",
  };
  for (const char* opening : variants) {
    const Rendered r = render(parseInCanvas(
        std::string(opening) + kRedToBlue +
        "</radialGradient><rect x=\"10\" y=\"10\" width=\"80\" height=\"80\" fill=\"url(#g)\"/>"));
    // 4 of the 60 points from the focus to the circle along +x; 16 of 20 along -x. About the
    // centre instead, (34, 50) would be 0.4 of the way out.
    EXPECT_TRUE(isRedDominant(r.at(34, 50))) << opening;
    EXPECT_TRUE(isBlueDominant(r.at(14, 50))) << opening;
    EXPECT_TRUE(isBlueDominant(r.at(86, 50))) << opening;
  }
}

TEST(SvgRendererGradient, OnlyPadPaintsPastTheEnds) {
  const std::string rect = "<rect width=\"100\" height=\"100\" fill=\"url(#g)\"/>";
  auto gradient = [&](const char* spread) {
    return parseInCanvas(std::string("<linearGradient id=\"g\" gradientUnits=\"userSpaceOnUse\""
                                     " x1=\"40\" x2=\"60\" spreadMethod=\"") +
                         spread + "\">" + kRedToBlue + "</linearGradient>" + rect);
  };
  const Rendered pad = render(gradient("pad"));
  EXPECT_TRUE(isRedDominant(pad.at(10, 50)));
  EXPECT_TRUE(isBlueDominant(pad.at(90, 50)));
  for (const char* spread : {"reflect", "repeat"}) {
    const Rendered r = render(gradient(spread));
    EXPECT_TRUE(isClear(r.at(10, 50))) << spread;
    EXPECT_TRUE(isClear(r.at(90, 50))) << spread;
    EXPECT_FALSE(isClear(r.at(50, 50))) << spread;
  }
}

}  // namespace
}  // namespace talvero
