#include <gtest/gtest.h>
#include <stb_image_write.h>

#include <string>

#include "drawing_fixture.h"

namespace talvero::scene2d::testing {
namespace {

using Scene2DTextures = Scene2DDrawing;

std::vector<uint8_t> png(int width, int height, const std::vector<Pixel>& texels) {
  std::vector<uint8_t> rgba;
  for (const Pixel& p : texels) rgba.insert(rgba.end(), {p.r, p.g, p.b, p.a});
  std::vector<uint8_t> out;
  auto append = [](void* context, void* data, int size) {
    auto* bytes = static_cast<std::vector<uint8_t>*>(context);
    bytes->insert(bytes->end(), static_cast<uint8_t*>(data), static_cast<uint8_t*>(data) + size);
  };
  stbi_write_png_to_func(append, &out, width, height, 4, rgba.data(), width * 4);
  return out;
}

// The signature and header of a PNG of that size, and nothing else: enough to read its size.
std::vector<uint8_t> pngHeader(uint32_t width, uint32_t height) {
  std::vector<uint8_t> bytes = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n',
                                0,    0,   0,   13,  'I',  'H',  'D',  'R'};
  for (const uint32_t side : {width, height}) {
    for (int shift = 24; shift >= 0; shift -= 8) bytes.push_back(uint8_t(side >> shift));
  }
  bytes.insert(bytes.end(), {8, 6, 0, 0, 0, 0, 0, 0, 0});  // RGBA8, then a CRC
  return bytes;
}

TEST_F(Scene2DTextures, APngDecodesToItsSizeAndPixelsWithRowZeroOnTop) {
  const std::vector<uint8_t> bytes = png(2, 2, {kRed, kGreen, kBlue, kWhite});
  const int32_t id = c2dCreateTexture(bytes.data(), bytes.size());
  ASSERT_NE(id, 0);
  EXPECT_EQ(c2dGetTextureWidth(id), 2);
  EXPECT_EQ(c2dGetTextureHeight(id), 2);
  sprite(id, 0, 0, 20, 20);
  render();
  EXPECT_EQ(at(25, 25), kRed);
  EXPECT_EQ(at(38, 25), kGreen);
  EXPECT_EQ(at(25, 38), kBlue);
  EXPECT_EQ(at(38, 38), kWhite);
}

TEST_F(Scene2DTextures, BytesThatAreNoImageOrTooLargeGiveZeroAndOneLine) {
  const uint8_t garbage[] = {'h', 'e', 'l', 'l', 'o'};
  ::testing::internal::CaptureStdout();
  EXPECT_EQ(c2dCreateTexture(garbage, sizeof(garbage)), 0);
  std::string output = ::testing::internal::GetCapturedStdout();
  EXPECT_EQ(output.rfind("[creator-2d] texture decode failed: ", 0), 0u) << output;
  EXPECT_NE(output.find(" (5 bytes)\n"), std::string::npos) << output;

  const int largest = gpu::maxTextureSize();
  ASSERT_GT(largest, 0);
  const std::vector<uint8_t> wide = pngHeader(largest + 1, 1);
  ::testing::internal::CaptureStdout();
  EXPECT_EQ(c2dCreateTexture(wide.data(), wide.size()), 0);
  output = ::testing::internal::GetCapturedStdout();
  EXPECT_EQ(output, "[creator-2d] texture too large: " + std::to_string(largest + 1) + "x1 (max " +
                        std::to_string(largest) + ")\n");

  // Nothing took a slot.
  EXPECT_EQ(texture(1, 1, {kRed}), 1);
}

TEST_F(Scene2DTextures, IdsAreNeverReusedAndBadSizesAreRefused) {
  EXPECT_EQ(texture(0, 1, {}), 0);
  EXPECT_EQ(c2dCreateTextureFromRGBA(nullptr, 1, 1), 0);
  const int32_t first = texture(1, 1, {kRed});
  const int32_t second = texture(1, 1, {kRed});
  c2dDestroyTexture(first);
  EXPECT_EQ(c2dGetTextureWidth(first), 0);
  const int32_t third = texture(1, 1, {kRed});
  EXPECT_GT(third, second);
  EXPECT_EQ(c2dGetTextureWidth(first), 0);
  EXPECT_EQ(c2dGetTextureWidth(third), 1);
  EXPECT_EQ(c2dGetTextureWidth(0), 0);
  EXPECT_EQ(c2dGetTextureHeight(99), 0);
}

TEST_F(Scene2DTextures, AnUpdateKeepsTheIdAndShowsTheNewPixels) {
  const int32_t id = texture(1, 1, {kRed});
  sprite(id, 0, 0, 20, 20);
  render();
  EXPECT_EQ(at(32, 32), kRed);

  const uint8_t green[] = {0, 255, 0, 255};
  c2dUpdateTextureFromRGBA(id, green, 1, 1);
  render();
  EXPECT_EQ(at(32, 32), kGreen);

  const uint8_t blueOverWhite[] = {0, 0, 255, 255, 255, 255, 255, 255};
  c2dUpdateTextureFromRGBA(id, blueOverWhite, 1, 2);
  EXPECT_EQ(c2dGetTextureWidth(id), 1);
  EXPECT_EQ(c2dGetTextureHeight(id), 2);
  render();
  EXPECT_EQ(at(32, 25), kBlue);
  EXPECT_EQ(at(32, 38), kWhite);

  // Refused: the old pixels and size stay.
  c2dUpdateTextureFromRGBA(id, green, 0, 1);
  c2dUpdateTextureFromRGBA(id + 1, green, 1, 1);
  EXPECT_EQ(c2dGetTextureHeight(id), 2);
  render();
  EXPECT_EQ(at(32, 25), kBlue);
}

}  // namespace
}  // namespace talvero::scene2d::testing
