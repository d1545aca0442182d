#include "style_core/internal/value_parsers.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "style_core/internal/viewport.h"

namespace talvero {
namespace {

// The colour number, or nothing when the text is refused.
std::optional<uint32_t> color(const char* text) {
  uint32_t out = 0;
  if (!tryParseColor(text, out)) return std::nullopt;
  return out;
}

struct Length {
  bool ok = false;
  float value = 0;
  bool dynamic = false;
};

Length length(const std::string& text, float em = 16) {
  Length result;
  result.ok = parse_vw(text.c_str(), text.size(), result.value, result.dynamic, em);
  return result;
}

std::optional<BorderRadiusValue> radius(const std::string& text, bool* dynamic = nullptr) {
  BorderRadiusValue out;
  bool ignored = false;
  if (!parseBorderRadius(text.c_str(), text.size(), 16, dynamic ? *dynamic : ignored, out)) {
    return std::nullopt;
  }
  return out;
}

// Globals changed by a test go back to the values of a fresh process.
class ViewportTest : public ::testing::Test {
 protected:
  void TearDown() override { resetViewportGlobals(); }
};

using LengthParser = ViewportTest;
using CalcParser = ViewportTest;

// ---------------------------------------------------------------------------------------

TEST(ColorParser, ReadsShortAndLongHexForms) {
  EXPECT_EQ(color("#abc"), 0xAABBCCFFu);
  EXPECT_EQ(color("#abcd"), 0xAABBCCDDu);
  EXPECT_EQ(color("#aabbccdd"), 0xAABBCCDDu);
  EXPECT_EQ(color("#g0f"), 0x0000FFFFu);  // a bad digit counts as 0
  // A pair is read by strtoul, which stops at the first non-hex byte.
  EXPECT_EQ(color("#fg0000"), 0x0F0000FFu);
}

TEST(ColorParser, RefusesFiveHexDigits) {
  for (const char* text : {"#abcde", "#", "#ab", "#abcdef0", "#abcdef012"}) {
    EXPECT_EQ(color(text), std::nullopt) << text;
  }
}

TEST(ColorParser, NamesAreExactAndFew) {
  EXPECT_EQ(color("clear"), 0xFFFFFF00u);
  EXPECT_EQ(color("transparent"), 0x00000000u);
  EXPECT_EQ(color("gray"), 0x808080FFu);
  for (const char* text : {"grey", "Red", "red ", "pink", ""}) {
    EXPECT_EQ(color(text), std::nullopt) << text;
  }
  uint32_t out = 7;
  EXPECT_FALSE(tryParseColor(nullptr, out));
  EXPECT_EQ(out, 7u);
}

TEST(ColorParser, RoundsChannelsAndReadsAlphaThreeWays) {
  EXPECT_EQ(color("RGB( 50% , 127.5, 0.5 )"), 0x808001FFu);
  EXPECT_EQ(color("rgb(-5, 300, 100%)"), 0x00FFFFFFu);
  EXPECT_EQ(color("RgBa(0,0,0,0.5)"), 0x00000080u);
  EXPECT_EQ(color("rgba(0,0,0,50%)"), 0x00000080u);
  EXPECT_EQ(color("rgba(0,0,0,2)"), 0x00000002u);  // above 1: taken as it is
  EXPECT_EQ(color("rgba(0,0,0,400)"), 0x000000FFu);
}

TEST(ColorParser, RefusesBlankSeparatorsAndWrongArgumentCounts) {
  for (const char* text : {"rgb(1 2 3)", "rgb(1,2)", "rgb(1,2,3,4)", "rgba(1,2,3)", "rgb(1,2,3",
                           "rgb(1,,3)", "rgb(a,b,c)"}) {
    EXPECT_EQ(color(text), std::nullopt) << text;
  }
}

TEST(ColorParser, ReadsHexInsideFunctionalForm) {
  EXPECT_EQ(color("rgba(#ff0000, 0.5)"), 0xFF000080u);
  EXPECT_EQ(color("rgb( #0f0)"), 0x00FF00FFu);
  // Alpha digits are read but dropped: the alpha comes from the form.
  EXPECT_EQ(color("rgb(#ff000080)"), 0xFF0000FFu);
  for (const char* text : {"rgb(#ff0000, 0.5)", "rgba(#ff0000)", "rgb(#ff000)", "rgb(#ff0000"}) {
    EXPECT_EQ(color(text), std::nullopt) << text;
  }
}

// ---------------------------------------------------------------------------------------

TEST_F(LengthParser, DecidesByByteCountAlone) {
  for (const char* text : {"5", "px", "100", "vmax", "50%", "10pt", "auto"}) {
    EXPECT_FALSE(length(text).ok) << text;
  }
  vh = 8;
  EXPECT_FLOAT_EQ(length("1vh").value, 8);
  // Only the given bytes count.
  float out = 0;
  bool dynamic = false;
  EXPECT_TRUE(parse_vw("10px junk", 4, out, dynamic, 16));
  EXPECT_FLOAT_EQ(out, 10);
}

TEST_F(LengthParser, ReadsTheNumberAtTheHeadOfTheValue) {
  EXPECT_FLOAT_EQ(length("12abcpx").value, 12);
  EXPECT_FLOAT_EQ(length("-1.5e1px").value, -15);
  const Length noNumber = length("abcpx");
  EXPECT_TRUE(noNumber.ok);
  EXPECT_EQ(noNumber.value, 0);
  // Only the last two bytes name the unit, so rem reads as em.
  EXPECT_FLOAT_EQ(length("2rem", 10).value, 20);
}

TEST_F(LengthParser, ScalesViewportAndFontUnitsAndMarksThemDynamic) {
  vw = 2;
  vmin = 3;
  vmax = 5;
  EXPECT_FALSE(length("10px").dynamic);
  const Length wide = length("50vw");
  EXPECT_FLOAT_EQ(wide.value, 100);
  EXPECT_TRUE(wide.dynamic);
  EXPECT_FLOAT_EQ(length("10vmin").value, 30);
  EXPECT_FLOAT_EQ(length("10vmax").value, 50);
  EXPECT_FLOAT_EQ(length("1.5em", 12).value, 18);
  EXPECT_TRUE(length("1.5em").dynamic);
  float out = 0;
  bool dynamic = true;
  EXPECT_TRUE(parse_vw("4px", 3, out, dynamic, 16));
  EXPECT_TRUE(dynamic);  // never cleared
}

TEST_F(LengthParser, ReadsInsetKeywordsExactly) {
  safeTop = 44;
  safeLeft = 7;
  const Length top = length("safe-top");
  EXPECT_FLOAT_EQ(top.value, 44);
  EXPECT_TRUE(top.dynamic);
  EXPECT_FLOAT_EQ(length("safe-left").value, 7);
  EXPECT_FLOAT_EQ(length("safe-top-comfort").value, comfortInsetVertical);
  EXPECT_FALSE(length("Safe-top").ok);
  EXPECT_FALSE(length("safe-middle").ok);
}

TEST_F(LengthParser, TakesSmallestOrLargestOfListUpToABadArgument) {
  EXPECT_FLOAT_EQ(length("min(10px, 5px)").value, 5);
  EXPECT_FLOAT_EQ(length("max(10px, 5px, 7px)").value, 10);
  EXPECT_FLOAT_EQ(length("min(\t3px ,\t2px\t)").value, 2);
  EXPECT_FLOAT_EQ(length("max(calc(1px + 2px), 2px)").value, 3);
  const Length truncated = length("min(10px, junk, 5px)");
  EXPECT_TRUE(truncated.ok);
  EXPECT_FLOAT_EQ(truncated.value, 10);
  EXPECT_FLOAT_EQ(length("max(3px,,9px)").value, 3);
  EXPECT_FALSE(length("min(junk, 5px)").ok);
  EXPECT_FALSE(length("min( )").ok);
}

TEST_F(LengthParser, ClampsMiddleArgumentBetweenTheOthers) {
  EXPECT_FLOAT_EQ(length("clamp(1px, 5px, 3px)").value, 3);
  EXPECT_FLOAT_EQ(length("clamp(4px, 2px, 8px)").value, 4);
  vw = 10;
  const Length viewport = length("clamp(1px, 5vw, 100px)");
  EXPECT_FLOAT_EQ(viewport.value, 50);
  EXPECT_TRUE(viewport.dynamic);
  for (const char* text : {"clamp(1px, 2px)", "clamp(1px, 2px, 3px, 4px)", "clamp(1px, junk, 3px)",
                           "clamp(1px, , 3px)"}) {
    EXPECT_FALSE(length(text).ok) << text;
  }
}

// ---------------------------------------------------------------------------------------

TEST_F(CalcParser, SubtractsFromViewportWidth) {
  vw = 2;
  const Length result = length("calc(100vw - 20px)");
  EXPECT_FLOAT_EQ(result.value, 180);
  EXPECT_TRUE(result.dynamic);
}

TEST_F(CalcParser, BindsProductsTighterThanSums) {
  EXPECT_FLOAT_EQ(length("calc(2 * 10px + 1px)").value, 21);
  EXPECT_FLOAT_EQ(length("calc(1px + 2px * 3)").value, 7);
  EXPECT_FLOAT_EQ(length("calc(10px - 2px - 3px)").value, 5);
  EXPECT_FLOAT_EQ(length("calc(20px / 2 / 5)").value, 2);
  EXPECT_FLOAT_EQ(length("calc(10px - 2 * 3px + 1px)").value, 5);
}

TEST_F(CalcParser, KeepsTheMinusInsideInsetKeywords) {
  vh = 8;
  safeTop = 44;
  safeBottom = 30;
  EXPECT_FLOAT_EQ(length("calc(100vh - safe-top)").value, 756);
  EXPECT_FLOAT_EQ(length("calc(100vh-safe-bottom)").value, 770);
  EXPECT_FLOAT_EQ(length("calc(100vh - safe-top-comfort)").value, 788);
  EXPECT_FLOAT_EQ(length("calc(safe-bottom-comfort + safe-left)").value, 12);
}

TEST_F(CalcParser, DoesNotNegateTheFirstTerm) {
  EXPECT_FLOAT_EQ(length("calc(-10px + 4px)").value, 14);
  // An empty term lets the later operator replace the earlier one.
  EXPECT_FLOAT_EQ(length("calc(10px + - 4px)").value, 6);
}

TEST_F(CalcParser, ReadsBareNumbersBracketsAndNestedFunctions) {
  EXPECT_FLOAT_EQ(length("calc(3 + 4)").value, 7);
  EXPECT_FLOAT_EQ(length("calc((1px + 2px) * 3 + 5px)").value, 5);  // a bracket reads as 0
  EXPECT_FLOAT_EQ(length("calc(calc(1px + 2px) * 2)").value, 6);
  EXPECT_FLOAT_EQ(length("calc(min(10px, 4px) + clamp(0px, 9px, 2px))").value, 6);
  EXPECT_FLOAT_EQ(length("calc(1px + 2px").value, 3);  // the bracket only ends the text
}

TEST_F(CalcParser, RefusesExpressionWithoutTerms) {
  EXPECT_FALSE(length("calc()").ok);
  EXPECT_FALSE(length("calc( )").ok);
  EXPECT_FALSE(length("calc(+ *)").ok);
}

// ---------------------------------------------------------------------------------------

TEST(BorderRadiusParser, GivesOneValueToAllCorners) {
  const auto one = radius("8px");
  ASSERT_TRUE(one);
  EXPECT_EQ(one->topLeft, 8);
  EXPECT_EQ(one->bottomLeft, 8);
  EXPECT_EQ(one->flag, 0u);
  EXPECT_EQ(radius("4")->topRight, 4);
  bool dynamic = false;
  EXPECT_TRUE(radius("2em", &dynamic));
  EXPECT_TRUE(dynamic);
}

TEST(BorderRadiusParser, TakesFourCornersClockwiseFromTopLeft) {
  const auto corners = radius("0 10px\t10px 0");
  ASSERT_TRUE(corners);
  EXPECT_EQ(corners->topLeft, 0);
  EXPECT_EQ(corners->topRight, 10);
  EXPECT_EQ(corners->bottomRight, 10);
  EXPECT_EQ(corners->bottomLeft, 0);
  EXPECT_EQ(corners->flag, 1u);
  EXPECT_EQ(radius("3px 3px 3px 3px")->flag, 0u);
}

TEST(BorderRadiusParser, RefusesTwoRadiiWrongCountsSlashesAndNegatives) {
  for (const char* text : {"10px 5px 10px 5px", "0 5px 0 6px", "10px 10px", "1px 1px 1px",
                           "1px 1px 1px 1px 1px", "10px / 5px", "-2px", "", "   "}) {
    EXPECT_FALSE(radius(text)) << text;
  }
}

// ---------------------------------------------------------------------------------------

struct Point {
  float x, y;
};

// A point is a row vector multiplied from the left.
Point apply(const TransformMatrix& m, Point p) {
  return {p.x * m[0] + p.y * m[3] + m[6], p.x * m[1] + p.y * m[4] + m[7]};
}

void expectMatrix(const TransformMatrix& actual, const TransformMatrix& expected) {
  for (size_t i = 0; i < 9; ++i) EXPECT_NEAR(actual[i], expected[i], 1e-5) << "element " << i;
}

TEST(TransformParser, GivesIdentityWithoutKnownFunctions) {
  expectMatrix(parse_transform(""), kIdentityMatrix);
  expectMatrix(parse_transform(nullptr), kIdentityMatrix);
  expectMatrix(parse_transform("rotateX(45deg) skew(10deg) translate3d(1px, 2px, 3px)"),
               kIdentityMatrix);
  expectMatrix(parse_transform("matrix(2, 0, 0, 2, 5, 5) Scale(3)"), kIdentityMatrix);
}

TEST(TransformParser, ReadsTranslationsWithOptionalCommaAndIgnoredUnits) {
  expectMatrix(parse_transform("translate(10px, 20px)"), {1, 0, 0, 0, 1, 0, 10, 20, 1});
  expectMatrix(parse_transform("translate(10% 20)"), {1, 0, 0, 0, 1, 0, 10, 20, 1});
  expectMatrix(parse_transform("translateX(5)"), {1, 0, 0, 0, 1, 0, 5, 0, 1});
  expectMatrix(parse_transform("translateY (7px)"), {1, 0, 0, 0, 1, 0, 0, 7, 1});
}

TEST(TransformParser, ReadsScalesPerAxis) {
  expectMatrix(parse_transform("scale(2)"), {2, 0, 0, 0, 2, 0, 0, 0, 1});
  expectMatrix(parse_transform("scale(2, 3)"), {2, 0, 0, 0, 3, 0, 0, 0, 1});
  expectMatrix(parse_transform("scaleX(2)"), {2, 0, 0, 0, 1, 0, 0, 0, 1});
  expectMatrix(parse_transform("scaleY(3)"), {1, 0, 0, 0, 3, 0, 0, 0, 1});
}

TEST(TransformParser, ReadsRotationInDegreesByDefaultOrRadians) {
  const TransformMatrix quarter = {0, 1, 0, -1, 0, 0, 0, 0, 1};
  expectMatrix(parse_transform("rotate(90deg)"), quarter);
  expectMatrix(parse_transform("rotate(90)"), quarter);
  expectMatrix(parse_transform("rotate(1.5707964rad)"), quarter);
  const Point p = apply(parse_transform("rotate(90deg)"), {1, 0});
  EXPECT_NEAR(p.x, 0, 1e-6);
  EXPECT_NEAR(p.y, 1, 1e-6);
}

TEST(TransformParser, AppliesTheFunctionWrittenFirstToThePointFirst) {
  const Point scaledThenMoved = apply(parse_transform("scale(2) translate(5px, 0)"), {1, 0});
  EXPECT_FLOAT_EQ(scaledThenMoved.x, 7);
  const Point movedThenScaled = apply(parse_transform("translate(5px, 0) scale(2)"), {1, 0});
  EXPECT_FLOAT_EQ(movedThenScaled.x, 12);
}

TEST(TransformParser, KeepsTheOffsetUnrotatedWhenRotationComesFirst) {
  const TransformMatrix rotateFirst = parse_transform("rotate(90deg) translate(10px, 0)");
  EXPECT_NEAR(rotateFirst[6], 10, 1e-5);
  EXPECT_NEAR(rotateFirst[7], 0, 1e-5);
  const TransformMatrix translateFirst = parse_transform("translate(10px, 0) rotate(90deg)");
  EXPECT_NEAR(translateFirst[6], 0, 1e-5);
  EXPECT_NEAR(translateFirst[7], 10, 1e-5);
}

TEST(TransformParser, PassesOverAWordWithoutBracket) {
  expectMatrix(parse_transform("scale translate(3px, 4px)"), {1, 0, 0, 0, 1, 0, 3, 4, 1});
  expectMatrix(parse_transform("rotate 90deg scale(2)"), {2, 0, 0, 0, 2, 0, 0, 0, 1});
}

}  // namespace
}  // namespace talvero
