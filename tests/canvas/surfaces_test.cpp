#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "canvas/canvas_font.h"
#include "canvas/surfaces.h"
#include "canvas_test_support.h"

namespace talvero::canvas {
namespace {

using testing::isOpaqueRed;
using testing::paint;
using testing::pixelAt;
using testing::Program;
using Op = CanvasOp;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

int64_t rasterize(SurfaceTable& table, const Program& p, int64_t id = 0, double w = 20,
                  double h = 20, double scale = 1) {
  return table.rasterize(id, w, h, scale, p.floats, p.count(), p.strings);
}

TEST(CanvasSurfaces, EmptyProgramGivesAClearedSurfaceAndWidthZeroGivesOnePoint) {
  SurfaceTable table;
  const int64_t id = rasterize(table, Program{}, 0, 0, 3);
  ASSERT_EQ(id, 1);
  const Surface* surface = table.find(id);
  EXPECT_EQ(surface->width, 1);
  EXPECT_EQ(surface->bitmap->width(), 1);
  EXPECT_EQ(surface->bitmap->height(), 3);
  EXPECT_EQ(pixelAt(*surface->bitmap, 0, 0).a, 0);
}

TEST(CanvasSurfaces, ScaleMultipliesPixelsButNotPoints) {
  SurfaceTable table;
  const int64_t id = rasterize(table, Program{}, 0, 100, 50, 2);
  const Surface* surface = table.find(id);
  EXPECT_EQ(surface->width, 100);
  EXPECT_EQ(surface->height, 50);
  EXPECT_EQ(surface->scale, 2);
  const auto pixels = table.straightRGBA(id);
  ASSERT_TRUE(pixels);
  EXPECT_EQ(pixels->width, 200);
  EXPECT_EQ(pixels->height, 100);
  EXPECT_EQ(pixels->rgba.size(), 200u * 100 * 4);
  // Fractional sizes round up; non-finite and non-positive scales count as 1.
  EXPECT_EQ(table.surfaceBitmap(rasterize(table, Program{}, 0, 10.2, 10.2, 2))->width(), 21);
  EXPECT_EQ(table.surfaceBitmap(rasterize(table, Program{}, 0, 10, 10, kNaN))->width(), 10);
  EXPECT_EQ(table.surfaceBitmap(rasterize(table, Program{}, 0, 10, 10, -3))->width(), 10);
}

TEST(CanvasSurfaces, IdsGrowSkipScriptChosenIdsAndAreNeverReused) {
  SurfaceTable table;
  EXPECT_EQ(rasterize(table, Program{}), 1);
  EXPECT_EQ(rasterize(table, Program{}, 5), 5);
  EXPECT_EQ(rasterize(table, Program{}), 6);
  table.destroy(6);
  EXPECT_EQ(table.find(6), nullptr);
  EXPECT_EQ(rasterize(table, Program{}), 7);
  table.destroy(123);  // unknown: nothing
  EXPECT_EQ(table.snapshot(123), 0);
}

TEST(CanvasSurfaces, ReplacingKeepsTheIdWhileHoldersAndSnapshotsKeepTheOldPicture) {
  SurfaceTable table;
  Program red;
  red.fill("red").op(Op::fillRect, {0, 0, 20, 20});
  const int64_t id = rasterize(table, red);
  const graphics::BitmapRef held = table.surfaceBitmap(id);
  const int64_t copy = table.snapshot(id);
  EXPECT_NE(copy, id);
  EXPECT_EQ(table.surfaceBitmap(copy), held);  // shared, not copied

  EXPECT_EQ(rasterize(table, Program{}, id), id);
  EXPECT_EQ(pixelAt(*table.surfaceBitmap(id), 5, 5).a, 0);
  EXPECT_TRUE(isOpaqueRed(pixelAt(*table.surfaceBitmap(copy), 5, 5)));
  EXPECT_TRUE(isOpaqueRed(pixelAt(*held, 5, 5)));
}

TEST(CanvasSurfaces, StraightRGBAUndoesPremultiplicationByIntegerDivision) {
  SurfaceTable table;
  Program p;
  // Premultiplied, this is red 64 over alpha 128.
  p.fill("rgba(128, 0, 0, 0.502)").op(Op::fillRect, {0, 0, 20, 20});
  const int64_t id = rasterize(table, p);
  const auto stored = pixelAt(*table.surfaceBitmap(id), 3, 3);
  ASSERT_EQ(stored.a, 128);
  ASSERT_EQ(stored.r, 64);
  const auto pixels = table.straightRGBA(id);
  EXPECT_EQ(pixels->rgba[0], 127);
  EXPECT_EQ(pixels->rgba[3], 128);
  EXPECT_FALSE(table.straightRGBA(99));
}

TEST(CanvasBadInput, NonFiniteOrHugeSizesGiveZeroAndALine) {
  SurfaceTable table;
  ::testing::internal::CaptureStdout();
  EXPECT_EQ(rasterize(table, Program{}, 0, kNaN, 10), 0);
  EXPECT_EQ(rasterize(table, Program{}, 0, 10, INFINITY), 0);
  EXPECT_EQ(rasterize(table, Program{}, 0, 1e9, 10), 0);
  EXPECT_EQ(rasterize(table, Program{}, 0, 16385, 1), 0);
  EXPECT_EQ(rasterize(table, Program{}, 0, 9000, 9000), 0);
  // Finite, but past every integer type.
  EXPECT_EQ(rasterize(table, Program{}, 0, 1e30, 10), 0);
  const std::string out = ::testing::internal::GetCapturedStdout();
  EXPECT_NE(out.find("[canvas] rasterize: width and height must be finite"), std::string::npos);
  EXPECT_NE(out.find("[canvas] rasterize: 1000000000x10 pixels is over the pixel limit"),
            std::string::npos);
  EXPECT_NE(out.find("[canvas] rasterize: 1000000000000000019884624838656x10 pixels is over"),
            std::string::npos);
  EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 6);
  // Nothing was stored, so the counter did not move.
  EXPECT_EQ(rasterize(table, Program{}), 1);
}

TEST(CanvasBadInput, ATruncatedListKeepsWhatWasDrawn) {
  SurfaceTable table;
  Program p;
  p.fill("red").op(Op::fillRect, {0, 0, 5, 5});
  p.floats.push_back(static_cast<float>(Op::fillRect));
  p.floats.push_back(10);  // three arguments missing
  auto bitmap = paint(table, p);
  EXPECT_TRUE(isOpaqueRed(pixelAt(*bitmap, 2, 2)));
  EXPECT_EQ(pixelAt(*bitmap, 12, 2).a, 0);
}

TEST(CanvasBadInput, CountBeyondTheArrayIsCutAndNegativeCountDrawsNothing) {
  SurfaceTable table;
  Program p;
  p.fill("red").op(Op::fillRect, {0, 0, 5, 5});
  auto id = table.rasterize(0, 20, 20, 1, p.floats, 1000000, p.strings);
  EXPECT_TRUE(isOpaqueRed(pixelAt(*table.surfaceBitmap(id), 2, 2)));
  id = table.rasterize(0, 20, 20, 1, p.floats, -5, p.strings);
  EXPECT_EQ(pixelAt(*table.surfaceBitmap(id), 2, 2).a, 0);
  // A count short of the list reads only its front.
  id = table.rasterize(0, 20, 20, 1, p.floats, 2, p.strings);
  EXPECT_EQ(pixelAt(*table.surfaceBitmap(id), 2, 2).a, 0);
}

TEST(CanvasBadInput, OpcodesOutsideTheTableEndTheReplay) {
  for (const double opcode : {31.0, -1.0, 25.5, kNaN, static_cast<double>(INFINITY)}) {
    SurfaceTable table;
    Program p;
    p.fill("red").op(Op::fillRect, {0, 0, 5, 5}).raw(opcode).op(Op::fillRect, {10, 10, 5, 5});
    auto bitmap = paint(table, p);
    EXPECT_TRUE(isOpaqueRed(pixelAt(*bitmap, 2, 2))) << opcode;
    EXPECT_EQ(pixelAt(*bitmap, 12, 12).a, 0) << opcode;
  }
}

TEST(CanvasBadInput, NaNStringIndexEndsTheReplay) {
  SurfaceTable table;
  Program p;
  p.fill("red").op(Op::fillRect, {0, 0, 5, 5}).op(Op::fillStyle, {kNaN});
  p.op(Op::fillRect, {10, 10, 5, 5});
  auto bitmap = paint(table, p);
  EXPECT_TRUE(isOpaqueRed(pixelAt(*bitmap, 2, 2)));
  EXPECT_EQ(pixelAt(*bitmap, 12, 12).a, 0);
}

TEST(CanvasBadInput, NaNCoordinatesSkipOnlyTheirCommandWithOneLine) {
  SurfaceTable table;
  Program p;
  p.fill("red")
      .op(Op::fillRect, {0, 0, kNaN, 5})
      .op(Op::translate, {INFINITY, 0})
      .op(Op::fillRect, {10, 10, 5, 5});
  ::testing::internal::CaptureStdout();
  auto bitmap = paint(table, p);
  const std::string out = ::testing::internal::GetCapturedStdout();
  EXPECT_EQ(pixelAt(*bitmap, 2, 2).a, 0);
  EXPECT_TRUE(isOpaqueRed(pixelAt(*bitmap, 12, 12)));
  EXPECT_EQ(out, "[canvas] rasterize: skipped 2 commands with arguments that are not finite\n");
}

TEST(CanvasBadInput, OutOfRangeStringIndexIsTheEmptyStringSoColourZero) {
  SurfaceTable table;
  Program p;
  p.fill("red").op(Op::fillStyle, {-1}).op(Op::fillRect, {0, 0, 5, 5});
  p.fill("red").op(Op::fillStyle, {99}).op(Op::fillRect, {10, 10, 5, 5});
  auto bitmap = paint(table, p);
  EXPECT_EQ(pixelAt(*bitmap, 2, 2).a, 0);
  EXPECT_EQ(pixelAt(*bitmap, 12, 12).a, 0);
}

TEST(CanvasBadInput, SavesPastTheDepthLimitAreIgnoredWithTheirRestores) {
  SurfaceTable table;
  Program p;
  p.fill("red");
  for (int i = 0; i < 100000; ++i) p.op(Op::save);
  p.fill("blue");
  for (int i = 0; i < 100000 - kMaxSaveDepth; ++i) p.op(Op::restore);
  // Still inside the real saves: blue stands.
  p.op(Op::fillRect, {0, 0, 5, 5});
  for (int i = 0; i < kMaxSaveDepth; ++i) p.op(Op::restore);
  p.op(Op::fillRect, {10, 10, 5, 5});
  ::testing::internal::CaptureStdout();
  auto bitmap = paint(table, p);
  const std::string out = ::testing::internal::GetCapturedStdout();
  EXPECT_EQ(pixelAt(*bitmap, 2, 2).b, 255);
  EXPECT_TRUE(isOpaqueRed(pixelAt(*bitmap, 12, 12)));
  EXPECT_NE(out.find("ignored 98976 saves"), std::string::npos);
}

TEST(CanvasBadInput, RestoreWithoutSaveChangesNothing) {
  SurfaceTable table;
  Program p;
  p.fill("red").op(Op::translate, {10, 10}).op(Op::restore).op(Op::restore);
  p.op(Op::fillRect, {0, 0, 5, 5});
  auto bitmap = paint(table, p);
  EXPECT_TRUE(isOpaqueRed(pixelAt(*bitmap, 12, 12)));
  EXPECT_EQ(pixelAt(*bitmap, 2, 2).a, 0);
}

TEST(CanvasFontParse, StyleWeightSizeAndTheFirstQuotedFamily) {
  const ParsedFont font = CanvasFont::parse("italic bold 14px \"Helvetica Neue\", Arial");
  EXPECT_EQ(font.family, "Helvetica Neue");
  EXPECT_EQ(font.weight, 700);
  EXPECT_EQ(font.style, 2);
  EXPECT_EQ(font.size, 14);
}

TEST(CanvasFontParse, KeywordsAndNumbersSetTheWeightAndStyle) {
  EXPECT_EQ(CanvasFont::parse("oblique 10px a").style, 2);
  EXPECT_EQ(CanvasFont::parse("normal 10px a").style, 0);
  EXPECT_EQ(CanvasFont::parse("bolder 10px a").weight, 800);
  EXPECT_EQ(CanvasFont::parse("LIGHTER 10px a").weight, 300);
  EXPECT_EQ(CanvasFont::parse("600 10px a").weight, 600);
  EXPECT_EQ(CanvasFont::parse("6x0 10px a").weight, 400);
  EXPECT_EQ(CanvasFont::parse("  12.5px   'Noto Sans'  ").family, "Noto Sans");
  EXPECT_EQ(CanvasFont::parse("  12.5px   'Noto Sans'  ").size, 12.5);
}

TEST(CanvasFontParse, WithoutAPixelSizeThereIsNoFamilyAndSize16) {
  const ParsedFont font = CanvasFont::parse("bold 1.5em Arial");
  EXPECT_FALSE(font.family);
  EXPECT_EQ(font.size, 16);
  EXPECT_EQ(font.weight, 700);
  EXPECT_FALSE(CanvasFont::parse("20px").family);
  EXPECT_EQ(CanvasFont::parse("px Arial").size, 16);
}

TEST(CanvasFontResolve, HeavyWeightsResolveToRegular) {
  EXPECT_EQ(CanvasFont::resolve("800 10px").weight, 400);
  EXPECT_EQ(CanvasFont::resolve("900 10px").weight, 400);
  EXPECT_EQ(CanvasFont::resolve("bold 10px").weight, 700);
  EXPECT_EQ(CanvasFont::resolve("100 10px").weight, 100);
  EXPECT_TRUE(CanvasFont::resolve("italic 10px Serif").italic);
  EXPECT_EQ(CanvasFont::resolve("italic 10px Serif").family, "Serif");
}

}  // namespace
}  // namespace talvero::canvas
