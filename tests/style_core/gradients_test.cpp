#include "style_core/internal/gradients.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "style_core/hash.h"

namespace talvero {
namespace {

using namespace gradient_detail;

std::vector<float> positions(const GradientParseResult& result) {
  std::vector<float> out;
  for (const CUIGradientStop& stop : result.stops) out.push_back(stop.position);
  return out;
}

void expectFailure(const char* text, const std::string& message, size_t position) {
  const GradientParseResult result = parseGradientString(text);
  EXPECT_FALSE(result.ok) << text;
  EXPECT_EQ(result.error, message) << text;
  EXPECT_EQ(result.errorPosition, position) << text;
  EXPECT_TRUE(result.stops.empty()) << text;
}

float angleOf(const char* text) {
  const GradientParseResult result = parseGradientString(text);
  EXPECT_TRUE(result.ok) << text << ": " << result.error;
  return result.gradient.angle;
}

// ---------------------------------------------------------------------------------------

TEST(GradientParser, RunsDownwardsWithoutDirection) {
  const GradientParseResult result = parseGradientString("linear-gradient(red, #00f)");
  ASSERT_TRUE(result.ok);
  EXPECT_EQ(result.gradient.kind, 0u);
  EXPECT_EQ(result.gradient.angle, 180);
  EXPECT_EQ(result.gradient.stopCount, 2u);
  ASSERT_EQ(result.stops.size(), 2u);
  EXPECT_EQ(result.stops[1].rgba, 0x0000FFFFu);
  // Everything from the shape on is zero for a linear gradient, the centre included.
  EXPECT_EQ(result.gradient.cx, 0);
  EXPECT_EQ(result.gradient.cy, 0);
}

TEST(GradientParser, BringsAnglesIntoOneTurn) {
  EXPECT_EQ(angleOf("linear-gradient(-90deg, red, blue)"), 270);
  EXPECT_EQ(angleOf("linear-gradient(450deg, red, blue)"), 90);
  EXPECT_EQ(angleOf("linear-gradient(360deg, red, blue)"), 0);
  EXPECT_FLOAT_EQ(angleOf("linear-gradient(+.5 deg, red, blue)"), 0.5f);
}

TEST(GradientParser, RefusesAngleUnitsOtherThanDegrees) {
  expectFailure("linear-gradient(0.5turn, red, blue)", "unsupported angle unit, use deg", 19);
  expectFailure("linear-gradient(45, red, blue)", "unsupported angle unit, use deg", 18);
  expectFailure("linear-gradient(1e2deg, red, blue)", "unsupported angle unit, use deg", 17);
  expectFailure("linear-gradient(-, red, blue)", "parse error", 16);
}

TEST(GradientParser, TurnsSideWordsIntoAngles) {
  const std::pair<const char*, float> directions[] = {
      {"top", 0},       {"top right", 45},    {"right", 90}, {"right bottom", 135},
      {"bottom", 180},  {"bottom left", 225}, {"left", 270}, {"top left", 315},
      {"left top", 315}};
  for (const auto& [sides, angle] : directions) {
    const std::string text = std::string("linear-gradient(to ") + sides + ", red, blue)";
    EXPECT_EQ(angleOf(text.c_str()), angle) << sides;
  }
}

TEST(GradientParser, RefusesSidePairsThatAreNoDirection) {
  expectFailure("linear-gradient(to top bottom, red, blue)", "parse error", 16);
  expectFailure("linear-gradient(to top top, red, blue)", "parse error", 23);
  expectFailure("linear-gradient(to, red, blue)", "parse error", 16);
  expectFailure("linear-gradient(to top left right, red, blue)", "parse error", 16);
  expectFailure("linear-gradient(to middle, red, blue)", "parse error", 19);
}

TEST(GradientParser, SpreadsUnpositionedStopsEvenly) {
  EXPECT_EQ(positions(parseGradientString("linear-gradient(red, white, blue)")),
            (std::vector<float>{0, 0.5f, 1}));
  const auto spread =
      positions(parseGradientString("linear-gradient(red 10%, white, black, blue 70%)"));
  ASSERT_EQ(spread.size(), 4u);
  EXPECT_FLOAT_EQ(spread[1], 0.3f);
  EXPECT_FLOAT_EQ(spread[2], 0.5f);
  EXPECT_FLOAT_EQ(spread[3], 0.7f);
}

TEST(GradientParser, RaisesPositionsThatGoBackwardsAndClampsThem) {
  EXPECT_EQ(positions(parseGradientString("linear-gradient(red 50%, blue 20%)")),
            (std::vector<float>{0.5f, 0.5f}));
  EXPECT_EQ(positions(parseGradientString("linear-gradient(red -10%, blue 150%)")),
            (std::vector<float>{0, 1}));
}

TEST(GradientParser, KeepsFunctionalColorsWithBlanksWhole) {
  const GradientParseResult result =
      parseGradientString("linear-gradient(rgba(255, 0, 0, 0.5) 25%, rgb(0 ,0, 255))");
  ASSERT_TRUE(result.ok) << result.error;
  EXPECT_EQ(result.stops[0].rgba, 0xFF000080u);
  EXPECT_FLOAT_EQ(result.stops[0].position, 0.25f);
  EXPECT_EQ(result.stops[1].rgba, 0x0000FFFFu);
}

TEST(GradientParser, ExplainsRefusedStops) {
  expectFailure("linear-gradient(red 10px, blue)", "only percent positions are supported", 20);
  expectFailure("linear-gradient(red 10%x, blue)", "only percent positions are supported", 20);
  expectFailure("linear-gradient(red, 50%, blue)", "color hints are not supported", 21);
  expectFailure("linear-gradient(red 10% 20%, blue)", "double positions are not supported", 16);
  expectFailure("linear-gradient(red 10% 20px, blue)", "parse error", 16);
  expectFailure("linear-gradient(redd, blue)", "invalid color \"redd\"", 16);
  expectFailure("linear-gradient(red, , blue)", "parse error", 20);
  expectFailure("linear-gradient(red)", "at least two color stops are required", 0);
  expectFailure("linear-gradient(to right, red)", "at least two color stops are required", 0);
  expectFailure("linear-gradient()", "parse error", 16);
}

TEST(GradientParser, ExplainsRefusedFrames) {
  expectFailure(nullptr, "parse error", 0);
  expectFailure(" \t\n", "parse error", 0);
  expectFailure("linear-gradient", "parse error", 0);
  expectFailure("repeating-linear-gradient(red, blue)", "parse error", 0);
  expectFailure(" conic-gradient (red, blue)", "conic-gradient is not supported yet", 1);
  expectFailure("linear-gradient(red, blue", "parse error", 15);
  expectFailure("linear-gradient(red, blue) x", "parse error", 27);
  expectFailure("linear-gradient(red, blue) , linear-gradient(red, blue)",
                "multiple backgrounds are not supported, use the first gradient", 27);
  // Positions count in the text as given, leading white space included.
  expectFailure("  linear-gradient(redd, blue)", "invalid color \"redd\"", 18);
}

// ---------------------------------------------------------------------------------------

GradientParseResult radial(const char* text) {
  const GradientParseResult result = parseGradientString(text);
  EXPECT_TRUE(result.ok) << text << ": " << result.error;
  EXPECT_EQ(result.gradient.kind, 1u);
  EXPECT_EQ(result.gradient.angle, 0);
  return result;
}

TEST(RadialGradientParser, DefaultsToFarthestCornerEllipseAtCentre) {
  const CUIGradient gradient = radial("radial-gradient(red 10%, blue)").gradient;
  EXPECT_EQ(gradient.shape, 0u);
  EXPECT_EQ(gradient.extent, 0u);
  EXPECT_EQ(gradient.cx, 0.5f);
  EXPECT_EQ(gradient.cy, 0.5f);
}

TEST(RadialGradientParser, ReadsShapeAndExtentWords) {
  const CUIGradient gradient = radial("radial-gradient(circle closest-side, red, blue)").gradient;
  EXPECT_EQ(gradient.shape, 1u);
  EXPECT_EQ(gradient.extent, 1u);
  EXPECT_EQ(radial("radial-gradient(farthest-side ellipse, red, blue)").gradient.extent, 3u);
  EXPECT_EQ(radial("radial-gradient(closest-corner, red, blue)").gradient.extent, 2u);
}

TEST(RadialGradientParser, LetTheSizeCountDecideTheShape) {
  const CUIGradient one = radial("radial-gradient(ellipse 40px, red, blue)").gradient;
  EXPECT_EQ(one.shape, 1u);
  EXPECT_EQ(one.extent, 4u);
  EXPECT_EQ(one.rx, 40);
  EXPECT_EQ(one.ry, 40);
  const CUIGradient two = radial("radial-gradient(circle 50% 2em, red, blue)").gradient;
  EXPECT_EQ(two.shape, 0u);
  EXPECT_EQ(two.extent, 4u);
  EXPECT_EQ(two.rx, 0.5f);
  EXPECT_EQ(two.rUnitX, 1u);
  EXPECT_EQ(two.ry, 32);  // the font size is taken as 16
  EXPECT_EQ(two.rUnitY, 0u);
  const CUIGradient negative = radial("radial-gradient(-5px -10%, red, blue)").gradient;
  EXPECT_EQ(negative.rx, 0);
  EXPECT_EQ(negative.ry, 0);
  EXPECT_EQ(negative.rUnitY, 1u);
}

TEST(RadialGradientParser, RefusesUnknownSizeWords) {
  expectFailure("radial-gradient(big, red, blue)", "parse error", 16);
  expectFailure("radial-gradient(1px 2px 3px, red, blue)", "parse error", 16);
  expectFailure("radial-gradient(10, red, blue)", "parse error", 16);
  expectFailure("radial-gradient(circle at, red)", "at least two color stops are required", 0);
}

std::vector<float> centre(const char* text) {
  const CUIGradient gradient = radial(text).gradient;
  return {gradient.cx, gradient.cy};
}

TEST(RadialGradientParser, PlacesTheCentre) {
  EXPECT_EQ(centre("radial-gradient(at top, red, blue)"), (std::vector<float>{0.5f, 0}));
  EXPECT_EQ(centre("radial-gradient(at right, red, blue)"), (std::vector<float>{1, 0.5f}));
  EXPECT_EQ(centre("radial-gradient(at 25%, red, blue)"), (std::vector<float>{0.25f, 0.5f}));
  EXPECT_EQ(centre("radial-gradient(circle at left bottom, red, blue)"),
            (std::vector<float>{0, 1}));
  // A vertical word before a horizontal one swaps them.
  EXPECT_EQ(centre("radial-gradient(at bottom left, red, blue)"), (std::vector<float>{0, 1}));
  EXPECT_EQ(centre("radial-gradient(at 25% 75%, red, blue)"), (std::vector<float>{0.25f, 0.75f}));
  EXPECT_EQ(centre("radial-gradient(at 10px 20%, red, blue)"), (std::vector<float>{0.5f, 0.2f}));
}

TEST(RadialGradientParser, LeavesTheCentreForPositionsItCannotRead) {
  for (const char* text :
       {"radial-gradient(at middle, red, blue)", "radial-gradient(at left middle, red, blue)",
        "radial-gradient(at left top 10%, red, blue)"}) {
    EXPECT_EQ(centre(text), (std::vector<float>{0.5f, 0.5f})) << text;
  }
}

// ---------------------------------------------------------------------------------------

TEST(GradientHelpers, ParseNumberRefusesExponentsAndBareSigns) {
  size_t position = 0;
  float out = 0;
  EXPECT_TRUE(parseNumber("-12.5%", position, out));
  EXPECT_EQ(out, -12.5f);
  EXPECT_EQ(position, 5u);
  position = 0;
  EXPECT_TRUE(parseNumber("1e5", position, out));
  EXPECT_EQ(out, 1);
  EXPECT_EQ(position, 1u);
  position = 0;
  EXPECT_FALSE(parseNumber("+.", position, out));
  EXPECT_EQ(position, 0u);
  position = 2;
  EXPECT_TRUE(parseNumber("at.25", position, out));
  EXPECT_EQ(out, 0.25f);
}

// ---------------------------------------------------------------------------------------

TEST(GradientCache, AnswersTheSameTrimmedStringWithTheSameEntry) {
  uint32_t count = 0;
  const CUIGradient* first = getOrParseGradients("linear-gradient(red, white 30%)", &count);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(count, 1u);
  ASSERT_NE(first->stops, nullptr);
  EXPECT_EQ(first->stops[1].rgba, 0xFFFFFFFFu);
  EXPECT_FLOAT_EQ(first->stops[1].position, 0.3f);
  EXPECT_EQ(getOrParseGradients("\n linear-gradient(red, white 30%)  ", nullptr), first);
}

TEST(GradientCache, ParsesListsWholeWithStopsOneAfterAnother) {
  uint32_t count = 0;
  const CUIGradient* gradients = getOrParseGradients(
      "linear-gradient(to right, red, rgba(0, 0, 0, 0.5), blue), radial-gradient(white, black)",
      &count);
  ASSERT_NE(gradients, nullptr);
  ASSERT_EQ(count, 2u);
  EXPECT_EQ(gradients[0].angle, 90);
  EXPECT_EQ(gradients[0].stopCount, 3u);
  EXPECT_EQ(gradients[1].kind, 1u);
  EXPECT_EQ(gradients[1].stops, gradients[0].stops + 3);
  EXPECT_EQ(gradients[1].stops[1].rgba, 0x000000FFu);
}

TEST(GradientCache, FailsTheListWhenOneGradientFails) {
  uint32_t count = 9;
  EXPECT_EQ(getOrParseGradients("linear-gradient(red, blue), conic-gradient(red, blue)", &count),
            nullptr);
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(getOrParseGradients(nullptr, &count), nullptr);
  EXPECT_EQ(getOrParseGradients("linear-gradient(red, blue),", nullptr), nullptr);
}

// Two texts with one hash: the cache knows strings only by their hash, so whichever is seen
// first decides for both.
constexpr const char* kValidColliding = "linear-gradient(red, blue 106330%)";
constexpr const char* kInvalidColliding = "not a gradient 54580";
static_assert(fnv1a(std::string_view(kValidColliding)) ==
              fnv1a(std::string_view(kInvalidColliding)));
constexpr const char* kValidColliding2 = "linear-gradient(red, blue 100157%)";
constexpr const char* kInvalidColliding2 = "not a gradient 84108";
static_assert(fnv1a(std::string_view(kValidColliding2)) ==
              fnv1a(std::string_view(kInvalidColliding2)));

TEST(GradientCache, DoesNotParseAFailedStringAgain) {
  EXPECT_FALSE(parseGradientString(kInvalidColliding).ok);
  EXPECT_TRUE(parseGradientString(kValidColliding).ok);
  EXPECT_EQ(getOrParseGradients(kInvalidColliding, nullptr), nullptr);
  EXPECT_EQ(getOrParseGradients(kValidColliding, nullptr), nullptr);
}

TEST(GradientCache, KeepsAParsedEntryForAnyStringOfTheSameHash) {
  const CUIGradient* valid = getOrParseGradients(kValidColliding2, nullptr);
  ASSERT_NE(valid, nullptr);
  EXPECT_EQ(getOrParseGradients(kInvalidColliding2, nullptr), valid);
}

}  // namespace
}  // namespace talvero
