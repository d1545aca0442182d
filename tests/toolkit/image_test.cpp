#include <gdk-pixbuf/gdk-pixbuf.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/toolkit/image.h"
#include "platform/toolkit/window.h"

namespace talvero::toolkit {
namespace {

// A 2x1 GIF, red then blue, written out by hand since gdk-pixbuf cannot save GIF.
const std::vector<uint8_t> kRedBlueGif = {
    'G',  'I', 'F',  '8',  '9', 'a',  2, 0, 1, 0, 0x80, 0, 0,  // screen, 2-colour global table
    0xFF, 0,   0,    0,    0,   0xFF,                          // red, blue
    0x2C, 0,   0,    0,    0,   2,    0, 1, 0, 0,              // one 2x1 image
    2,    2,   0x44, 0x0A, 0,                                  // LZW: clear, 0, 1, end
    0x3B};

// An 8x4 image, red on the left half and blue on the right, encoded by gdk-pixbuf's saver.
std::vector<uint8_t> encodeHalves(const char* format) {
  GdkPixbuf* pixbuf = gdk_pixbuf_new(GDK_COLORSPACE_RGB, FALSE, 8, 8, 4);
  const int stride = gdk_pixbuf_get_rowstride(pixbuf);
  guchar* pixels = gdk_pixbuf_get_pixels(pixbuf);
  for (int y = 0; y < 4; ++y) {
    for (int x = 0; x < 8; ++x) {
      guchar* p = pixels + y * stride + x * 3;
      p[0] = x < 4 ? 255 : 0;
      p[1] = 0;
      p[2] = x < 4 ? 0 : 255;
    }
  }
  gchar* buffer = nullptr;
  gsize size = 0;
  GError* error = nullptr;
  const bool saved =
      std::string(format) == "jpeg" || std::string(format) == "webp"
          ? gdk_pixbuf_save_to_buffer(pixbuf, &buffer, &size, format, &error, "quality", "100",
                                      nullptr)
          : gdk_pixbuf_save_to_buffer(pixbuf, &buffer, &size, format, &error, nullptr);
  g_object_unref(pixbuf);
  std::vector<uint8_t> bytes;
  if (saved) bytes.assign(buffer, buffer + size);
  if (error) ADD_FAILURE() << format << ": " << error->message;
  g_clear_error(&error);
  g_free(buffer);
  return bytes;
}

std::string colourAt(const std::vector<uint8_t>& rgba, int width, int x, int y) {
  const uint8_t* p = rgba.data() + (static_cast<size_t>(y) * width + x) * 4;
  const auto near = [&](int r, int g, int b) {
    return std::abs(p[0] - r) < 24 && std::abs(p[1] - g) < 24 && std::abs(p[2] - b) < 24 &&
           p[3] == 255;
  };
  if (near(255, 0, 0)) return "red";
  if (near(0, 0, 255)) return "blue";
  return std::to_string(p[0]) + "," + std::to_string(p[1]) + "," + std::to_string(p[2]) + "," +
         std::to_string(p[3]);
}

class ImageTest : public ::testing::TestWithParam<const char*> {
 protected:
  void SetUp() override { ASSERT_TRUE(initToolkit()) << "run the tests under xvfb-run"; }
};

TEST_P(ImageTest, DecodesEveryShippedFormatFromBytes) {
  const std::vector<uint8_t> bytes = encodeHalves(GetParam());
  ASSERT_FALSE(bytes.empty());
  const auto image = Image::decode(bytes.data(), bytes.size());
  ASSERT_TRUE(image) << GetParam() << " did not decode";
  EXPECT_EQ(image->width(), 8);
  EXPECT_EQ(image->height(), 4);
  const std::vector<uint8_t> rgba = image->rgba();
  // Sample away from the seam, where lossy encoders smear the two colours together.
  EXPECT_EQ(colourAt(rgba, 8, 1, 1), "red") << GetParam();
  EXPECT_EQ(colourAt(rgba, 8, 6, 2), "blue") << GetParam();
}

INSTANTIATE_TEST_SUITE_P(Formats, ImageTest, ::testing::Values("png", "jpeg", "bmp", "webp"));

TEST(ImageDecodeTest, DecodesGifAndRejectsBytesThatAreNoImage) {
  ASSERT_TRUE(initToolkit());
  const auto gif = Image::decode(kRedBlueGif.data(), kRedBlueGif.size());
  ASSERT_TRUE(gif);
  EXPECT_EQ(gif->width(), 2);
  const std::vector<uint8_t> rgba = gif->rgba();
  EXPECT_EQ(colourAt(rgba, 2, 0, 0), "red");
  EXPECT_EQ(colourAt(rgba, 2, 1, 0), "blue");

  const std::string text = "certainly not an image";
  EXPECT_FALSE(Image::decode(reinterpret_cast<const uint8_t*>(text.data()), text.size()));
  EXPECT_FALSE(Image::decode(kRedBlueGif.data(), 12));  // cut off inside the header
  EXPECT_FALSE(Image::decode(nullptr, 0));
}

TEST(ImageCropTest, CropsToTheRectangleClampedToTheImage) {
  ASSERT_TRUE(initToolkit());
  const std::vector<uint8_t> png = encodeHalves("png");
  const auto image = Image::decode(png.data(), png.size());
  ASSERT_TRUE(image);

  const auto right = image->crop({{4, 1}, {10, 10}});  // runs past the right and bottom edges
  ASSERT_TRUE(right);
  EXPECT_EQ(right->width(), 4);
  EXPECT_EQ(right->height(), 3);
  const std::vector<uint8_t> rgba = right->rgba();
  EXPECT_EQ(colourAt(rgba, 4, 0, 0), "blue");
  EXPECT_EQ(colourAt(rgba, 4, 3, 2), "blue");

  const auto seam = image->crop({{3, 0}, {2, 1}});
  ASSERT_TRUE(seam);
  EXPECT_EQ(colourAt(seam->rgba(), 2, 0, 0), "red");
  EXPECT_EQ(colourAt(seam->rgba(), 2, 1, 0), "blue");

  EXPECT_FALSE(image->crop({{8, 0}, {4, 4}}));  // wholly outside
  EXPECT_FALSE(image->crop({{2, 2}, {0, 1}}));  // empty
}

}  // namespace
}  // namespace talvero::toolkit
