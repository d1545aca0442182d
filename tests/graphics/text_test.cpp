#include <gtest/gtest.h>

#include <string>

#include "graphics/pixels.h"
#include "platform/graphics/graphics_context.h"
#include "platform/graphics/text_line.h"

using namespace talvero::graphics;
using talvero::testing::pixelAt;

namespace {

// Columns holding ink at least half covered, from the first to the last, in pixels.
int inkedSpan(const Bitmap& bitmap) {
  int first = -1, last = -1;
  for (int x = 0; x < bitmap.width(); ++x) {
    for (int y = 0; y < bitmap.height(); ++y) {
      if (pixelAt(bitmap, x, y).a >= 128) {
        if (first < 0) first = x;
        last = x;
        break;
      }
    }
  }
  return first < 0 ? 0 : last - first + 1;
}

}  // namespace

TEST(TextLine, MeasuresInPixelsWithPositiveMetrics) {
  TextLine line("Hello", {"", 400, false, 20});
  EXPECT_GT(line.width(), 20);
  EXPECT_GT(line.ascent(), 10);
  EXPECT_LT(line.ascent(), 24);
  EXPECT_GT(line.descent(), 2);
  // Sizes are pixels, not points: ascent and descent together stay near the size.
  EXPECT_LT(line.ascent() + line.descent(), 20 * 1.3);

  TextLine twice("Hello", {"", 400, false, 40});
  EXPECT_NEAR(twice.width(), 2 * line.width(), 0.5);
  TextLine bold("Hello", {"", 700, false, 20});
  EXPECT_GT(bold.width(), line.width());
  EXPECT_EQ(TextLine("", {}).width(), 0);
  // One line whatever the text holds, and bytes that are not UTF-8 do not stop it.
  EXPECT_GT(TextLine("a\nb", {}).width(), TextLine("ab", {}).width());
  EXPECT_GT(TextLine(std::string("a\xff\xfe"
                                 "b"),
                     {})
                .width(),
            0);
}

TEST(TextLine, DrawsAsWideAsItMeasuresAtEveryScale) {
  // Full blocks have no side bearings, so their ink spans exactly their advance.
  const std::string blocks = "\u2588\u2588\u2588\u2588\u2588\u2588\u2588";
  TextLine line(blocks, {"DejaVu Sans", 400, false, 13});
  ASSERT_GT(line.width(), 40);
  for (double scale : {1.0, 1.5, 3.0}) {
    auto ctx =
        GraphicsContext::create(static_cast<int>(120 * scale), static_cast<int>(30 * scale), scale);
    ctx->fillText(line, 10.25, 20);
    BitmapRef bitmap = ctx->finish();
    EXPECT_NEAR(inkedSpan(*bitmap) / scale, line.width(), 1.0) << "scale " << scale;
  }
}

TEST(TextLine, StrokesItsOutlineInTheStrokePaint) {
  TextLine line("O", {"", 400, false, 30});
  auto ctx = GraphicsContext::create(40, 40, 1);
  ctx->setFill(Color{0, 1, 0, 1});
  ctx->setStroke(Color{1, 0, 0, 1});
  ctx->setLineWidth(2);
  ctx->strokeText(line, 5, 32);
  BitmapRef bitmap = ctx->finish();
  int red = 0, green = 0;
  for (int y = 0; y < 40; ++y) {
    for (int x = 0; x < 40; ++x) {
      const auto p = pixelAt(*bitmap, x, y);
      if (p.r > 200) ++red;
      if (p.g > 0) ++green;
    }
  }
  EXPECT_GT(red, 30);
  EXPECT_EQ(green, 0);
  // The middle of the O is hollow when only its outline is drawn.
  EXPECT_EQ(pixelAt(*bitmap, 5 + static_cast<int>(line.width() / 2), 21).a, 0);
}
