#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <numbers>

#include "platform/graphics/graphics_context.h"
#include "platform/graphics/pixel_limit.h"
#include "platform/graphics/text_line.h"

using namespace talvero::graphics;

namespace {

struct Argb {
  int a, r, g, b;  // premultiplied, as stored
};

Argb pixelAt(const Bitmap& bitmap, int x, int y) {
  uint32_t word;
  std::memcpy(&word, bitmap.data() + y * bitmap.stride() + x * 4, 4);
  return {int(word >> 24), int(word >> 16 & 0xff), int(word >> 8 & 0xff), int(word & 0xff)};
}

bool isOpaqueRed(Argb p) {
  return p.a == 255 && p.r == 255 && p.g == 0 && p.b == 0;
}
bool inked(const Bitmap& bitmap, int x, int y) {
  return pixelAt(bitmap, x, y).a > 0;
}

constexpr Color kRed{1, 0, 0, 1};
constexpr Color kBlue{0, 0, 1, 1};
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

std::unique_ptr<GraphicsContext> redContext(int size = 20, double scale = 1) {
  auto ctx = GraphicsContext::create(size, size, scale);
  ctx->setFill(kRed);
  return ctx;
}

// Pixels (left, top) to (right, bottom) are solid red and those just outside them are empty.
void expectRedBox(const Bitmap& bitmap, int left, int top, int right, int bottom) {
  EXPECT_TRUE(isOpaqueRed(pixelAt(bitmap, left, top)));
  EXPECT_TRUE(isOpaqueRed(pixelAt(bitmap, right, bottom)));
  EXPECT_FALSE(inked(bitmap, left - 1, top) || inked(bitmap, left, top - 1));
  EXPECT_FALSE(inked(bitmap, right + 1, bottom) || inked(bitmap, right, bottom + 1));
}

}  // namespace

TEST(PixelLimit, AcceptsUpToSixteenKOnASideAndSixtyFourMebipixelsInAll) {
  EXPECT_TRUE(fitsPixelLimit(16384, 4096));
  EXPECT_FALSE(fitsPixelLimit(16385, 1));
  EXPECT_FALSE(fitsPixelLimit(1, 16385));
  EXPECT_FALSE(fitsPixelLimit(16384, 4097));
  EXPECT_FALSE(fitsPixelLimit(0, 10));
}

TEST(GraphicsContext, RefusesSizesOverTheLimitAndBadScales) {
  EXPECT_EQ(GraphicsContext::create(0, 10, 1), nullptr);
  EXPECT_EQ(GraphicsContext::create(16384, 4097, 1), nullptr);
  EXPECT_EQ(GraphicsContext::create(10, 10, 0), nullptr);
  EXPECT_EQ(GraphicsContext::create(10, 10, kNaN), nullptr);
}

TEST(GraphicsContext, FillRectLandsOnExactPixelsUnderEachTransform) {
  auto translated = redContext();
  translated->translate(5, 5);
  translated->fillRect(0, 0, 2, 2);
  expectRedBox(*translated->finish(), 5, 5, 6, 6);

  auto scaled = redContext();
  scaled->scale(2, 3);
  scaled->fillRect(1, 1, 2, 2);
  expectRedBox(*scaled->finish(), 2, 3, 5, 8);

  auto rotated = redContext();
  rotated->translate(10, 10);
  rotated->rotate(std::numbers::pi / 2);  // (x, y) goes to (10 - y, 10 + x)
  rotated->fillRect(0, 0, 4, 2);
  expectRedBox(*rotated->finish(), 8, 10, 9, 13);

  auto atScale = redContext(20, 2);
  atScale->concat(1, 0, 0, 1, 1, 0);
  atScale->fillRect(1, 1, 2, 2);  // units 2..4 by 1..3
  expectRedBox(*atScale->finish(), 4, 2, 7, 5);
}

TEST(GraphicsContext, RestoreBringsBackTheSavedStateAndIgnoresAnUnmatchedCall) {
  auto ctx = redContext();
  ctx->translate(5, 0);
  ctx->restore();  // nothing saved: the translation stays
  ctx->save();
  ctx->setFill(kBlue);
  ctx->setGlobalAlpha(0.25);
  ctx->translate(0, 10);
  ctx->restore();
  ctx->fillRect(0, 0, 2, 2);
  BitmapRef bitmap = ctx->finish();
  EXPECT_TRUE(isOpaqueRed(pixelAt(*bitmap, 5, 0)));
  EXPECT_FALSE(inked(*bitmap, 0, 0));
  EXPECT_FALSE(inked(*bitmap, 5, 10));
}

TEST(GraphicsContext, SingularTransformPausesDrawingUntilItsRestore) {
  auto ctx = redContext();
  ctx->save();
  ctx->scale(0, 0);
  ctx->fillRect(0, 0, 10, 10);
  ctx->restore();
  ctx->save();
  ctx->translate(kNaN, 0);
  ctx->rect(0, 0, 10, 10);
  ctx->fill();
  ctx->restore();
  ctx->fillRect(12, 12, 4, 4);
  BitmapRef bitmap = ctx->finish();
  EXPECT_FALSE(inked(*bitmap, 5, 5));
  EXPECT_TRUE(isOpaqueRed(pixelAt(*bitmap, 13, 13)));
}

TEST(GraphicsContext, GlobalAlphaHalvesColoursAndBitmapsButClearRectStillEmpties) {
  auto source = redContext(4);
  source->fillRect(0, 0, 4, 4);
  BitmapRef image = source->finish();
  auto ctx = redContext(40);
  ctx->fillRect(0, 0, 20, 20);
  ctx->setGlobalAlpha(0.5);
  ctx->clearRect(5, 5, 5, 5);
  ctx->fillRect(20, 0, 10, 10);
  ctx->drawBitmap(*image, 0, 0, 4, 4, 20, 10, 10, 10);
  BitmapRef bitmap = ctx->finish();
  EXPECT_EQ(pixelAt(*bitmap, 7, 7).a, 0);
  EXPECT_TRUE(isOpaqueRed(pixelAt(*bitmap, 4, 4)) && isOpaqueRed(pixelAt(*bitmap, 10, 10)));
  EXPECT_NEAR(pixelAt(*bitmap, 25, 5).a, 128, 1);
  EXPECT_NEAR(pixelAt(*bitmap, 25, 15).a, 128, 1);
}

TEST(GraphicsContext, ArcDirectionFollowsTheFlagAndHugeArcsEndAtOnce) {
  const auto quarter = [](double flag) {
    auto ctx = redContext();
    ctx->moveTo(10, 10);
    ctx->arc(10, 10, 8, 0, std::numbers::pi / 2, flag);
    ctx->closePath();
    ctx->fill();
    return ctx->finish();
  };
  BitmapRef increasing = quarter(1);  // towards +y: the lower right quarter
  EXPECT_TRUE(inked(*increasing, 13, 13));
  EXPECT_FALSE(inked(*increasing, 6, 6));
  BitmapRef decreasing = quarter(0);  // the other three quarters
  EXPECT_FALSE(inked(*decreasing, 13, 13));
  EXPECT_TRUE(inked(*decreasing, 6, 6));

  // Flattened naively, either arc below would emit segments for hours.
  auto ctx = redContext();
  ctx->arc(10, 10, 1e300, 0, 1, 1);
  ctx->beginPath();
  ctx->arc(10, 10, 5, 0, 1e9, 1);
  ctx->fill();
  BitmapRef circle = ctx->finish();
  EXPECT_TRUE(isOpaqueRed(pixelAt(*circle, 10, 10)));
  EXPECT_FALSE(inked(*circle, 10, 17));

  // A start so far from 0 that a turn later is the same double, or a few radians off.
  for (double start : {-3.6e16, -1e300}) {
    auto far = redContext();
    far->arc(10, 10, 5, start, 0, 1);
    far->fill();
    BitmapRef disc = far->finish();
    EXPECT_TRUE(isOpaqueRed(pixelAt(*disc, 10, 10))) << start;
    EXPECT_FALSE(inked(*disc, 10, 17)) << start;
  }
}

TEST(GraphicsContext, EvenOddLeavesTheInnerSquareEmpty) {
  for (FillRule rule : {FillRule::EvenOdd, FillRule::NonZero}) {
    auto ctx = redContext();
    ctx->rect(0, 0, 20, 20);
    ctx->rect(5, 5, 10, 10);
    ctx->fill(rule);
    BitmapRef bitmap = ctx->finish();
    EXPECT_TRUE(inked(*bitmap, 2, 2));
    EXPECT_EQ(inked(*bitmap, 10, 10), rule == FillRule::NonZero);
  }
}

TEST(GraphicsContext, PathOutlivesOneOffDrawingButNotFill) {
  auto ctx = redContext(40);
  ctx->rect(0, 0, 5, 5);
  ctx->fillRect(20, 20, 5, 5);
  ctx->clearRect(30, 0, 5, 5);
  ctx->fillText(TextLine("Hi", {}), 20, 15);
  ctx->fill();
  ctx->setStroke(kBlue);
  ctx->setLineWidth(4);
  ctx->stroke();  // the fill used the rectangle up: nothing to stroke
  BitmapRef bitmap = ctx->finish();
  EXPECT_TRUE(isOpaqueRed(pixelAt(*bitmap, 2, 2)));
  EXPECT_TRUE(isOpaqueRed(pixelAt(*bitmap, 22, 22)));
  EXPECT_FALSE(inked(*bitmap, 6, 2));
}

TEST(GraphicsContext, DrawBitmapFillsTheDestinationWithUnfadedEdges) {
  auto source = GraphicsContext::create(4, 4, 2);  // 2 by 2 units: left red, right blue
  source->setFill(kRed);
  source->fillRect(0, 0, 1, 2);
  source->setFill(kBlue);
  source->fillRect(1, 0, 1, 2);
  BitmapRef image = source->finish();
  ASSERT_EQ(image->width(), 4);

  auto ctx = GraphicsContext::create(40, 40, 1);
  ctx->drawBitmap(*image, 0, 0, 4, 4, 2, 2, 16, 16);
  ctx->drawBitmap(*image, 2, 0, 2, 4, 20, 20, 20, 20);  // the blue half alone, stretched
  BitmapRef bitmap = ctx->finish();
  EXPECT_TRUE(isOpaqueRed(pixelAt(*bitmap, 2, 2)));
  EXPECT_TRUE(isOpaqueRed(pixelAt(*bitmap, 2, 17)));
  EXPECT_EQ(pixelAt(*bitmap, 17, 17).a, 255);
  EXPECT_FALSE(inked(*bitmap, 1, 1) || inked(*bitmap, 18, 10));
  for (int at : {20, 39}) {
    const auto p = pixelAt(*bitmap, at, at);
    EXPECT_TRUE(p.a == 255 && p.b == 255 && p.r == 0) << at;
  }
}

TEST(GraphicsContext, GradientsPaintTheirStopsAndHonourExtend) {
  Gradient gradient{.x0 = 10, .x1 = 30, .stops = {{0, kRed}, {1, kBlue}}, .extend = Extend::None};
  auto ctx = GraphicsContext::create(40, 20, 1);
  ctx->setFill(gradient);
  ctx->fillRect(0, 0, 40, 10);
  gradient.extend = Extend::Pad;
  ctx->rect(0, 10, 20, 10);
  ctx->clip();
  ctx->paint(gradient);
  BitmapRef bitmap = ctx->finish();
  EXPECT_FALSE(inked(*bitmap, 5, 5));
  EXPECT_GT(pixelAt(*bitmap, 11, 5).r, 200);
  EXPECT_GT(pixelAt(*bitmap, 29, 5).b, 200);
  EXPECT_FALSE(inked(*bitmap, 35, 5));
  EXPECT_TRUE(isOpaqueRed(pixelAt(*bitmap, 2, 15)));
  EXPECT_FALSE(inked(*bitmap, 25, 15));
}

TEST(Bitmap, StraightRGBAUndoesPremultiplicationWithIntegerDivision) {
  auto ctx = GraphicsContext::create(1, 1, 1);
  ctx->setFill(Color{128.0 / 255, 0, 0, 128.0 / 255});
  ctx->fillRect(0, 0, 1, 1);
  BitmapRef bitmap = ctx->finish();
  ASSERT_EQ(pixelAt(*bitmap, 0, 0).r, 64);
  EXPECT_EQ(bitmap->straightRGBA(), (std::vector<uint8_t>{127, 0, 0, 128}));
}

TEST(TextLine, DrawsAsWideAsItMeasuresAtEveryScale) {
  // Full blocks have no side bearings, so their ink spans exactly their advance.
  TextLine line("\u2588\u2588\u2588\u2588\u2588\u2588\u2588", {"DejaVu Sans", 400, false, 13});
  ASSERT_GT(line.width(), 40);
  for (double scale : {1.0, 1.5, 3.0}) {
    auto ctx = GraphicsContext::create(int(120 * scale), int(30 * scale), scale);
    ctx->fillText(line, 10.25, 20);
    BitmapRef bitmap = ctx->finish();
    int first = -1, last = -1;  // columns at least half covered, on a row through the blocks
    for (int x = 0; x < bitmap->width(); ++x) {
      if (pixelAt(*bitmap, x, int(15 * scale)).a < 128) continue;
      if (first < 0) first = x;
      last = x;
    }
    ASSERT_GE(first, 0) << "scale " << scale;
    EXPECT_NEAR((last - first + 1) / scale, line.width(), 1.0) << "scale " << scale;
  }
}

TEST(TextLine, StrokesAHollowOutlineInTheStrokePaint) {
  TextLine line("O", {"", 400, false, 30});
  auto ctx = GraphicsContext::create(40, 40, 1);
  ctx->setFill(Color{0, 1, 0, 1});
  ctx->setStroke(kRed);
  ctx->setLineWidth(2);
  ctx->strokeText(line, 5, 32);
  BitmapRef bitmap = ctx->finish();
  int red = 0, green = 0;
  for (int i = 0; i < 40 * 40; ++i) {
    red += pixelAt(*bitmap, i % 40, i / 40).r > 200;
    green += pixelAt(*bitmap, i % 40, i / 40).g > 0;
  }
  EXPECT_GT(red, 30);
  EXPECT_EQ(green, 0);
  EXPECT_EQ(pixelAt(*bitmap, 5 + int(line.width() / 2), 21).a, 0);
}
