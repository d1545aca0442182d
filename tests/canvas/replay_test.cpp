#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "canvas/surfaces.h"
#include "canvas_test_support.h"

namespace talvero::canvas {
namespace {

using testing::Argb;
using testing::isOpaqueRed;
using testing::paint;
using testing::pixelAt;
using testing::Program;
using Op = CanvasOp;

constexpr double kPi = std::numbers::pi;

TEST(CanvasReplay, FillRectFollowsTranslateScaleAndRotate) {
  SurfaceTable table;
  Program p;
  p.fill("red").op(Op::translate, {10, 2}).op(Op::scale, {2, 2}).op(Op::fillRect, {0, 0, 2, 2});
  auto bitmap = paint(table, p);
  EXPECT_TRUE(isOpaqueRed(pixelAt(*bitmap, 12, 4)));
  EXPECT_EQ(pixelAt(*bitmap, 9, 4).a, 0);
  EXPECT_EQ(pixelAt(*bitmap, 15, 4).a, 0);

  // A quarter turn about the origin carries +x onto +y (y runs down).
  Program r;
  r.fill("red").op(Op::rotate, {kPi / 2}).op(Op::fillRect, {2, -4, 10, 2});
  bitmap = paint(table, r);
  EXPECT_TRUE(isOpaqueRed(pixelAt(*bitmap, 3, 8)));
  EXPECT_EQ(pixelAt(*bitmap, 8, 3).a, 0);
}

TEST(CanvasReplay, RestoreBringsBackColourAlphaAndTransform) {
  SurfaceTable table;
  Program p;
  p.fill("red")
      .op(Op::save)
      .fill("blue")
      .op(Op::globalAlpha, {0.25})
      .op(Op::translate, {10, 10})
      .op(Op::fillRect, {0, 0, 2, 2})
      .op(Op::restore)
      .op(Op::fillRect, {0, 0, 2, 2});
  auto bitmap = paint(table, p);
  EXPECT_TRUE(isOpaqueRed(pixelAt(*bitmap, 1, 1)));
  const Argb faint = pixelAt(*bitmap, 11, 11);
  EXPECT_NEAR(faint.a, 64, 1);
  EXPECT_NEAR(faint.b, 64, 1);
  EXPECT_EQ(faint.r, 0);
}

TEST(CanvasReplay, GlobalAlphaHalfGivesAlpha128) {
  SurfaceTable table;
  Program p;
  p.fill("#00ff00").op(Op::globalAlpha, {0.5}).op(Op::fillRect, {0, 0, 20, 20});
  EXPECT_NEAR(pixelAt(*paint(table, p), 5, 5).a, 128, 1);
}

TEST(CanvasReplay, LineJoinOutOfRangeIsClampedToBevel) {
  // A thick right angle: a miter fills the outer corner, a bevel cuts it off.
  const auto corner = [](double join) {
    SurfaceTable table;
    Program p;
    p.op(Op::strokeStyle, {p.str("red")})
        .op(Op::lineWidth, {8})
        .op(Op::lineJoin, {join})
        .op(Op::moveTo, {6, 30})
        .op(Op::lineTo, {6, 6})
        .op(Op::lineTo, {30, 6})
        .op(Op::stroke);
    return pixelAt(*paint(table, p, 40, 40), 3, 3).a;
  };
  EXPECT_EQ(corner(0), 255);
  EXPECT_EQ(corner(2), 0);
  EXPECT_EQ(corner(7), 0);
}

TEST(CanvasReplay, EvenOddLeavesTheInnerSquareOpenAndNonZeroFillsIt) {
  const auto centre = [](double rule) {
    SurfaceTable table;
    Program p;
    p.fill("red").op(Op::rect, {0, 0, 20, 20}).op(Op::rect, {5, 5, 10, 10}).op(Op::fill, {rule});
    auto bitmap = paint(table, p);
    EXPECT_TRUE(isOpaqueRed(pixelAt(*bitmap, 2, 2)));
    return pixelAt(*bitmap, 10, 10).a;
  };
  EXPECT_EQ(centre(0), 255);
  EXPECT_EQ(centre(1), 0);
}

TEST(CanvasReplay, ArcFlagsSweepOppositeWays) {
  // From angle 0 to a quarter turn: flag 1 takes the short way through the lower right, flag 0
  // the long way round through the other three quarters.
  const auto sweep = [](double flag) {
    SurfaceTable table;
    Program p;
    p.fill("red")
        .op(Op::moveTo, {20, 20})
        .op(Op::arc, {20, 20, 15, 0, kPi / 2, flag})
        .op(Op::closePath)
        .op(Op::fill, {0});
    return paint(table, p, 40, 40);
  };
  const auto shortWay = sweep(1), longWay = sweep(0);
  EXPECT_EQ(pixelAt(*shortWay, 27, 27).a, 255);
  EXPECT_EQ(pixelAt(*shortWay, 13, 13).a, 0);
  EXPECT_EQ(pixelAt(*longWay, 27, 27).a, 0);
  EXPECT_EQ(pixelAt(*longWay, 13, 13).a, 255);
}

TEST(CanvasReplay, RoundRectBecomesAPillAndNegativeRadiusAPlainRectangle) {
  const auto rounded = [](double r) {
    SurfaceTable table;
    Program p;
    p.fill("red").op(Op::roundRect, {0, 0, 40, 20, r}).op(Op::fill, {0});
    return paint(table, p, 40, 20);
  };
  const auto pill = rounded(100);
  EXPECT_EQ(pixelAt(*pill, 0, 0).a, 0);
  EXPECT_GT(pixelAt(*pill, 1, 10).a, 200);  // the end is a half circle of radius 10
  EXPECT_EQ(pixelAt(*pill, 1, 2).a, 0);
  EXPECT_EQ(pixelAt(*pill, 38, 17).a, 0);
  EXPECT_EQ(pixelAt(*pill, 20, 0).a, 255);
  const auto plain = rounded(-5);
  EXPECT_TRUE(isOpaqueRed(pixelAt(*plain, 0, 0)));
  EXPECT_TRUE(isOpaqueRed(pixelAt(*plain, 39, 19)));
}

TEST(CanvasReplay, ClearRectCutsATransparentHole) {
  SurfaceTable table;
  Program p;
  p.fill("red").op(Op::fillRect, {0, 0, 20, 20}).op(Op::clearRect, {5, 5, 5, 5});
  auto bitmap = paint(table, p);
  EXPECT_EQ(pixelAt(*bitmap, 7, 7).a, 0);
  EXPECT_TRUE(isOpaqueRed(pixelAt(*bitmap, 12, 12)));
}

TEST(CanvasReplay, PathSurvivesFillRectAndTextAndIsUsedUpByFill) {
  SurfaceTable table;
  Program p;
  p.fill("red")
      .op(Op::rect, {0, 0, 5, 5})
      .op(Op::fillRect, {30, 30, 2, 2})
      .op(Op::fillText, {p.str("x"), 30, 20, 0})
      .op(Op::fill, {0})
      .fill("blue")
      .op(Op::fill, {0});  // nothing left to fill
  auto bitmap = paint(table, p, 40, 40);
  EXPECT_TRUE(isOpaqueRed(pixelAt(*bitmap, 2, 2)));
}

TEST(CanvasReplay, DrawImageTakesSourcePixelsOfAScaledSurface) {
  SurfaceTable table;
  Program source;
  source.fill("red").op(Op::fillRect, {0, 0, 5, 10}).fill("blue").op(Op::fillRect, {5, 0, 5, 10});
  const int64_t id = table.rasterize(0, 10, 10, 2, source.floats, source.count(), source.strings);
  // The right half of the source is pixels 10 to 20 at scale 2.
  Program p;
  p.op(Op::drawImage, {static_cast<double>(id), 10, 0, 10, 20, 0, 0, 20, 20});
  auto bitmap = paint(table, p);
  const Argb blue = pixelAt(*bitmap, 10, 10);
  EXPECT_EQ(blue.b, 255);
  EXPECT_EQ(blue.r, 0);
}

TEST(CanvasReplay, DrawImageOfTheSurfaceBeingReplacedShowsItsPreviousPicture) {
  SurfaceTable table;
  Program red;
  red.fill("red").op(Op::fillRect, {0, 0, 20, 20});
  const int64_t id = table.rasterize(0, 20, 20, 1, red.floats, red.count(), red.strings);
  Program again;
  again.op(Op::drawImage, {static_cast<double>(id), 0, 0, 20, 20, 0, 0, 10, 10});
  EXPECT_EQ(table.rasterize(id, 20, 20, 1, again.floats, again.count(), again.strings), id);
  auto bitmap = table.surfaceBitmap(id);
  EXPECT_TRUE(isOpaqueRed(pixelAt(*bitmap, 5, 5)));
  EXPECT_EQ(pixelAt(*bitmap, 15, 15).a, 0);
}

TEST(CanvasReplay, DrawImageOfAnUnknownSurfaceUsesUpItsArguments) {
  SurfaceTable table;
  Program p;
  p.fill("red").op(Op::drawImage, {99, 0, 0, 1, 1, 0, 0, 20, 20}).op(Op::fillRect, {0, 0, 2, 2});
  auto bitmap = paint(table, p);
  EXPECT_TRUE(isOpaqueRed(pixelAt(*bitmap, 1, 1)));
  EXPECT_EQ(pixelAt(*bitmap, 10, 10).a, 0);
}

// The leftmost and rightmost inked columns of the bitmap, or -1.
std::pair<int, int> inkedColumns(const graphics::Bitmap& bitmap) {
  int first = -1, last = -1;
  for (int x = 0; x < bitmap.width(); ++x) {
    for (int y = 0; y < bitmap.height(); ++y) {
      if (pixelAt(bitmap, x, y).a > 0) {
        if (first < 0) first = x;
        last = x;
        break;
      }
    }
  }
  return {first, last};
}

std::pair<int, int> inkedRows(const graphics::Bitmap& bitmap) {
  int first = -1, last = -1;
  for (int y = 0; y < bitmap.height(); ++y) {
    for (int x = 0; x < bitmap.width(); ++x) {
      if (pixelAt(bitmap, x, y).a > 0) {
        if (first < 0) first = y;
        last = y;
        break;
      }
    }
  }
  return {first, last};
}

TEST(CanvasText, RightAlignedTextEndsAtX) {
  const TextMetrics metrics = measureText("HHH", "20px");
  ASSERT_GT(metrics.width, 10);
  SurfaceTable table;
  Program p;
  p.op(Op::font, {p.str("20px")})
      .op(Op::textAlign, {2})
      .op(Op::fillText, {p.str("HHH"), 150, 50, 0});
  const auto [first, last] = inkedColumns(*paint(table, p, 200, 100));
  EXPECT_NEAR(last + 1, 150, 1.5);
  EXPECT_NEAR(first, 150 - metrics.width, 3);
}

TEST(CanvasText, BaselinesPlaceTheGlyphsAsTheTableSays) {
  const TextMetrics metrics = measureText("H", "20px");
  const auto rows = [](double baseline) {
    SurfaceTable table;
    Program p;
    p.op(Op::font, {p.str("20px")})
        .op(Op::textBaseline, {baseline})
        .op(Op::fillText, {p.str("H"), 10, 50, 0});
    return inkedRows(*paint(table, p, 60, 100));
  };
  // Alphabetic: the capital sits on y.
  EXPECT_NEAR(rows(0).second + 1, 50, 1.5);
  // Top: y + ascent is the baseline.
  EXPECT_NEAR(rows(1).second + 1, 50 + metrics.ascent, 1.5);
  // Bottom: y - descent.
  EXPECT_NEAR(rows(3).second + 1, 50 - metrics.descent, 1.5);
  EXPECT_EQ(rows(5), rows(3));
  EXPECT_NEAR(rows(4).second + 1, 50 + 0.8 * metrics.ascent, 1.5);
  EXPECT_NEAR(rows(2).second + 1, 50 + (metrics.ascent - metrics.descent) / 2, 1.5);
}

TEST(CanvasText, StrokeTextOutlinesInTheStrokeColour) {
  SurfaceTable table;
  Program p;
  p.op(Op::font, {p.str("bold 40px")})
      .op(Op::strokeStyle, {p.str("#0000ff")})
      .op(Op::strokeText, {p.str("O"), 5, 45, 0});
  auto bitmap = paint(table, p, 60, 60);
  EXPECT_GT(inkedColumns(*bitmap).first, 0);
  bool anyRed = false;
  for (int y = 0; y < 60; ++y)
    for (int x = 0; x < 60; ++x) anyRed |= pixelAt(*bitmap, x, y).r > 0;
  EXPECT_FALSE(anyRed);
}

TEST(CanvasText, MeasureTextGrowsWithTheFontSize) {
  const TextMetrics small = measureText("Hello", "10px");
  const TextMetrics large = measureText("Hello", "20px");
  EXPECT_NEAR(large.width, 2 * small.width, 1);
  EXPECT_GT(large.ascent, small.ascent);
  EXPECT_GT(large.descent, 0);
  EXPECT_EQ(measureText("", "20px").width, 0);
}

}  // namespace
}  // namespace talvero::canvas
