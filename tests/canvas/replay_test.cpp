#include <gtest/gtest.h>

#include <algorithm>
#include <numbers>
#include <string>
#include <vector>

#include "canvas_test_support.h"

namespace talvero::canvas {
namespace {

using testing::Argb;
using testing::isOpaqueRed;
using testing::pixelAt;
using testing::Program;
using Op = CanvasOp;

constexpr double kPi = std::numbers::pi;

struct Probe {
  int x, y;
  bool red;  // nearly opaque red; otherwise nearly transparent
};

struct PaintCase {
  const char* name;
  Program program;
  std::vector<Probe> probes;
  double size = 20;
};

Program red() {
  Program p;
  p.fill("red");
  return p;
}

// A thick right angle from (10, 30) over (10, 10) to (30, 10): the join and the caps show in
// pixels just outside that path.
Program corner(Op setting, double value) {
  Program p;
  p.op(Op::strokeStyle, {p.str("red")}).op(Op::lineWidth, {8}).op(setting, {value});
  p.op(Op::moveTo, {10, 30}).op(Op::lineTo, {10, 10}).op(Op::lineTo, {30, 10}).op(Op::stroke);
  return p;
}

TEST(CanvasReplay, PaintsShapesPathsAndStrokesWhereTheyBelong) {
  const PaintCase cases[] = {
      {"translate and scale",
       red().op(Op::translate, {10, 2}).op(Op::scale, {2, 2}).op(Op::fillRect, {0, 0, 2, 2}),
       {{12, 4, true}, {9, 4, false}, {15, 4, false}}},
      // A quarter turn about the origin carries +x onto +y (y runs down).
      {"rotate", red().op(Op::rotate, {kPi / 2}).op(Op::fillRect, {2, -4, 10, 2}),
       {{3, 8, true}, {8, 3, false}}},
      {"non-zero", red().op(Op::rect, {0, 0, 20, 20}).op(Op::rect, {5, 5, 10, 10}).op(Op::fill, {0}),
       {{2, 2, true}, {10, 10, true}}},
      {"even-odd", red().op(Op::rect, {0, 0, 20, 20}).op(Op::rect, {5, 5, 10, 10}).op(Op::fill, {1}),
       {{2, 2, true}, {10, 10, false}}},
      // From angle 0 to a quarter turn: flag 1 goes the short way through the lower right.
      {"arc flag 1",
       red().op(Op::moveTo, {20, 20}).op(Op::arc, {20, 20, 15, 0, kPi / 2, 1}).op(Op::fill, {0}),
       {{27, 27, true}, {13, 13, false}}, 40},
      {"arc flag 0",
       red().op(Op::moveTo, {20, 20}).op(Op::arc, {20, 20, 15, 0, kPi / 2, 0}).op(Op::fill, {0}),
       {{27, 27, false}, {13, 13, true}}, 40},
      // Flattened naively, this would emit segments for hours.
      {"arc of 1e9 radians", red().op(Op::arc, {10, 10, 5, 0, 1e9, 1}).op(Op::fill, {0}),
       {{10, 10, true}, {10, 17, false}}},
      {"roundRect pill", red().op(Op::roundRect, {0, 0, 40, 20, 100}).op(Op::fill, {0}),
       {{0, 0, false}, {1, 10, true}, {1, 2, false}, {38, 17, false}, {20, 0, true}}, 40},
      {"roundRect negative r", red().op(Op::roundRect, {0, 0, 40, 20, -5}).op(Op::fill, {0}),
       {{0, 0, true}, {39, 19, true}}, 40},
      {"clearRect", red().op(Op::fillRect, {0, 0, 20, 20}).op(Op::clearRect, {5, 5, 5, 5}),
       {{7, 7, false}, {12, 12, true}}},
      // The blue fill finds no path left, so the red square stays red.
      {"path across fillRect and text",
       [] {
         Program p = red();
         p.op(Op::rect, {0, 0, 5, 5}).op(Op::fillRect, {30, 30, 2, 2});
         p.op(Op::fillText, {p.str("x"), 30, 20, 0}).op(Op::fill, {0});
         return p.fill("blue").op(Op::fill, {0});
       }(),
       {{2, 2, true}},
       40},
      {"drawImage of no surface",
       red().op(Op::drawImage, {99, 0, 0, 1, 1, 0, 0, 20, 20}).op(Op::fillRect, {0, 0, 2, 2}),
       {{1, 1, true}, {10, 10, false}}},
      {"miter join", corner(Op::lineJoin, 0), {{6, 6, true}}, 40},
      {"round join", corner(Op::lineJoin, 1), {{7, 7, true}, {6, 6, false}}, 40},
      {"bevel join", corner(Op::lineJoin, 2), {{7, 7, false}, {6, 6, false}}, 40},
      {"join 7 is bevel", corner(Op::lineJoin, 7), {{7, 7, false}, {6, 6, false}}, 40},
      {"butt cap", corner(Op::lineCap, 0), {{31, 10, false}}, 40},
      {"round cap", corner(Op::lineCap, 1), {{31, 10, true}, {33, 6, false}}, 40},
      {"square cap", corner(Op::lineCap, 2), {{33, 6, true}}, 40},
      {"cap 9 is square", corner(Op::lineCap, 9), {{33, 6, true}}, 40},
  };
  for (const PaintCase& c : cases) {
    const auto bitmap = c.program.paint(c.size, c.size);
    for (const Probe& probe : c.probes) {
      const Argb p = pixelAt(*bitmap, probe.x, probe.y);
      const bool isRed = p.a > 200 && p.r == p.a && p.b == 0;
      const bool isClear = p.a < 8;
      EXPECT_TRUE(probe.red ? isRed : isClear) << c.name << " at " << probe.x << "," << probe.y;
    }
  }
}

TEST(CanvasReplay, RestoreBringsBackColourAlphaAndTransformButAnUnmatchedOneDoesNothing) {
  Program p = red();
  p.op(Op::translate, {1, 1}).op(Op::restore).op(Op::save).fill("blue");
  p.op(Op::globalAlpha, {0.5}).op(Op::translate, {10, 10}).op(Op::fillRect, {0, 0, 2, 2});
  p.op(Op::restore).op(Op::fillRect, {0, 0, 2, 2});
  const auto bitmap = p.paint();
  EXPECT_TRUE(isOpaqueRed(pixelAt(*bitmap, 2, 2)));
  EXPECT_EQ(pixelAt(*bitmap, 0, 0).a, 0);
  const Argb half = pixelAt(*bitmap, 12, 12);
  EXPECT_NEAR(half.a, 128, 1);
  EXPECT_NEAR(half.b, 128, 1);
  EXPECT_EQ(half.r, 0);
}

TEST(CanvasReplay, DrawImageCutsSourcePixelsAndSeesThePictureItReplaces) {
  SurfaceTable table;
  Program halves = red();
  halves.op(Op::fillRect, {0, 0, 5, 10}).fill("blue").op(Op::fillRect, {5, 0, 5, 10});
  const int64_t source = halves.rasterize(table, 0, 10, 10, 2);
  // The blue right half of the source is pixels 10 to 20 at scale 2.
  Program right;
  right.op(Op::drawImage, {double(source), 10, 0, 10, 20, 0, 0, 20, 20});
  const Argb blue = pixelAt(*table.surfaceBitmap(right.rasterize(table)), 10, 10);
  EXPECT_EQ(blue.b, 255);
  EXPECT_EQ(blue.r, 0);

  Program shrunk;
  shrunk.op(Op::drawImage, {double(source), 0, 0, 20, 20, 0, 0, 5, 5});
  ASSERT_EQ(shrunk.rasterize(table, source, 10, 10, 2), source);
  const auto bitmap = table.surfaceBitmap(source);
  EXPECT_TRUE(isOpaqueRed(pixelAt(*bitmap, 2, 2)));
  EXPECT_EQ(pixelAt(*bitmap, 7, 2).b, 255);
  EXPECT_EQ(pixelAt(*bitmap, 15, 15).a, 0);
}

// The bounds of the inked pixels, -1 when there are none.
struct Ink {
  int left = -1, right = -1, top = -1, bottom = -1;
};

Ink inkOf(const graphics::Bitmap& bitmap) {
  Ink ink;
  for (int y = 0; y < bitmap.height(); ++y) {
    for (int x = 0; x < bitmap.width(); ++x) {
      if (pixelAt(bitmap, x, y).a == 0) continue;
      if (ink.left < 0 || x < ink.left) ink.left = x;
      if (ink.top < 0) ink.top = y;
      ink.right = std::max(ink.right, x);
      ink.bottom = y;
    }
  }
  return ink;
}

graphics::BitmapRef text(Op op, const char* font, const char* glyphs, double x, double y,
                         double size, Op setting = Op::textAlign, double value = 0) {
  Program p;
  p.op(Op::font, {p.str(font)}).op(Op::strokeStyle, {p.str("blue")}).op(setting, {value});
  return p.op(op, {p.str(glyphs), x, y, 0}).paint(size, size);
}

TEST(CanvasText, AlignmentShiftsByTheMeasuredWidth) {
  const double width = measureText("HHH", "20px").width;
  ASSERT_GT(width, 10);
  const auto ink = [](double align, double x) {
    return inkOf(*text(Op::fillText, "20px", "HHH", x, 50, 200, Op::textAlign, align));
  };
  const Ink right = ink(2, 150), left = ink(0, 150 - width);
  EXPECT_NEAR(right.right + 1, 150, 1.5);
  EXPECT_NEAR(right.left, left.left, 1);
  EXPECT_NEAR(right.right, left.right, 1);
  EXPECT_EQ(ink(4, 150).left, right.left);
  EXPECT_NEAR(ink(1, 150).left, ink(0, 150 - width / 2).left, 1);
}

TEST(CanvasText, BaselinesPlaceTheGlyphsAsTheTableSays) {
  const TextMetrics metrics = measureText("H", "20px");
  const auto bottom = [](double baseline) {
    return inkOf(*text(Op::fillText, "20px", "H", 10, 50, 100, Op::textBaseline, baseline)).bottom +
           1;
  };
  EXPECT_NEAR(bottom(0), 50, 1.5);  // the capital sits on y
  EXPECT_NEAR(bottom(1), 50 + metrics.ascent, 1.5);
  EXPECT_NEAR(bottom(2), 50 + (metrics.ascent - metrics.descent) / 2, 1.5);
  EXPECT_NEAR(bottom(3), 50 - metrics.descent, 1.5);
  EXPECT_NEAR(bottom(4), 50 + 0.8 * metrics.ascent, 1.5);
  EXPECT_EQ(bottom(5), bottom(3));
}

TEST(CanvasText, StrokeTextOutlinesTheFilledGlyphInTheStrokeColour) {
  const auto filled = text(Op::fillText, "bold 60px", "O", 10, 70, 90);
  const auto outlined = text(Op::strokeText, "bold 60px", "O", 10, 70, 90);
  const Ink fillInk = inkOf(*filled), strokeInk = inkOf(*outlined);
  ASSERT_GE(fillInk.left, 0);
  EXPECT_NEAR(strokeInk.left, fillInk.left, 2);
  EXPECT_NEAR(strokeInk.bottom, fillInk.bottom, 2);
  // Across the middle row, the left side of the filled O is solid; its centre stays empty
  // when only the outline is drawn.
  const int row = (fillInk.top + fillInk.bottom) / 2;
  int start = fillInk.left, end;
  while (pixelAt(*filled, start, row).a < 255) ++start;
  for (end = start; pixelAt(*filled, end, row).a == 255;) ++end;
  ASSERT_GT(end - start, 4);
  EXPECT_LT(pixelAt(*outlined, (start + end) / 2, row).a, 64);
  for (int y = 0; y < 90; ++y) {
    for (int x = 0; x < 90; ++x) {
      const Argb p = pixelAt(*outlined, x, y);
      ASSERT_EQ(p.b, p.a) << x << "," << y;  // blue only, no black from the fill colour
    }
  }
}

TEST(CanvasText, MeasureTextGrowsWithTheFontSize) {
  const TextMetrics small = measureText("Hello", "10px"), large = measureText("Hello", "20px");
  EXPECT_NEAR(large.width, 2 * small.width, 1);
  EXPECT_GT(large.ascent, small.ascent);
  EXPECT_GT(large.descent, 0);
  EXPECT_EQ(measureText("", "20px").width, 0);
}

}  // namespace
}  // namespace talvero::canvas
