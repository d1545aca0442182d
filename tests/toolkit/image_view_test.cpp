#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "platform/toolkit/image_view.h"
#include "platform/toolkit/snapshot.h"
#include "platform/toolkit/window.h"

namespace talvero::toolkit {
namespace {

using Pixel = std::array<uint8_t, 4>;
constexpr Pixel kRed{255, 0, 0, 255}, kBlue{0, 0, 255, 255}, kClear{0, 0, 0, 0};

std::shared_ptr<const Image> halves(int width, int height, Pixel left, Pixel right) {
  std::vector<uint8_t> pixels;
  for (int i = 0; i < width * height; ++i) {
    const Pixel& p = i % width < width / 2 ? left : right;
    pixels.insert(pixels.end(), p.begin(), p.end());
  }
  return Image::fromRGBA(width, height, pixels.data());
}

// An image view filling a white 100x100 root, drawn offscreen.
class ImageViewTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(initToolkit()) << "no display: run the tests under xvfb-run";
    root = std::make_shared<View>();
    view = std::make_shared<ImageView>();
    root->setFrame({{0, 0}, {100, 100}});
    root->layer().setBackgroundColor(Color{1, 1, 1, 1});
    view->setFrame({{0, 0}, {100, 100}});
    root->addSubview(view);
  }

  std::string colourAt(int x, int y) {
    const Bitmap bitmap = renderView(*root);
    const uint8_t* p = bitmap.pixel(x, y);
    const auto near = [&](int r, int g, int b) {
      return std::abs(p[0] - r) < 15 && std::abs(p[1] - g) < 15 && std::abs(p[2] - b) < 15;
    };
    if (near(255, 0, 0)) return "red";
    if (near(0, 255, 0)) return "green";
    if (near(0, 0, 255)) return "blue";
    if (near(255, 255, 255)) return "white";
    if (near(128, 128, 255)) return "half blue";
    return std::to_string(p[0]) + "," + std::to_string(p[1]) + "," + std::to_string(p[2]);
  }

  std::shared_ptr<View> root;
  std::shared_ptr<ImageView> view;
};

TEST_F(ImageViewTest, ProportionalScalingFitsAndCentresButShrinkOnlyNeverEnlarges) {
  view->setImage(halves(20, 10, kRed, kBlue));
  EXPECT_EQ(colourAt(10, 30), "red");  // fitted: a 100x50 band from y 25 to 75
  EXPECT_EQ(colourAt(90, 70), "blue");
  EXPECT_EQ(colourAt(50, 20), "white");
  view->setImageScaling(ImageScaling::ProportionallyDown);
  EXPECT_EQ(colourAt(42, 50), "red");  // its own 20x10, centred
  EXPECT_EQ(colourAt(58, 50), "blue");
  EXPECT_EQ(colourAt(35, 50), "white");
  view->setImage(halves(400, 100, kRed, kBlue));  // larger than the view: shrunk to 100x25
  EXPECT_EQ(colourAt(5, 40), "red");
  EXPECT_EQ(colourAt(50, 30), "white");
}

TEST_F(ImageViewTest, IndependentAxesStretchAndNoScalingOverflowsAroundTheCentre) {
  view->setImage(halves(40, 20, kRed, kBlue));
  view->setImageScaling(ImageScaling::AxesIndependently);
  EXPECT_EQ(colourAt(5, 5), "red");
  EXPECT_EQ(colourAt(95, 95), "blue");
  view->setFrame({{40, 40}, {20, 20}});
  view->setImageScaling(ImageScaling::None);
  EXPECT_EQ(colourAt(33, 50), "red");  // 40x20 centred on the view: x 30..70, y 40..60
  EXPECT_EQ(colourAt(67, 50), "blue");
  EXPECT_EQ(colourAt(50, 35), "white");
}

TEST_F(ImageViewTest, TintRecoloursTheOpaquePixelsAndFollowsNewImagesAndColours) {
  view->setImage(halves(20, 20, kRed, kClear));
  view->setContentTintColor(Color{0, 1, 0, 1});
  EXPECT_EQ(colourAt(20, 50), "green");
  EXPECT_EQ(colourAt(80, 50), "white");
  view->setContentTintColor(Color{0, 0, 1, 0.5});
  EXPECT_EQ(colourAt(20, 50), "half blue");  // the tint's alpha is kept
  view->setImage(halves(20, 20, kClear, kRed));
  EXPECT_EQ(colourAt(20, 50), "white");
  EXPECT_EQ(colourAt(80, 50), "half blue");
  view->setContentTintColor(std::nullopt);
  EXPECT_EQ(colourAt(80, 50), "red");
}

}  // namespace
}  // namespace talvero::toolkit
