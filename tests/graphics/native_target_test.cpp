#include <cairo.h>
#include <gtest/gtest.h>

#include <cstring>

#include "platform/graphics/native_target.h"

using namespace talvero::graphics;

namespace {

// A caller's Cairo context over a 20 by 20 surface, its user space moved by (5, 5).
class NativeTargetTest : public ::testing::Test {
 protected:
  void SetUp() override { cairo_translate(cr, 5, 5); }
  void TearDown() override {
    cairo_destroy(cr);
    cairo_surface_destroy(surface);
  }
  uint32_t pixel(int x, int y) {
    cairo_surface_flush(surface);
    uint32_t word;
    const int stride = cairo_image_surface_get_stride(surface);
    std::memcpy(&word, cairo_image_surface_get_data(surface) + y * stride + x * 4, 4);
    return word;
  }

  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 20, 20);
  cairo_t* cr = cairo_create(surface);
};

TEST_F(NativeTargetTest, DrawsInTheTargetsUserSpaceAndGivesItBackAsItWasEvenWithSavesOpen) {
  cairo_set_line_width(cr, 7);
  cairo_move_to(cr, 1, 2);
  auto context = GraphicsContext::drawingInto({cr});
  ASSERT_TRUE(context);
  EXPECT_EQ(context->pixelWidth(), 0);
  context->setFill(Color{1, 0, 0, 1});
  context->fillRect(0, 0, 4, 4);
  context->save();
  context->translate(100, 0);
  context->setLineWidth(3);
  context->save();
  context->scale(2, 2);
  context->moveTo(0, 0);
  EXPECT_FALSE(context->finish());  // ends drawing; the surface is the owner's
  EXPECT_EQ(pixel(6, 6), 0xFFFF0000u);
  EXPECT_EQ(pixel(2, 2), 0u);

  cairo_matrix_t matrix;
  cairo_get_matrix(cr, &matrix);
  EXPECT_EQ(matrix.x0, 5);
  EXPECT_EQ(matrix.xx, 1);
  EXPECT_EQ(cairo_get_line_width(cr), 7);
  double x = 0, y = 0;
  cairo_get_current_point(cr, &x, &y);
  EXPECT_EQ(x, 1);
  EXPECT_EQ(y, 2);
  EXPECT_EQ(cairo_status(cr), CAIRO_STATUS_SUCCESS);
  context->fillRect(0, 0, 20, 20);  // after finish: nothing
  EXPECT_EQ(pixel(10, 10), 0u);
}

TEST_F(NativeTargetTest, RefusesATargetInAnErrorState) {
  EXPECT_FALSE(GraphicsContext::drawingInto({nullptr}));
  cairo_restore(cr);  // unbalanced: Cairo's context goes into an error state
  EXPECT_FALSE(GraphicsContext::drawingInto({cr}));
}

}  // namespace
