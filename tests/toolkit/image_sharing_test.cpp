#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/graphics/image_codecs.h"
#include "platform/toolkit/image.h"
#include "platform/toolkit/image_view.h"
#include "platform/toolkit/snapshot.h"
#include "platform/toolkit/window.h"

namespace talvero::toolkit {
namespace {

// `width` × `height` pixels of one straight RGBA colour, as PNG.
std::vector<uint8_t> solidPng(int width, int height, std::vector<uint8_t> colour) {
  Bitmap bitmap{width, height, {}};
  for (int i = 0; i < width * height; ++i) {
    bitmap.rgba.insert(bitmap.rgba.end(), colour.begin(), colour.end());
  }
  return encodePng(bitmap);
}

graphics::BitmapRef solidBitmap(int width, int height, std::vector<uint8_t> colour) {
  const std::vector<uint8_t> png = solidPng(width, height, std::move(colour));
  graphics::DecodeResult decoded = graphics::decodeImage(png.data(), png.size());
  return decoded.image ? decoded.image->toBitmap() : nullptr;
}

class ImageSharingTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(initToolkit()) << "run the tests under xvfb-run"; }
};

TEST_F(ImageSharingTest, BitmapIsSharedNotCopiedAndKeptAliveByTheImage) {
  graphics::BitmapRef bitmap = solidBitmap(4, 2, {0, 0, 255, 255});
  ASSERT_TRUE(bitmap);
  const std::weak_ptr<const graphics::Bitmap> watch = bitmap;
  std::shared_ptr<const Image> image = Image::fromBitmap(std::move(bitmap));
  ASSERT_TRUE(image);
  EXPECT_FALSE(watch.expired());  // the texture reads the bitmap's own pixels
  // Cairo's native-endian words read back as the right channels, not swapped.
  const std::vector<uint8_t> rgba = image->rgba();
  EXPECT_EQ(std::vector<uint8_t>(rgba.begin(), rgba.begin() + 4),
            (std::vector<uint8_t>{0, 0, 255, 255}));
  image.reset();
  EXPECT_TRUE(watch.expired());
}

TEST_F(ImageSharingTest, ScaledBitmapIsLaidOutInPointsAndCroppedInPixels) {
  const auto image = Image::fromBitmap(solidBitmap(200, 100, {255, 0, 0, 255}), 2);
  ASSERT_TRUE(image);
  EXPECT_EQ(image->width(), 200);
  EXPECT_EQ(image->pointSize(), (Size{100, 50}));

  auto view = std::make_shared<ImageView>();
  view->setFrame({{0, 0}, {300, 300}});
  view->setImageScaling(ImageScaling::None);
  view->setImage(image);
  EXPECT_EQ(view->imageRect(), (Rect{{100, 125}, {100, 50}}));

  // Layer contents too take the point size: at the top left, 100 by 50 of 300 by 300.
  auto plain = std::make_shared<View>();
  plain->setFrame({{0, 0}, {300, 300}});
  plain->layer().setContents(image);
  plain->layer().setContentsGravity(ContentsGravity::TopLeft);
  const Bitmap shown = renderView(*plain);
  EXPECT_EQ(shown.pixel(95, 45)[0], 255);
  EXPECT_EQ(shown.pixel(105, 45)[3], 0);
  EXPECT_EQ(shown.pixel(95, 55)[3], 0);

  const auto part = image->crop({{0, 0}, {150, 100}});
  ASSERT_TRUE(part);
  EXPECT_EQ(part->width(), 150);
  EXPECT_EQ(part->pointSize(), (Size{150, 100}));
}

TEST_F(ImageSharingTest, CropIsAWindowOntoTheSamePixels) {
  // Left half red, right half blue, 8 × 2.
  Bitmap halves{8, 2, {}};
  for (int i = 0; i < 16; ++i) {
    const bool left = i % 8 < 4;
    halves.rgba.insert(halves.rgba.end(),
                       {uint8_t(left ? 255 : 0), 0, uint8_t(left ? 0 : 255), 255});
  }
  const std::vector<uint8_t> png = encodePng(halves);
  graphics::BitmapRef bitmap = graphics::decodeImage(png.data(), png.size()).image->toBitmap();
  const std::weak_ptr<const graphics::Bitmap> watch = bitmap;
  std::shared_ptr<const Image> whole = Image::fromBitmap(std::move(bitmap), 2);
  const auto part = whole->crop({{3, 1}, {2, 1}});
  whole.reset();
  ASSERT_TRUE(part);
  EXPECT_FALSE(watch.expired());
  EXPECT_EQ(part->pointSize(), (Size{2, 1}));
  const std::vector<uint8_t> rgba = part->rgba();
  EXPECT_EQ(std::vector<uint8_t>(rgba.begin(), rgba.end()),
            (std::vector<uint8_t>{255, 0, 0, 255, 0, 0, 255, 255}));
}

TEST_F(ImageSharingTest, DecodedPixelsKeepTheirStraightAlpha) {
  const std::vector<uint8_t> png = solidPng(3, 3, {200, 100, 50, 128});
  const auto image = Image::decode(png.data(), png.size());
  ASSERT_TRUE(image);
  EXPECT_EQ(image->pointSize(), (Size{3, 3}));
  const std::vector<uint8_t> rgba = image->rgba();
  // One premultiplying round trip may move a channel by one step.
  EXPECT_NEAR(rgba[0], 200, 2);
  EXPECT_NEAR(rgba[1], 100, 2);
  EXPECT_NEAR(rgba[2], 50, 2);
  EXPECT_EQ(rgba[3], 128);
}

TEST_F(ImageSharingTest, DecodeRefusesSvgMarkup) {
  const std::string svg =
      "<svg xmlns='http://www.w3.org/2000/svg' width='4' height='4'>"
      "<rect width='4' height='4' fill='red'/></svg>";
  EXPECT_FALSE(Image::decode(reinterpret_cast<const uint8_t*>(svg.data()), svg.size()));
}

}  // namespace
}  // namespace talvero::toolkit
