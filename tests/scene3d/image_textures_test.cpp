#include "scene3d/image_textures.h"

#include <gtest/gtest.h>
#include "image_encoding.h"

#include <memory>
#include <string>
#include <vector>

#include "main_queue_support.h"
#include "platform/dispatch/main_queue.h"
#include "scene3d/textures.h"
#include "scene3d_test_support.h"

namespace talvero::scene3d {
namespace {

using testing::Scene3DTest;

// A `width` × `height` image of one RGBA colour, encoded as PNG or JPEG by stb.
Bytes encoded(const std::string& format, int width, int height, std::vector<uint8_t> colour) {
  std::vector<uint8_t> pixels;
  for (int i = 0; i < width * height; ++i)
    pixels.insert(pixels.end(), colour.begin(), colour.end());
  return std::make_shared<const std::vector<uint8_t>>(
      talvero::testing::encodeImage(width, height, pixels.data(), format != "png"));
}

struct Outcome {
  int64_t texture = -1;
  uint32_t width = 0;
  uint32_t height = 0;
  std::string failure;
  bool ended = false;
};

Outcome make(Bytes bytes) {
  auto outcome = std::make_shared<Outcome>();
  createTexture(
      std::move(bytes),
      [outcome](int64_t texture, uint32_t width, uint32_t height) {
        *outcome = {texture, width, height, "", true};
      },
      [outcome](const std::string& reason) {
        *outcome = {-1, 0, 0, reason, true};
      });
  EXPECT_TRUE(dispatch::pumpUntil([outcome] { return outcome->ended; }, 10));
  return *outcome;
}

TEST_F(Scene3DTest, PngAndJpegBecomeTexturesOfLinearPremultipliedColour) {
  int64_t instance = -1;
  texturedSquare(&instance);

  // Half-transparent sRGB white: linear 1 × 0.5 over the sky, drawn without blending by this
  // opaque material, reads 0.5 in linear light, 128 as written.
  const Outcome png = make(encoded("png", 3, 2, {255, 255, 255, 128}));
  ASSERT_EQ(png.failure, "");
  EXPECT_EQ(png.width, 3u);
  EXPECT_EQ(png.height, 2u);
  setUniformTexture(instance, "baseTexture", png.texture, 0, 0);
  EXPECT_NEAR(pixelAt(draw(), 32, 32)[0], 128, 2);

  // Opaque sRGB 128 grey: 0.216 in linear light, 55 as written.
  const Outcome jpeg = make(encoded("jpeg", 8, 8, {128, 128, 128, 255}));
  ASSERT_EQ(jpeg.failure, "");
  setUniformTexture(instance, "baseTexture", jpeg.texture, 0, 0);
  EXPECT_NEAR(pixelAt(draw(), 32, 32)[1], 55, 3);
  EXPECT_EQ(textureCount(), 2u);
}

TEST_F(Scene3DTest, BytesThatAreNoImageOrTooLargeAnImageFail) {
  EXPECT_NE(make(makeBytes({1, 2, 3, 4})).failure, "");
  EXPECT_NE(make(nullptr).failure, "");
  EXPECT_NE(make(encoded("png", 8193, 1, {0, 0, 0, 255})).failure, "");
  EXPECT_EQ(textureCount(), 0u);
}

}  // namespace
}  // namespace talvero::scene3d
