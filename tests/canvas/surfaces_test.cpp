#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "canvas/canvas_font.h"
#include "canvas_test_support.h"

namespace talvero::canvas {
namespace {

using testing::isOpaqueRed;
using testing::kNaN;
using testing::pixelAt;
using testing::Program;
using Op = CanvasOp;

int64_t rasterizeEmpty(SurfaceTable& table, double width, double height, double scale = 1) {
  return Program{}.rasterize(table, 0, width, height, scale);
}

TEST(CanvasSurfaces, SizesAreRaisedToOnePointAndMultipliedByTheScaleInPixels) {
  SurfaceTable table;
  const Surface* thin = table.find(rasterizeEmpty(table, 0, 3));
  ASSERT_NE(thin, nullptr);
  EXPECT_EQ(thin->width, 1);
  EXPECT_EQ(thin->bitmap->width(), 1);
  EXPECT_EQ(thin->bitmap->height(), 3);
  EXPECT_EQ(pixelAt(*thin->bitmap, 0, 0).a, 0);  // nothing drawn: cleared

  const int64_t id = rasterizeEmpty(table, 100, 50, 2);
  const Surface* surface = table.find(id);
  EXPECT_EQ(surface->width, 100);
  EXPECT_EQ(surface->height, 50);
  const auto pixels = table.straightRGBA(id);
  EXPECT_EQ(pixels->width, 200);
  EXPECT_EQ(pixels->height, 100);
  EXPECT_EQ(pixels->rgba.size(), 200u * 100 * 4);
  // Fractional sizes round up; non-finite and non-positive scales count as 1.
  EXPECT_EQ(table.surfaceBitmap(rasterizeEmpty(table, 10.2, 10.2, 2))->width(), 21);
  EXPECT_EQ(table.surfaceBitmap(rasterizeEmpty(table, 10, 10, kNaN))->width(), 10);
  EXPECT_EQ(table.surfaceBitmap(rasterizeEmpty(table, 10, 10, -3))->width(), 10);
}

TEST(CanvasSurfaces, IdsGrowSkipScriptChosenIdsAndAreNeverReused) {
  SurfaceTable table;
  EXPECT_EQ(rasterizeEmpty(table, 2, 2), 1);
  EXPECT_EQ(Program{}.rasterize(table, 5), 5);
  EXPECT_EQ(rasterizeEmpty(table, 2, 2), 6);
  table.destroy(6);
  table.destroy(123);
  EXPECT_EQ(table.find(6), nullptr);
  EXPECT_EQ(rasterizeEmpty(table, 2, 2), 7);
  EXPECT_EQ(table.snapshot(123), 0);
  EXPECT_FALSE(table.straightRGBA(123));
}

TEST(CanvasSurfaces, ReplacingKeepsTheIdWhileHoldersAndSnapshotsKeepTheOldPicture) {
  SurfaceTable table;
  Program red;
  red.fill("red").op(Op::fillRect, {0, 0, 20, 20});
  const int64_t id = red.rasterize(table);
  const graphics::BitmapRef held = table.surfaceBitmap(id);
  const int64_t copy = table.snapshot(id);
  EXPECT_NE(copy, id);
  EXPECT_EQ(table.surfaceBitmap(copy), held);  // shared, not copied
  EXPECT_EQ(Program{}.rasterize(table, id), id);
  EXPECT_EQ(pixelAt(*table.surfaceBitmap(id), 5, 5).a, 0);
  EXPECT_TRUE(isOpaqueRed(pixelAt(*table.surfaceBitmap(copy), 5, 5)));
  EXPECT_TRUE(isOpaqueRed(pixelAt(*held, 5, 5)));
}

TEST(CanvasSurfaces, StraightRGBAUndoesPremultiplicationByIntegerDivision) {
  SurfaceTable table;
  Program p;
  p.fill("rgba(128, 0, 0, 0.502)").op(Op::fillRect, {0, 0, 20, 20});
  const int64_t id = p.rasterize(table);
  const auto stored = pixelAt(*table.surfaceBitmap(id), 3, 3);
  ASSERT_EQ(stored.a, 128);
  ASSERT_EQ(stored.r, 64);
  const auto pixels = table.straightRGBA(id);
  EXPECT_EQ(pixels->rgba[0], 127);
  EXPECT_EQ(pixels->rgba[3], 128);
}

TEST(CanvasBadInput, NonFiniteOrHugeSizesGiveZeroAndALine) {
  SurfaceTable table;
  ::testing::internal::CaptureStdout();
  EXPECT_EQ(rasterizeEmpty(table, kNaN, 10), 0);
  EXPECT_EQ(rasterizeEmpty(table, 10, INFINITY), 0);
  EXPECT_EQ(rasterizeEmpty(table, 1e9, 10), 0);
  EXPECT_EQ(rasterizeEmpty(table, 16385, 1), 0);
  EXPECT_EQ(rasterizeEmpty(table, 9000, 9000), 0);
  const std::string out = ::testing::internal::GetCapturedStdout();
  EXPECT_NE(out.find("[canvas] rasterize: width and height must be finite"), std::string::npos);
  EXPECT_NE(out.find("[canvas] rasterize: 1000000000x10 pixels is over the pixel limit"),
            std::string::npos);
  EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 5);
  EXPECT_EQ(rasterizeEmpty(table, 2, 2), 1);  // nothing was stored
}

// Red at (2, 2) from a first square, then `tail`, then a second square at (12, 12): whether
// each square was drawn.
std::pair<bool, bool> squaresAround(const std::function<void(Program&)>& tail,
                                    std::optional<int64_t> count = std::nullopt) {
  Program p;
  p.fill("red").op(Op::fillRect, {0, 0, 5, 5});
  tail(p);
  SurfaceTable table;
  const auto bitmap = table.surfaceBitmap(
      table.rasterize(0, 20, 20, 1, p.floats, count.value_or(std::ssize(p.floats)), p.strings));
  return {isOpaqueRed(pixelAt(*bitmap, 2, 2)), isOpaqueRed(pixelAt(*bitmap, 12, 12))};
}

TEST(CanvasBadInput, ReplayStopsAtBrokenCommandsAndKeepsWhatWasDrawn) {
  using Drawn = std::pair<bool, bool>;
  for (const double opcode : {31.0, -1.0, 25.5, kNaN, double(INFINITY)}) {
    EXPECT_EQ(squaresAround([&](Program& p) {
                p.raw(opcode).op(Op::fillRect, {10, 10, 5, 5});
              }),
              Drawn(true, false))
        << opcode;
  }
  const auto nanString = [](Program& p) {
    p.op(Op::fillStyle, {kNaN}).op(Op::fillRect, {10, 10, 5, 5});
  };
  EXPECT_EQ(squaresAround(nanString), Drawn(true, false));
  const auto truncated = [](Program& p) { p.raw(double(Op::fillRect), {10, 10, 5}); };
  EXPECT_EQ(squaresAround(truncated), Drawn(true, false));
  const auto second = [](Program& p) { p.op(Op::fillRect, {10, 10, 5, 5}); };
  EXPECT_EQ(squaresAround(second, 1000000), Drawn(true, true));
  EXPECT_EQ(squaresAround(second, 7), Drawn(true, false));
  EXPECT_EQ(squaresAround(second, 2), Drawn(false, false));
  EXPECT_EQ(squaresAround(second, -5), Drawn(false, false));
}

TEST(CanvasBadInput, NonFiniteCoordinatesSkipOnlyTheirCommandWithOneLine) {
  Program p;
  p.fill("red").op(Op::fillRect, {0, 0, kNaN, 5}).op(Op::translate, {INFINITY, 0});
  p.op(Op::fillRect, {10, 10, 5, 5});
  ::testing::internal::CaptureStdout();
  const auto bitmap = p.paint();
  EXPECT_EQ(::testing::internal::GetCapturedStdout(),
            "[canvas] rasterize: skipped 2 commands with arguments that are not finite\n");
  EXPECT_EQ(pixelAt(*bitmap, 2, 2).a, 0);
  EXPECT_TRUE(isOpaqueRed(pixelAt(*bitmap, 12, 12)));
}

TEST(CanvasBadInput, StringIndicesOutsideTheTableAreTheEmptyStringSoColourZero) {
  Program p;
  p.fill("red").op(Op::fillStyle, {-1}).op(Op::fillRect, {0, 0, 5, 5});
  p.fill("red").op(Op::fillStyle, {99}).op(Op::fillRect, {10, 10, 5, 5});
  const auto bitmap = p.paint();
  EXPECT_EQ(pixelAt(*bitmap, 2, 2).a, 0);
  EXPECT_EQ(pixelAt(*bitmap, 12, 12).a, 0);
}

TEST(CanvasBadInput, SavesPastTheDepthLimitAreIgnoredWithTheirRestores) {
  Program p;
  p.fill("red");
  for (int i = 0; i < 100000; ++i) p.op(Op::save);
  p.fill("blue");
  for (int i = 0; i < 100000 - kMaxSaveDepth; ++i) p.op(Op::restore);
  p.op(Op::fillRect, {0, 0, 5, 5});  // still inside the real saves: blue stands
  for (int i = 0; i < kMaxSaveDepth; ++i) p.op(Op::restore);
  p.op(Op::fillRect, {10, 10, 5, 5});
  ::testing::internal::CaptureStdout();
  const auto bitmap = p.paint();
  EXPECT_NE(::testing::internal::GetCapturedStdout().find("ignored 98976 saves"),
            std::string::npos);
  EXPECT_EQ(pixelAt(*bitmap, 2, 2).b, 255);
  EXPECT_TRUE(isOpaqueRed(pixelAt(*bitmap, 12, 12)));
}

TEST(CanvasFont, ParseReadsStyleWeightSizeAndTheFirstFamily) {
  struct Case {
    const char* text;
    std::optional<std::string> family;
    int weight, style;
    double size;
  };
  const Case cases[] = {
      {"italic bold 14px \"Helvetica Neue\", Arial", "Helvetica Neue", 700, 2, 14},
      {"oblique bolder 10px a", "a", 800, 2, 10},
      {"normal LIGHTER 10px a", "a", 300, 0, 10},
      {"600 10px a", "a", 600, 0, 10},
      {"6x0 10px a", "a", 400, 0, 10},
      {"  12.5px   'Noto Sans'  ", "Noto Sans", 400, 0, 12.5},
      {"20px", std::nullopt, 400, 0, 20},
      {"bold 1.5em Arial", std::nullopt, 700, 0, 16},
      {"px Arial", std::nullopt, 400, 0, 16},
  };
  for (const Case& c : cases) {
    const ParsedFont font = CanvasFont::parse(c.text);
    EXPECT_EQ(font.family, c.family) << c.text;
    EXPECT_EQ(font.weight, c.weight) << c.text;
    EXPECT_EQ(font.style, c.style) << c.text;
    EXPECT_EQ(font.size, c.size) << c.text;
  }
}

TEST(CanvasFont, ResolveDrawsHeavyWeightsRegularAndItalicAsAsked) {
  EXPECT_EQ(CanvasFont::resolve("800 10px").weight, 400);
  EXPECT_EQ(CanvasFont::resolve("900 10px").weight, 400);
  EXPECT_EQ(CanvasFont::resolve("bold 10px").weight, 700);
  EXPECT_EQ(CanvasFont::resolve("100 10px").weight, 100);
  EXPECT_TRUE(CanvasFont::resolve("italic 10px Serif").italic);
  EXPECT_EQ(CanvasFont::resolve("italic 10px Serif").family, "Serif");
}

}  // namespace
}  // namespace talvero::canvas
