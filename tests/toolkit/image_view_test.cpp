#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/toolkit/image_view.h"
#include "platform/toolkit/snapshot.h"
#include "platform/toolkit/window.h"

namespace talvero::toolkit {
namespace {

const Color kWhite{1, 1, 1, 1};
const Color kGreen{0, 1, 0, 1};

// An image whose left half is `left` and right half `right` (straight RGBA).
std::shared_ptr<const Image> halves(int width, int height, std::array<uint8_t, 4> left,
                                    std::array<uint8_t, 4> right) {
  std::vector<uint8_t> pixels;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const auto& p = x < width / 2 ? left : right;
      pixels.insert(pixels.end(), p.begin(), p.end());
    }
  }
  return Image::fromRGBA(width, height, pixels.data());
}

constexpr std::array<uint8_t, 4> kRedPixel{255, 0, 0, 255};
constexpr std::array<uint8_t, 4> kBluePixel{0, 0, 255, 255};
constexpr std::array<uint8_t, 4> kClearPixel{0, 0, 0, 0};

class ImageViewTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(initToolkit()) << "no display: run the tests under xvfb-run";
    root = std::make_shared<View>();
    root->setFrame(Rect{{0, 0}, {100, 100}});
    root->layer().setBackgroundColor(kWhite);
    view = std::make_shared<ImageView>();
    view->setFrame({{0, 0}, {100, 100}});
    root->addSubview(view);
  }

  std::string colourAt(int x, int y) {
    const Bitmap bitmap = renderView(*root);
    const uint8_t* p = bitmap.pixel(x, y);
    if (p[0] > 240 && p[1] < 15 && p[2] < 15) return "red";
    if (p[0] < 15 && p[1] > 240 && p[2] < 15) return "green";
    if (p[0] < 15 && p[1] < 15 && p[2] > 240) return "blue";
    if (p[0] > 240 && p[1] > 240 && p[2] > 240) return "white";
    return std::to_string(p[0]) + "," + std::to_string(p[1]) + "," + std::to_string(p[2]);
  }

  std::shared_ptr<View> root;
  std::shared_ptr<ImageView> view;
};

TEST_F(ImageViewTest, ProportionalScalingFillsOneAxisAndCentresTheOther) {
  view->setImage(halves(20, 10, kRedPixel, kBluePixel));
  EXPECT_EQ(colourAt(50, 20), "white");  // a 100x50 band from y 25 to 75
  EXPECT_EQ(colourAt(10, 30), "red");
  EXPECT_EQ(colourAt(90, 70), "blue");
  EXPECT_EQ(colourAt(50, 80), "white");
}

TEST_F(ImageViewTest, ShrinkOnlyScalingNeverEnlargesButDoesShrink) {
  view->setImage(halves(20, 10, kRedPixel, kBluePixel));
  view->setImageScaling(ImageScaling::ProportionallyDown);
  EXPECT_EQ(colourAt(42, 50), "red");  // its own 20x10, centred: x 40..60, y 45..55
  EXPECT_EQ(colourAt(58, 50), "blue");
  EXPECT_EQ(colourAt(35, 50), "white");
  EXPECT_EQ(colourAt(50, 42), "white");
  view->setImage(halves(400, 100, kRedPixel, kBluePixel));  // larger: fitted to 100x25
  EXPECT_EQ(colourAt(5, 40), "red");
  EXPECT_EQ(colourAt(95, 60), "blue");
  EXPECT_EQ(colourAt(50, 30), "white");
}

TEST_F(ImageViewTest, IndependentAxesStretchToTheBounds) {
  view->setImage(halves(20, 10, kRedPixel, kBluePixel));
  view->setImageScaling(ImageScaling::AxesIndependently);
  EXPECT_EQ(colourAt(5, 5), "red");
  EXPECT_EQ(colourAt(95, 95), "blue");
}

TEST_F(ImageViewTest, NoScalingKeepsTheSizeAndOverflowsTheBoundsAroundTheCentre) {
  view->setFrame({{40, 40}, {20, 20}});
  view->setImage(halves(40, 20, kRedPixel, kBluePixel));
  view->setImageScaling(ImageScaling::None);
  EXPECT_EQ(colourAt(33, 50), "red");  // x 30..70, y 40..60
  EXPECT_EQ(colourAt(67, 50), "blue");
  EXPECT_EQ(colourAt(50, 35), "white");
  view->setImageScaling(ImageScaling::ProportionallyDown);
  EXPECT_EQ(colourAt(33, 50), "white");
}

TEST_F(ImageViewTest, TintRecoloursOnlyTheOpaquePixels) {
  view->setImage(halves(20, 20, kRedPixel, kClearPixel));
  view->setContentTintColor(kGreen);
  EXPECT_EQ(colourAt(20, 50), "green");
  EXPECT_EQ(colourAt(80, 50), "white");  // transparent stays transparent
  view->setContentTintColor(Color{0, 0, 1, 0.5});
  const Bitmap bitmap = renderView(*root);
  const uint8_t* p = bitmap.pixel(20, 50);  // half blue over white
  EXPECT_NEAR(p[0], 128, 3);
  EXPECT_NEAR(p[2], 255, 1);
  view->setContentTintColor(std::nullopt);
  EXPECT_EQ(colourAt(20, 50), "red");
}

TEST_F(ImageViewTest, ATintFollowsANewImageAndANewColour) {
  view->setContentTintColor(kGreen);
  view->setImage(halves(20, 20, kRedPixel, kClearPixel));
  EXPECT_EQ(colourAt(20, 50), "green");
  view->setImage(halves(20, 20, kClearPixel, kBluePixel));
  EXPECT_EQ(colourAt(20, 50), "white");
  EXPECT_EQ(colourAt(80, 50), "green");
  view->setContentTintColor(Color{1, 0, 0, 1});
  EXPECT_EQ(colourAt(80, 50), "red");
}

}  // namespace
}  // namespace talvero::toolkit
