#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <limits>
#include <numbers>

#include "graphics/pixels.h"
#include "platform/graphics/graphics_context.h"
#include "platform/graphics/pixel_limit.h"

using namespace talvero::graphics;
using talvero::testing::isOpaqueRed;
using talvero::testing::pixelAt;

namespace {

constexpr Color kRed{1, 0, 0, 1};
constexpr Color kBlue{0, 0, 1, 1};
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

std::unique_ptr<GraphicsContext> redContext(int size = 20, double scale = 1) {
  auto ctx = GraphicsContext::create(size, size, scale);
  ctx->setFill(kRed);
  return ctx;
}

bool inked(const Bitmap& bitmap, int x, int y) {
  return pixelAt(bitmap, x, y).a > 0;
}

// Pixels (left, top) to (right, bottom) are solid red and those just outside them are empty.
void expectRedBox(const Bitmap& bitmap, int left, int top, int right, int bottom) {
  EXPECT_TRUE(isOpaqueRed(pixelAt(bitmap, left, top)));
  EXPECT_TRUE(isOpaqueRed(pixelAt(bitmap, right, bottom)));
  EXPECT_FALSE(inked(bitmap, left - 1, top));
  EXPECT_FALSE(inked(bitmap, left, top - 1));
  EXPECT_FALSE(inked(bitmap, right + 1, bottom));
  EXPECT_FALSE(inked(bitmap, right, bottom + 1));
}

}  // namespace

TEST(PixelLimit, AcceptsUpToSixteenKOnASideAndSixtyFourMebipixelsInAll) {
  EXPECT_TRUE(fitsPixelLimit(1, 1));
  EXPECT_TRUE(fitsPixelLimit(16384, 4096));
  EXPECT_TRUE(fitsPixelLimit(8192, 8192));
  EXPECT_FALSE(fitsPixelLimit(16385, 1));
  EXPECT_FALSE(fitsPixelLimit(1, 16385));
  EXPECT_FALSE(fitsPixelLimit(16384, 4097));
  EXPECT_FALSE(fitsPixelLimit(0, 10));
  EXPECT_FALSE(fitsPixelLimit(10, -1));
}

TEST(GraphicsContext, RefusesSizesOverTheLimitAndBadScales) {
  EXPECT_EQ(GraphicsContext::create(0, 10, 1), nullptr);
  EXPECT_EQ(GraphicsContext::create(16385, 1, 1), nullptr);
  EXPECT_EQ(GraphicsContext::create(16384, 4097, 1), nullptr);
  EXPECT_EQ(GraphicsContext::create(10, 10, 0), nullptr);
  EXPECT_EQ(GraphicsContext::create(10, 10, kNaN), nullptr);
  auto ctx = GraphicsContext::create(3, 2, 1);
  ASSERT_NE(ctx, nullptr);
  BitmapRef bitmap = ctx->finish();
  ASSERT_NE(bitmap, nullptr);
  EXPECT_EQ(bitmap->width(), 3);
  EXPECT_EQ(bitmap->height(), 2);
  EXPECT_EQ(pixelAt(*bitmap, 2, 1).a, 0);
  EXPECT_EQ(ctx->finish(), nullptr);
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

TEST(GraphicsContext, RestoreBringsBackTransformPaintAndAlpha) {
  auto ctx = GraphicsContext::create(20, 20, 1);
  ctx->save();
  ctx->setFill(kRed);
  ctx->setGlobalAlpha(0.25);
  ctx->translate(10, 0);
  ctx->restore();
  ctx->fillRect(0, 0, 5, 5);
  BitmapRef bitmap = ctx->finish();
  const auto p = pixelAt(*bitmap, 1, 1);
  EXPECT_EQ(p.a, 255);
  EXPECT_EQ(p.r, 0);
  EXPECT_FALSE(inked(*bitmap, 11, 1));
}

TEST(GraphicsContext, RestoreWithoutSaveChangesNothingAndKeepsDrawing) {
  auto ctx = redContext();
  ctx->translate(5, 0);
  ctx->restore();
  ctx->restore();
  ctx->fillRect(0, 0, 2, 2);
  ctx->save();
  ctx->translate(0, 10);
  ctx->restore();
  ctx->fillRect(0, 4, 2, 2);
  BitmapRef bitmap = ctx->finish();
  EXPECT_TRUE(isOpaqueRed(pixelAt(*bitmap, 5, 0)));
  EXPECT_TRUE(isOpaqueRed(pixelAt(*bitmap, 5, 4)));
  EXPECT_FALSE(inked(*bitmap, 0, 0));
  EXPECT_FALSE(inked(*bitmap, 5, 14));
}

TEST(GraphicsContext, SingularTransformPausesDrawingUntilItsRestore) {
  auto ctx = redContext();
  ctx->save();
  ctx->scale(0, 0);
  ctx->fillRect(0, 0, 10, 10);
  ctx->translate(1, 1);
  ctx->restore();
  ctx->save();
  ctx->rotate(kNaN);
  ctx->fillRect(0, 0, 10, 10);
  ctx->restore();
  ctx->save();
  ctx->translate(kNaN, 0);
  ctx->moveTo(0, 0);
  ctx->lineTo(10, 0);
  ctx->lineTo(10, 10);
  ctx->fill();
  ctx->restore();
  ctx->fillRect(12, 12, 4, 4);
  BitmapRef bitmap = ctx->finish();
  EXPECT_FALSE(inked(*bitmap, 5, 5));
  EXPECT_FALSE(inked(*bitmap, 9, 1));
  EXPECT_TRUE(isOpaqueRed(pixelAt(*bitmap, 13, 13)));
}

TEST(GraphicsContext, GlobalAlphaHalvesEveryKindOfPaint) {
  auto source = redContext(4);
  source->fillRect(0, 0, 4, 4);
  BitmapRef image = source->finish();

  auto ctx = redContext(40);
  ctx->setGlobalAlpha(0.5);
  ctx->fillRect(0, 0, 10, 10);
  Gradient gradient;
  gradient.x1 = 40;
  gradient.stops = {{0, kBlue}, {1, kBlue}};
  ctx->setFill(gradient);
  ctx->fillRect(10, 0, 10, 10);
  ctx->drawBitmap(*image, 0, 0, 4, 4, 20, 0, 10, 10);
  ctx->setStroke(kRed);
  ctx->setLineWidth(6);
  ctx->moveTo(0, 20);
  ctx->lineTo(40, 20);
  ctx->stroke();
  BitmapRef bitmap = ctx->finish();
  for (int x : {5, 15, 25}) EXPECT_NEAR(pixelAt(*bitmap, x, 5).a, 128, 1) << "x " << x;
  EXPECT_NEAR(pixelAt(*bitmap, 5, 20).a, 128, 1);
}

TEST(GraphicsContext, ArcDirectionFollowsTheFlagAndHugeSweepsEndAtOnce) {
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

  const auto start = std::chrono::steady_clock::now();
  auto ctx = redContext(40);
  ctx->arc(10, 10, 5, 0, 1e9, 1);
  ctx->fill();
  ctx->arc(30, 10, 5, 0, -1e9, 0);
  ctx->fill();
  // Radii far beyond the bitmap end at once too; this edge crosses it as a straight line.
  ctx->arc(20, 4e6 + 30, 4e6, 0, std::numbers::pi * 2, 1);
  ctx->fill();
  ctx->arc(20, 20, 1e300, 0, 1, 1);
  ctx->beginPath();
  BitmapRef full = ctx->finish();
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
  EXPECT_TRUE(isOpaqueRed(pixelAt(*full, 10, 10)));
  EXPECT_TRUE(isOpaqueRed(pixelAt(*full, 30, 10)));
  EXPECT_FALSE(inked(*full, 10, 17));
  EXPECT_FALSE(inked(*full, 20, 28));
  EXPECT_TRUE(isOpaqueRed(pixelAt(*full, 20, 31)));
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
  ctx->strokeRect(30, 30, 5, 5);
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
  EXPECT_FALSE(inked(*bitmap, 12, 12));
}

TEST(GraphicsContext, ClearRectPunchesATransparentHoleWhateverTheAlpha) {
  auto ctx = redContext();
  ctx->fillRect(0, 0, 20, 20);
  ctx->setGlobalAlpha(0.3);
  ctx->clearRect(5, 5, 5, 5);
  BitmapRef bitmap = ctx->finish();
  EXPECT_EQ(pixelAt(*bitmap, 7, 7).a, 0);
  EXPECT_TRUE(isOpaqueRed(pixelAt(*bitmap, 4, 4)));
  EXPECT_TRUE(isOpaqueRed(pixelAt(*bitmap, 10, 10)));
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
  EXPECT_FALSE(inked(*bitmap, 1, 1));
  EXPECT_FALSE(inked(*bitmap, 18, 10));
  for (int at : {20, 39}) {
    const auto p = pixelAt(*bitmap, at, at);
    EXPECT_EQ(p.a, 255) << at;
    EXPECT_EQ(p.b, 255) << at;
    EXPECT_EQ(p.r, 0) << at;
  }
}

TEST(GraphicsContext, BadDashesAndLineWidthsLeaveAWorkingContext) {
  auto ctx = GraphicsContext::create(40, 12, 1);
  ctx->setStroke(kRed);
  ctx->moveTo(0, 5.5);
  ctx->lineTo(40, 5.5);
  ctx->stroke();  // one pixel wide by default
  ctx->setLineWidth(2);
  ctx->setLineWidth(-3);
  ctx->setLineWidth(kNaN);
  ctx->setMiterLimit(0);
  ctx->setLineDash({-1, 2}, 0);
  ctx->setLineDash({0, 0}, 0);
  ctx->moveTo(0, 2);
  ctx->lineTo(40, 2);
  ctx->stroke();
  ctx->setLineDash({4, 4}, 0);
  ctx->moveTo(0, 8);
  ctx->lineTo(40, 8);
  ctx->stroke();
  BitmapRef bitmap = ctx->finish();
  for (int x = 0; x < 40; ++x) EXPECT_TRUE(isOpaqueRed(pixelAt(*bitmap, x, 2))) << x;
  EXPECT_FALSE(inked(*bitmap, 0, 4));
  EXPECT_TRUE(isOpaqueRed(pixelAt(*bitmap, 0, 5)));
  EXPECT_FALSE(inked(*bitmap, 0, 6));
  EXPECT_TRUE(inked(*bitmap, 1, 8));
  EXPECT_FALSE(inked(*bitmap, 5, 8));
}

TEST(GraphicsContext, GradientsPaintTheirStopsAndHonourExtend) {
  Gradient gradient;
  gradient.x0 = 10;
  gradient.x1 = 30;
  gradient.stops = {{0, kRed}, {1, kBlue}};
  gradient.extend = Extend::None;
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
  auto ctx = GraphicsContext::create(2, 1, 1);
  ctx->setFill(Color{128.0 / 255, 0, 0, 128.0 / 255});
  ctx->fillRect(0, 0, 1, 1);
  BitmapRef bitmap = ctx->finish();
  const auto premultiplied = pixelAt(*bitmap, 0, 0);
  ASSERT_EQ(premultiplied.a, 128);
  ASSERT_EQ(premultiplied.r, 64);
  const std::vector<uint8_t> rgba = bitmap->straightRGBA();
  ASSERT_EQ(rgba.size(), 8u);
  EXPECT_EQ(rgba[0], 127);
  EXPECT_EQ(rgba[3], 128);
  for (int i = 4; i < 8; ++i) EXPECT_EQ(rgba[i], 0);
}
