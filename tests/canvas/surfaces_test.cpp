#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

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

TEST(CanvasSurfaces, EmptySurfacesAreClearAtLeastOnePointAndScaledInPixelsOnly) {
  struct Case {
    double width, height, scale;
    int pixelWidth, pixelHeight;
    double pointWidth;
  };
  // Fractional sizes round up; non-finite and non-positive scales count as 1.
  const Case cases[] = {{0, 3, 1, 1, 3, 1},
                        {100, 50, 2, 200, 100, 100},
                        {10.2, 1, 2, 21, 2, 10.2},
                        {10, 10, kNaN, 10, 10, 10},
                        {10, 10, -3, 10, 10, 10}};
  SurfaceTable table;
  for (const Case& c : cases) {
    const int64_t id = rasterizeEmpty(table, c.width, c.height, c.scale);
    const auto pixels = table.straightRGBA(id);
    ASSERT_TRUE(pixels) << c.width;
    EXPECT_EQ(pixels->width, c.pixelWidth) << c.width;
    EXPECT_EQ(pixels->height, c.pixelHeight) << c.width;
    EXPECT_EQ(pixels->rgba, std::vector<uint8_t>(size_t(c.pixelWidth * c.pixelHeight * 4), 0));
    EXPECT_EQ(table.find(id)->width, c.pointWidth) << c.width;
  }
  EXPECT_EQ(table.find(2)->height, 50);
}

TEST(CanvasSurfaces, IdsAreNeverReusedAndReplacingOneLeavesHoldersTheOldPicture) {
  SurfaceTable table;
  Program red;
  red.fill("red").op(Op::fillRect, {0, 0, 20, 20});
  const int64_t id = red.rasterize(table);
  const graphics::BitmapRef held = table.surfaceBitmap(id);
  EXPECT_EQ(table.snapshot(id), 2);
  EXPECT_EQ(table.surfaceBitmap(2), held);  // shared, not copied
  EXPECT_EQ(Program{}.rasterize(table, id), id);
  EXPECT_EQ(pixelAt(*table.surfaceBitmap(id), 5, 5).a, 0);
  EXPECT_TRUE(isOpaqueRed(pixelAt(*table.surfaceBitmap(2), 5, 5)));
  EXPECT_TRUE(isOpaqueRed(pixelAt(*held, 5, 5)));

  EXPECT_EQ(Program{}.rasterize(table, 5), 5);
  table.destroy(5);
  table.destroy(123);
  EXPECT_EQ(table.find(5), nullptr);
  EXPECT_EQ(rasterizeEmpty(table, 2, 2), 6);
  EXPECT_EQ(table.snapshot(123), 0);
  EXPECT_FALSE(table.straightRGBA(123));
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
  EXPECT_EQ(rasterizeEmpty(table, 1e30, 10), 0);  // finite, but past every integer type
  const std::string out = ::testing::internal::GetCapturedStdout();
  EXPECT_NE(out.find("[canvas] rasterize: width and height must be finite"), std::string::npos);
  EXPECT_NE(out.find("[canvas] rasterize: 1000000000x10 pixels is over the pixel limit"),
            std::string::npos);
  EXPECT_NE(out.find("[canvas] rasterize: 1000000000000000019884624838656x10 pixels is over"),
            std::string::npos);
  EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 6);
  EXPECT_EQ(rasterizeEmpty(table, 2, 2), 1);  // nothing was stored
}

// Whether the red squares at (2, 2) and (12, 12) were drawn, with `middle` between them and
// `count` floats of the program read.
std::pair<bool, bool> squaresAround(const std::vector<float>& middle,
                                    std::optional<int64_t> count = std::nullopt) {
  Program p;
  p.fill("red").op(Op::fillRect, {0, 0, 5, 5});
  p.floats.insert(p.floats.end(), middle.begin(), middle.end());
  p.op(Op::fillRect, {10, 10, 5, 5});
  SurfaceTable table;
  const auto bitmap = table.surfaceBitmap(
      table.rasterize(0, 20, 20, 1, p.floats, count.value_or(std::ssize(p.floats)), p.strings));
  return {isOpaqueRed(pixelAt(*bitmap, 2, 2)), isOpaqueRed(pixelAt(*bitmap, 12, 12))};
}

TEST(CanvasBadInput, ReplayStopsAtBrokenCommandsAndKeepsWhatWasDrawn) {
  using Drawn = std::pair<bool, bool>;
  for (const float opcode : {31.0f, -1.0f, 25.5f, float(kNaN), float(INFINITY)})
    EXPECT_EQ(squaresAround({opcode}), Drawn(true, false)) << opcode;
  EXPECT_EQ(squaresAround({float(Op::fillStyle), float(kNaN)}), Drawn(true, false));
  // The count cuts the list: past its end, in the second square's arguments, before any.
  EXPECT_EQ(squaresAround({}, 1000000), Drawn(true, true));
  EXPECT_EQ(squaresAround({}, 11), Drawn(true, false));
  EXPECT_EQ(squaresAround({}, 2), Drawn(false, false));
  EXPECT_EQ(squaresAround({}, -5), Drawn(false, false));
}

TEST(CanvasBadInput, BadArgumentsSpoilOnlyTheirOwnCommand) {
  Program p;
  p.fill("red").op(Op::fillRect, {0, 0, kNaN, 5}).op(Op::translate, {INFINITY, 0});
  p.op(Op::fillRect, {10, 10, 5, 5});
  // String indices outside the table are the empty string, so colour 0.
  p.op(Op::fillStyle, {-1}).op(Op::fillRect, {0, 10, 5, 5});
  p.fill("red").op(Op::fillStyle, {99}).op(Op::fillRect, {10, 0, 5, 5});
  p.fill("red").op(Op::fillRect, {15, 15, 5, 5});
  ::testing::internal::CaptureStdout();
  const auto bitmap = p.paint();
  EXPECT_EQ(::testing::internal::GetCapturedStdout(),
            "[canvas] rasterize: skipped 2 commands with arguments that are not finite\n");
  EXPECT_EQ(pixelAt(*bitmap, 2, 2).a, 0);
  EXPECT_TRUE(isOpaqueRed(pixelAt(*bitmap, 12, 12)));
  EXPECT_EQ(pixelAt(*bitmap, 2, 12).a, 0);
  EXPECT_EQ(pixelAt(*bitmap, 12, 2).a, 0);
  EXPECT_TRUE(isOpaqueRed(pixelAt(*bitmap, 17, 17)));
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
    const ParsedFont f = CanvasFont::parse(c.text);
    EXPECT_EQ(std::tie(f.family, f.weight, f.style, f.size),
              std::tie(c.family, c.weight, c.style, c.size))
        << c.text;
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
