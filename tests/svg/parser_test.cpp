#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <unistd.h>

#include "svg_test_support.h"

namespace talvero {
namespace {

using namespace svg_test;
using svg_reader::ReaderGradient;
using svg_reader::ReaderImage;
using svg_reader::ReaderPath;
using svg_reader::ReaderShape;

SVGParseResult parseUrl(const std::string& url) {
  return SVGParser::parse(SVGParser::FileUrl{url});
}

SVGParseError errorOf(const SVGParseResult& result) {
  EXPECT_TRUE(std::holds_alternative<SVGParseError>(result));
  return std::holds_alternative<SVGParseError>(result) ? std::get<SVGParseError>(result)
                                                       : SVGParseError{-1};
}

ReaderPath readerPath(std::vector<float> points, bool closed = false) {
  ReaderPath path;
  path.points = std::move(points);
  path.closed = closed;
  return path;
}

TEST(SvgExtraction, SubpathsFromPointListsDroppingShortOnes) {
  ReaderImage image;
  image.width = 12.5f;
  image.height = 7;
  ReaderShape shape;
  shape.paths.push_back(readerPath({0, 0, 1, 1, 2, 2}));  // three points: dropped
  // Five points make one curve; the spare point is not read.
  shape.paths.push_back(readerPath({0, 0, 1, 2, 3, 4, 5, 6, 9, 9}, true));
  shape.paths.push_back(readerPath({1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7}));
  image.shapes.push_back(shape);
  ReaderShape onlyShort;
  onlyShort.paths.push_back(readerPath({0, 0, 1, 1, 2, 2}));
  image.shapes.push_back(onlyShort);

  const ParsedSVG svg = SVGParser::extractImage(image);
  EXPECT_EQ(svg.size, (SVGSize{12.5, 7}));
  ASSERT_EQ(svg.shapes.size(), 2u);
  const std::vector<SVGSubpath>& subpaths = svg.shapes[0].subpaths;
  ASSERT_EQ(subpaths.size(), 2u);
  EXPECT_EQ(subpaths[0].start, (SVGPoint{0, 0}));
  EXPECT_TRUE(subpaths[0].isClosed);
  ASSERT_EQ(subpaths[0].curves.size(), 1u);
  EXPECT_EQ(subpaths[0].curves[0], (CubicBezier{{1, 2}, {3, 4}, {5, 6}}));
  EXPECT_EQ(subpaths[1].curves.size(), 2u);
  EXPECT_EQ(subpaths[1].curves[1].end, (SVGPoint{7, 7}));
  // A shape with only short paths stays, with nothing to draw.
  EXPECT_TRUE(svg.shapes[1].subpaths.empty());
}

TEST(SvgExtraction, PaintsUnpackRedLowAndOnlySolidPaintsTakeTheOpacity) {
  ReaderShape shape;
  shape.paths.push_back(readerPath({0, 0, 1, 1, 2, 2, 3, 3}));
  shape.opacity = 0.5f;
  shape.fill.type = svg_reader::kPaintColor;
  shape.fill.color = 0x80FF8040;
  shape.stroke.type = svg_reader::kPaintRadialGradient;
  ReaderGradient gradient;
  gradient.xform = {1, 2, 3, 4, 5, 6};
  gradient.fx = 0.25f;
  gradient.fy = -0.5f;
  gradient.spread = 7;
  gradient.stops = {{0xFF0000FF, 0.5f}};
  shape.stroke.gradient = gradient;
  ReaderImage image;
  image.shapes.push_back(shape);

  const SVGShape out = SVGParser::extractImage(image).shapes.at(0);
  expectColor(out.fill, 0x40 / 255.0, 0x80 / 255.0, 1, 0x80 / 255.0 * 0.5);
  const auto* radial = std::get_if<SVGRadialGradient>(&out.stroke);
  ASSERT_NE(radial, nullptr);
  EXPECT_EQ(radial->xform, (std::array<float, 6>{1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(radial->fx, 0.25f);
  EXPECT_EQ(radial->fy, -0.5f);
  EXPECT_EQ(radial->spread, SVGSpread::pad);
  ASSERT_EQ(radial->stops.size(), 1u);
  EXPECT_EQ(radial->stops[0].color, (SVGColor{1, 0, 0, 1}));

  // A gradient type with no gradient behind it, or an unknown type, paints nothing.
  image.shapes[0].fill.type = svg_reader::kPaintLinearGradient;
  image.shapes[0].stroke.type = 9;
  const SVGShape none = SVGParser::extractImage(image).shapes.at(0);
  EXPECT_TRUE(std::holds_alternative<SVGNoPaint>(none.fill));
  EXPECT_TRUE(std::holds_alternative<SVGNoPaint>(none.stroke));
}

TEST(SvgExtraction, StrokeSettingsMapUnknownNumbersToTheirDefaults) {
  ReaderShape shape;
  shape.strokeLineJoin = 2;
  shape.strokeLineCap = 1;
  shape.fillRule = 1;
  shape.strokeDashCount = 3;
  shape.strokeDashArray = {1, 2, 3, 4};
  shape.strokeDashOffset = 1.5f;
  shape.miterLimit = 7;
  shape.strokeWidth = 2.5f;
  ReaderShape odd;
  odd.strokeLineJoin = 9;
  odd.strokeLineCap = -1;
  odd.fillRule = 5;
  odd.strokeDashCount = 0;
  ReaderImage image;
  image.shapes = {shape, odd};

  const ParsedSVG svg = SVGParser::extractImage(image);
  const SVGShape& a = svg.shapes.at(0);
  EXPECT_EQ(a.lineJoin, SVGLineJoin::bevel);
  EXPECT_EQ(a.lineCap, SVGLineCap::round);
  EXPECT_EQ(a.fillRule, SVGFillRule::evenOdd);
  ASSERT_TRUE(a.dash.has_value());
  EXPECT_EQ(a.dash->pattern, (std::vector<float>{1, 2, 3}));
  EXPECT_EQ(a.dash->offset, 1.5f);
  EXPECT_EQ(a.miterLimit, 7);
  EXPECT_EQ(a.strokeWidth, 2.5f);
  const SVGShape& b = svg.shapes.at(1);
  EXPECT_EQ(b.lineJoin, SVGLineJoin::miter);
  EXPECT_EQ(b.lineCap, SVGLineCap::butt);
  EXPECT_EQ(b.fillRule, SVGFillRule::winding);
  EXPECT_FALSE(b.dash.has_value());
}

TEST(SvgParser, EmptyInputAndTextWithoutUtf8Form) {
  EXPECT_EQ(errorOf(SVGParser::parse(std::span<const uint8_t>())), SVGParseError::emptyData);
  EXPECT_EQ(errorOf(SVGParser::parse(std::u16string_view())), SVGParseError::emptyData);
  EXPECT_EQ(errorOf(SVGParser::parse(std::u16string_view(u"<svg>\xD800</svg>"))),
            SVGParseError::parseFailed);
  EXPECT_EQ(errorOf(SVGParser::parse(std::u16string(u"<svg>") + char16_t(0xDC00))),
            SVGParseError::parseFailed);

  // Any other text goes on as its UTF-8 bytes, surrogate pairs included.
  const SVGParseResult text = SVGParser::parse(std::u16string_view(
      u"<svg width=\"10\" height=\"10\"><!-- \u00e9 \U0001F600 --><rect width=\"2\" "
      u"height=\"2\" fill=\"#00f\"/></svg>"));
  ASSERT_TRUE(isParsed(text));
  expectColor(std::get<ParsedSVG>(text).shapes.at(0).fill, 0, 0, 1, 1);
}

TEST(SvgParser, TheCallersBytesAreNeverWritten) {
  const std::string markup =
      "<svg width=\"10\" height=\"10\"><path d=\"M0 0 L5 5\" style=\"fill:red\"/></svg>";
  std::vector<uint8_t> bytes(markup.begin(), markup.end());
  const std::vector<uint8_t> before = bytes;
  const SVGParseResult result = SVGParser::parse(std::span<const uint8_t>(bytes));
  ASSERT_TRUE(isParsed(result));
  EXPECT_EQ(std::get<ParsedSVG>(result).shapes.size(), 1u);
  EXPECT_EQ(bytes, before);
}

TEST(SvgParser, FileUrlsOnly) {
  const std::filesystem::path dir =
      std::filesystem::temp_directory_path() / ("svg parser test " + std::to_string(::getpid()));
  std::filesystem::create_directories(dir);
  const std::filesystem::path file = dir / "icon.svg";
  std::ofstream(file) << "<svg width=\"8\" height=\"4\"><rect width=\"1\" height=\"1\"/></svg>";
  std::ofstream(dir / "empty.svg").close();

  std::string encodedDir = dir.string();
  for (size_t at; (at = encodedDir.find(' ')) != std::string::npos;) {
    encodedDir.replace(at, 1, "%20");
  }
  const SVGParseResult fromFile = parseUrl("file://" + encodedDir + "/icon.svg");
  ASSERT_TRUE(isParsed(fromFile));
  EXPECT_EQ(std::get<ParsedSVG>(fromFile).size, (SVGSize{8, 4}));
  EXPECT_TRUE(isParsed(parseUrl("file://localhost" + encodedDir + "/icon.svg")));
  // An empty file reads as a document with nothing in it.
  const SVGParseResult empty = parseUrl("file://" + encodedDir + "/empty.svg");
  ASSERT_TRUE(isParsed(empty));
  EXPECT_EQ(std::get<ParsedSVG>(empty), ParsedSVG{});

  EXPECT_EQ(errorOf(parseUrl("file://" + encodedDir + "/missing.svg")), SVGParseError::parseFailed);
  EXPECT_EQ(errorOf(parseUrl("https://example.com/icon.svg")), SVGParseError::parseFailed);
  EXPECT_EQ(errorOf(parseUrl(file.string())), SVGParseError::parseFailed);
  EXPECT_EQ(errorOf(parseUrl("")), SVGParseError::parseFailed);
  std::filesystem::remove_all(dir);
}

TEST(SvgMarkup, GarbageAndTruncatedDocumentsKeepWhatCameBefore) {
  const ParsedSVG truncated = parseMarkup(
      "<svg width=\"10\" height=\"10\"><rect width=\"5\" height=\"5\"/><rect width=\"3\" he");
  EXPECT_EQ(truncated.shapes.size(), 1u);

  const ParsedSVG unclosed = parseMarkup(
      "<svg width=\"10\" height=\"10\"><g fill=\"red\"><rect width=\"5\" height=\"5\"/></svg>"
      "</g></g></defs><rect width=\"1\" height=\"1\"/>");
  ASSERT_EQ(unclosed.shapes.size(), 2u);
  expectColor(unclosed.shapes[0].fill, 1, 0, 0, 1);

  EXPECT_EQ(parseMarkup("hello, world").size, (SVGSize{0, 0}));
  EXPECT_TRUE(parseMarkup("<<<>>> <svg <rect/> \"'").shapes.empty());
  const ParsedSVG zero = parseMarkup(std::string("<svg width=\"5\" height=\"5\"/>") + '\0' +
                                     "<rect width=\"1\" height=\"1\"/>");
  EXPECT_TRUE(zero.shapes.empty());
  EXPECT_EQ(zero.size, (SVGSize{5, 5}));
}

TEST(SvgMarkup, TagsRunToTheNextAngleBracketAndValuesNeedQuotes) {
  // A comment is a tag starting with '!', which ends at the first '>'.
  const ParsedSVG comment = parseInCanvas(
      "<!-- <rect width=\"5\" height=\"5\"/> --><?xml version=\"1.0\"?>"
      "<!DOCTYPE svg><rect width='4' height='4' fill='#0f0'/>"
      "<rect width=4 height=4/><rect\twidth=\"2\"\nheight=\"2\"></rect>");
  ASSERT_EQ(comment.shapes.size(), 2u);
  expectColor(comment.shapes[0].fill, 0, 1, 0, 1);
}

TEST(SvgMarkup, UnsupportedElementsArePassedOverButShapesInsideThemAreRead) {
  const ParsedSVG svg = parseInCanvas(
      "<style>.a { fill: red }</style><text x=\"1\">hi</text><use href=\"#r\"/>"
      "<image width=\"5\" height=\"5\"/><symbol><rect class=\"a\" width=\"1\" height=\"1\"/>"
      "</symbol><clipPath><circle r=\"2\"/></clipPath><mask><rect width=\"1\" height=\"1\"/></mask>"
      "<defs><rect width=\"9\" height=\"9\"/><circle r=\"9\"/></defs>"
      "<rect width=\"2\" height=\"2\" display=\"none\" visibility=\"hidden\"/>");
  // symbol's rect, clipPath's circle, mask's rect and the hidden rect; nothing from defs.
  ASSERT_EQ(svg.shapes.size(), 4u);
  expectColor(svg.shapes[0].fill, 0, 0, 0, 1);
}

TEST(SvgMarkup, DeepNestingStopsGrowingButKeepsReading) {
  std::string markup = "<svg width=\"10\" height=\"10\">";
  for (int i = 0; i < 1000; ++i) markup += i == 500 ? "<g fill=\"red\">" : "<g>";
  markup += "<rect width=\"1\" height=\"1\"/>";
  for (int i = 0; i < 1000; ++i) markup += "</g>";
  markup += "<rect width=\"1\" height=\"1\"/></svg>";
  const ParsedSVG svg = parseMarkup(markup);
  ASSERT_EQ(svg.shapes.size(), 2u);
  expectColor(svg.shapes[0].fill, 1, 0, 0, 1);
  expectColor(svg.shapes[1].fill, 0, 0, 0, 1);
}

}  // namespace
}  // namespace talvero
