#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <numbers>
#include <optional>
#include <string>
#include <vector>

#include "canvas_test_support.h"

namespace talvero::canvas {
namespace {

using testing::Argb;
using testing::pixelAt;
using testing::Program;
using Op = CanvasOp;

constexpr double kPi = std::numbers::pi;

enum class Seen { clear, red, blue, halfBlue };

bool looksLike(Argb p, Seen seen) {
  switch (seen) {
    case Seen::clear:
      return p.a < 8;
    case Seen::red:
      return p.a > 200 && p.r == p.a && p.g == 0 && p.b == 0;
    case Seen::blue:
      return p.a > 200 && p.b == p.a && p.r == 0 && p.g == 0;
    case Seen::halfBlue:
      return std::abs(p.a - 128) <= 1 && std::abs(p.b - 128) <= 1 && p.r == 0;
  }
  return false;
}

struct Probe {
  int x, y;
  Seen seen;
};

struct PaintCase {
  const char* name;
  Program program;
  std::vector<Probe> probes;
  double size = 20;
  // Painted first, 10 points square at scale 2, as surface 1; the program may replace it.
  std::optional<Program> source = std::nullopt;
  bool replacesSource = false;
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

constexpr Seen kClear = Seen::clear, kRed = Seen::red, kBlue = Seen::blue;

TEST(CanvasReplay, PaintsShapesStateAndImagesWhereTheyBelong) {
  const Program halves =
      red().op(Op::fillRect, {0, 0, 5, 10}).fill("blue").op(Op::fillRect, {5, 0, 5, 10});
  const Program nested = red().op(Op::rect, {0, 0, 20, 20}).op(Op::rect, {5, 5, 10, 10});
  const PaintCase cases[] = {
      {"translate and scale",
       red().op(Op::translate, {10, 2}).op(Op::scale, {2, 2}).op(Op::fillRect, {0, 0, 2, 2}),
       {{12, 4, kRed}, {9, 4, kClear}, {15, 4, kClear}}},
      // A quarter turn about the origin carries +x onto +y (y runs down).
      {"rotate", red().op(Op::rotate, {kPi / 2}).op(Op::fillRect, {2, -4, 10, 2}),
       {{3, 8, kRed}, {8, 3, kClear}}},
      // An unmatched restore keeps colour and transform; a matched one brings back all three.
      {"save and restore",
       [] {
         Program p = red();
         p.op(Op::translate, {1, 1}).op(Op::restore).op(Op::save).fill("blue");
         p.op(Op::globalAlpha, {0.5}).op(Op::translate, {10, 10}).op(Op::fillRect, {0, 0, 2, 2});
         return p.op(Op::restore).op(Op::fillRect, {0, 0, 2, 2});
       }(),
       {{2, 2, kRed}, {0, 0, kClear}, {12, 12, Seen::halfBlue}}},
      {"non-zero", Program(nested).op(Op::fill, {0}),
       {{2, 2, kRed}, {10, 10, kRed}}},
      {"even-odd", Program(nested).op(Op::fill, {1}),
       {{2, 2, kRed}, {10, 10, kClear}}},
      // From angle 0 to a quarter turn: flag 1 goes the short way through the lower right.
      {"arc flag 1",
       red().op(Op::moveTo, {20, 20}).op(Op::arc, {20, 20, 15, 0, kPi / 2, 1}).op(Op::fill, {0}),
       {{27, 27, kRed}, {13, 13, kClear}}, 40},
      {"arc flag 0",
       red().op(Op::moveTo, {20, 20}).op(Op::arc, {20, 20, 15, 0, kPi / 2, 0}).op(Op::fill, {0}),
       {{27, 27, kClear}, {13, 13, kRed}}, 40},
      // Flattened naively, this would emit segments for hours.
      {"arc of 1e9 radians", red().op(Op::arc, {10, 10, 5, 0, 1e9, 1}).op(Op::fill, {0}),
       {{10, 10, kRed}, {10, 17, kClear}}},
      {"roundRect pill", red().op(Op::roundRect, {0, 0, 40, 20, 100}).op(Op::fill, {0}),
       {{0, 0, kClear}, {1, 10, kRed}, {1, 2, kClear}, {38, 17, kClear}, {20, 0, kRed}}, 40},
      {"roundRect negative r", red().op(Op::roundRect, {0, 0, 40, 20, -5}).op(Op::fill, {0}),
       {{0, 0, kRed}, {39, 19, kRed}}, 40},
      {"clearRect", red().op(Op::fillRect, {0, 0, 20, 20}).op(Op::clearRect, {5, 5, 5, 5}),
       {{7, 7, kClear}, {12, 12, kRed}}},
      // The blue fill finds no path left, so the red square stays red.
      {"path across fillRect and text",
       [] {
         Program p = red();
         p.op(Op::rect, {0, 0, 5, 5}).op(Op::fillRect, {30, 30, 2, 2});
         p.op(Op::fillText, {p.str("x"), 30, 20, 0}).op(Op::fill, {0});
         return p.fill("blue").op(Op::fill, {0});
       }(),
       {{2, 2, kRed}}, 40},
      {"miter join", corner(Op::lineJoin, 0), {{6, 6, kRed}}, 40},
      {"round join", corner(Op::lineJoin, 1), {{7, 7, kRed}, {6, 6, kClear}}, 40},
      {"bevel join", corner(Op::lineJoin, 2), {{7, 7, kClear}, {6, 6, kClear}}, 40},
      {"join 7 is bevel", corner(Op::lineJoin, 7), {{7, 7, kClear}, {6, 6, kClear}}, 40},
      {"butt cap", corner(Op::lineCap, 0), {{31, 10, kClear}}, 40},
      {"round cap", corner(Op::lineCap, 1), {{31, 10, kRed}, {33, 6, kClear}}, 40},
      {"square cap", corner(Op::lineCap, 2), {{33, 6, kRed}}, 40},
      {"cap 9 is square", corner(Op::lineCap, 9), {{33, 6, kRed}}, 40},
      {"drawImage of no surface",
       red().op(Op::drawImage, {99, 0, 0, 1, 1, 0, 0, 20, 20}).op(Op::fillRect, {0, 0, 2, 2}),
       {{1, 1, kRed}, {10, 10, kClear}}},
      // The blue right half of the source is pixels 10 to 20 at scale 2.
      {"drawImage cut from a scale 2 surface",
       Program().op(Op::drawImage, {1, 10, 0, 10, 20, 0, 0, 20, 20}), {{10, 10, kBlue}}, 20,
       halves},
      // Shrunk into its own top left quarter: the previous picture is the one drawn.
      {"drawImage of the surface being replaced",
       Program().op(Op::drawImage, {1, 0, 0, 20, 20, 0, 0, 5, 5}),
       {{2, 2, kRed}, {7, 2, kBlue}, {15, 15, kClear}}, 20, halves, true},
  };
  for (const PaintCase& c : cases) {
    SurfaceTable table;
    if (c.source) c.source->rasterize(table, 0, 10, 10, 2);
    const int64_t id = c.replacesSource ? c.program.rasterize(table, 1, 10, 10, 2)
                                        : c.program.rasterize(table, 0, c.size, c.size);
    const auto bitmap = table.surfaceBitmap(id);
    ASSERT_TRUE(bitmap) << c.name;
    for (const Probe& probe : c.probes) {
      EXPECT_TRUE(looksLike(pixelAt(*bitmap, probe.x, probe.y), probe.seen))
          << c.name << " at " << probe.x << "," << probe.y;
    }
  }
}

// The bounds of the inked pixels; left beyond right when there are none.
struct Ink {
  int left, right, top, bottom;
};

Ink inkOf(const graphics::Bitmap& bitmap) {
  Ink ink{bitmap.width(), -1, bitmap.height(), -1};
  for (int y = 0; y < bitmap.height(); ++y) {
    for (int x = 0; x < bitmap.width(); ++x) {
      if (pixelAt(bitmap, x, y).a == 0) continue;
      ink = {std::min(ink.left, x), std::max(ink.right, x), std::min(ink.top, y), y};
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
  ASSERT_LT(fillInk.left, fillInk.right);
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
  for (int i = 0; i < 90 * 90; ++i) {
    const Argb p = pixelAt(*outlined, i % 90, i / 90);
    ASSERT_EQ(p.b, p.a) << i;  // blue only, no black from the fill colour
  }
}

}  // namespace
}  // namespace talvero::canvas
