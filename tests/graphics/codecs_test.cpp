#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "graphics/pixels.h"
#include "platform/graphics/graphics_context.h"
#include "platform/graphics/image_codecs.h"

using namespace talvero::graphics;
using talvero::testing::pixelAt;

namespace {

BitmapRef sample() {
  auto ctx = GraphicsContext::create(16, 8, 1);
  ctx->setFill(Color{1, 0, 0, 1});
  ctx->fillRect(0, 0, 8, 8);
  ctx->setFill(Color{0, 0.5, 1, 1});
  ctx->fillRect(8, 0, 4, 8);
  return ctx->finish();  // columns 12 to 15 stay transparent
}

uint32_t crc32(const uint8_t* data, size_t size) {
  uint32_t crc = 0xffffffff;
  for (size_t i = 0; i < size; ++i) {
    crc ^= data[i];
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ (0xedb88320 & (0 - (crc & 1)));
  }
  return ~crc;
}

void putBigEndian(std::vector<uint8_t>& out, uint32_t value) {
  for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<uint8_t>(value >> shift));
}

void putChunk(std::vector<uint8_t>& out, const char* type, const std::vector<uint8_t>& body) {
  putBigEndian(out, static_cast<uint32_t>(body.size()));
  const size_t start = out.size();
  out.insert(out.end(), type, type + 4);
  out.insert(out.end(), body.begin(), body.end());
  putBigEndian(out, crc32(out.data() + start, out.size() - start));
}

// A PNG claiming the size, with a valid header and an empty first data chunk, which is where
// the decoder learns the size; no pixel data follows.
std::vector<uint8_t> pngHeader(uint32_t width, uint32_t height) {
  std::vector<uint8_t> out = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
  std::vector<uint8_t> header;
  putBigEndian(header, width);
  putBigEndian(header, height);
  header.insert(header.end(), {8, 6, 0, 0, 0});  // 8-bit RGBA, no interlace
  putChunk(out, "IHDR", header);
  putChunk(out, "IDAT", {});
  return out;
}

DecodeResult decodeText(const std::string& text) {
  return decodeImage(reinterpret_cast<const uint8_t*>(text.data()), text.size());
}

}  // namespace

TEST(ImageCodecs, PngRoundTripGivesBackTheSamePixels) {
  BitmapRef original = sample();
  auto png = encodePng(*original);
  ASSERT_TRUE(png);
  ASSERT_GT(png->size(), 8u);
  EXPECT_EQ(std::memcmp(png->data(), "\x89PNG\r\n\x1a\n", 8), 0);

  DecodeResult decoded = decodeImage(png->data(), png->size());
  ASSERT_NE(decoded.image, nullptr) << decoded.error;
  EXPECT_EQ(decoded.image->width(), 16);
  EXPECT_EQ(decoded.image->height(), 8);
  BitmapRef back = decoded.image->toBitmap();
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(back->straightRGBA(), original->straightRGBA());
}

TEST(ImageCodecs, JpegStartsWithItsMarkerAndDecodesCloseToTheOriginal) {
  auto jpeg = encodeJpeg(*sample());
  ASSERT_TRUE(jpeg);
  ASSERT_GT(jpeg->size(), 4u);
  EXPECT_EQ((*jpeg)[0], 0xff);
  EXPECT_EQ((*jpeg)[1], 0xd8);
  EXPECT_EQ((*jpeg)[jpeg->size() - 2], 0xff);
  EXPECT_EQ((*jpeg)[jpeg->size() - 1], 0xd9);

  DecodeResult decoded = decodeImage(jpeg->data(), jpeg->size());
  ASSERT_NE(decoded.image, nullptr) << decoded.error;
  BitmapRef back = decoded.image->toBitmap();
  const auto p = pixelAt(*back, 2, 2);
  EXPECT_EQ(p.a, 255);
  EXPECT_GT(p.r, 220);
  EXPECT_LT(p.b, 40);
}

TEST(ImageCodecs, DecodeRefusesAnythingButRasterImages) {
  const std::string svg =
      "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"10\" height=\"10\">"
      "<rect width=\"10\" height=\"10\" fill=\"red\"/></svg>";
  for (const std::string& text : {svg, "<?xml version=\"1.0\"?>" + svg}) {
    DecodeResult result = decodeText(text);
    EXPECT_EQ(result.image, nullptr);
    EXPECT_FALSE(result.error.empty());
  }
  EXPECT_EQ(decodeText("this is no image at all, just some text").image, nullptr);
  EXPECT_EQ(decodeImage(nullptr, 0).image, nullptr);
  // A known signature over garbage reaches a decoder, which must fail cleanly.
  std::vector<uint8_t> garbage = pngHeader(4, 4);
  garbage.resize(garbage.size() + 64, 0x5a);
  DecodeResult broken = decodeImage(garbage.data(), garbage.size());
  EXPECT_EQ(broken.image, nullptr);
  EXPECT_FALSE(broken.error.empty());
}

TEST(ImageCodecs, DecodeRefusesSizesOverTheLimitFromTheHeaderAlone) {
  for (auto [width, height] : {std::pair{20000u, 20000u}, std::pair{16384u, 4097u}}) {
    std::vector<uint8_t> header = pngHeader(width, height);
    DecodeResult result = decodeImage(header.data(), header.size());
    EXPECT_EQ(result.image, nullptr);
    EXPECT_NE(result.error.find("pixel limit"), std::string::npos) << result.error;
  }
  // A real JPEG whose frame header is made to claim 20000 by 20000.
  auto jpeg = encodeJpeg(*sample());
  ASSERT_TRUE(jpeg);
  size_t frame = 2;
  while (frame + 9 < jpeg->size() && !((*jpeg)[frame] == 0xff && (*jpeg)[frame + 1] == 0xc0)) {
    ++frame;
  }
  ASSERT_LT(frame + 9, jpeg->size());
  for (size_t at : {frame + 5, frame + 7}) {
    (*jpeg)[at] = 20000 >> 8;
    (*jpeg)[at + 1] = 20000 & 0xff;
  }
  DecodeResult huge = decodeImage(jpeg->data(), jpeg->size());
  EXPECT_EQ(huge.image, nullptr);
  EXPECT_NE(huge.error.find("pixel limit"), std::string::npos) << huge.error;

  // A side at the limit passes the header; what the decoder makes of the missing data is its
  // own affair.
  std::vector<uint8_t> header = pngHeader(16384, 1);
  DecodeResult result = decodeImage(header.data(), header.size());
  EXPECT_EQ(result.error.find("pixel limit"), std::string::npos) << result.error;
  if (result.image) {
    EXPECT_EQ(result.image->width(), 16384);
  }
}
