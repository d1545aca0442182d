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

// `width` × `height` PNG of straight RGBA pixels, the left half `left` and the right `right`.
std::vector<uint8_t> halvesPng(int width, int height, std::vector<uint8_t> left,
                               std::vector<uint8_t> right) {
  Bitmap bitmap{width, height, {}};
  for (int i = 0; i < width * height; ++i) {
    const auto& colour = i % width < width / 2 ? left : right;
    bitmap.rgba.insert(bitmap.rgba.end(), colour.begin(), colour.end());
  }
  return encodePng(bitmap);
}

graphics::BitmapRef decodedBitmap(const std::vector<uint8_t>& png) {
  graphics::DecodeResult decoded = graphics::decodeImage(png.data(), png.size());
  return decoded.image ? decoded.image->toBitmap() : nullptr;
}

class ImageSharingTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(initToolkit()) << "run the tests under xvfb-run"; }
};

TEST_F(ImageSharingTest, BitmapAndItsCropsShareThePixelsThatLiveAsLongAsAnyImage) {
  graphics::BitmapRef bitmap = decodedBitmap(halvesPng(8, 2, {255, 0, 0, 255}, {0, 0, 255, 255}));
  ASSERT_TRUE(bitmap);
  const std::weak_ptr<const graphics::Bitmap> watch = bitmap;
  std::shared_ptr<const Image> whole = Image::fromBitmap(std::move(bitmap), 2);
  ASSERT_TRUE(whole);
  // Cairo's native-endian words read back as the right channels, not swapped.
  const std::vector<uint8_t> rgba = whole->rgba();
  EXPECT_EQ(std::vector<uint8_t>(rgba.begin(), rgba.begin() + 4),
            (std::vector<uint8_t>{255, 0, 0, 255}));

  std::shared_ptr<const Image> part = whole->crop({{3, 1}, {2, 1}});
  whole.reset();
  ASSERT_TRUE(part);
  EXPECT_FALSE(watch.expired());  // the crop reads the bitmap's own pixels
  EXPECT_EQ(part->pointSize(), (Size{2, 1}));
  EXPECT_EQ(part->rgba(), (std::vector<uint8_t>{255, 0, 0, 255, 0, 0, 255, 255}));
  part.reset();
  EXPECT_TRUE(watch.expired());
}

TEST_F(ImageSharingTest, ScaledBitmapIsLaidOutInPointsAndCroppedInPixels) {
  const auto image =
      Image::fromBitmap(decodedBitmap(halvesPng(200, 100, {255, 0, 0, 255}, {255, 0, 0, 255})), 2);
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

TEST_F(ImageSharingTest, DecodeKeepsStraightAlphaAndRefusesSvg) {
  const std::vector<uint8_t> png = halvesPng(3, 3, {200, 100, 50, 128}, {200, 100, 50, 128});
  const auto image = Image::decode(png.data(), png.size());
  ASSERT_TRUE(image);
  EXPECT_EQ(image->pointSize(), (Size{3, 3}));
  const std::vector<uint8_t> rgba = image->rgba();
  // One premultiplying round trip may move a colour channel by one step; alpha stays.
  const int expected[] = {200, 100, 50, 128};
  for (int c = 0; c < 4; ++c) EXPECT_NEAR(rgba[c], expected[c], c < 3 ? 2 : 0) << c;

  const std::string svg =
      "<svg xmlns='http://www.w3.org/2000/svg' width='4' height='4'>"
      "<rect width='4' height='4' fill='red'/></svg>";
  EXPECT_FALSE(Image::decode(reinterpret_cast<const uint8_t*>(svg.data()), svg.size()));
}

}  // namespace
}  // namespace talvero::toolkit
