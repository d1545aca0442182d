#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "platform/graphics/graphics_context.h"
#include "platform/graphics/image_codecs.h"

using namespace talvero::graphics;

namespace {

BitmapRef sample() {
  auto ctx = GraphicsContext::create(16, 8, 1);
  ctx->setFill(Color{1, 0, 0, 1});
  ctx->fillRect(0, 0, 8, 8);
  ctx->setFill(Color{0, 0.5, 1, 1});
  ctx->fillRect(8, 0, 4, 8);
  return ctx->finish();  // columns 12 to 15 stay transparent
}

void putBigEndian(std::vector<uint8_t>& out, uint32_t value) {
  for (int shift = 24; shift >= 0; shift -= 8) out.push_back(uint8_t(value >> shift));
}

void putChunk(std::vector<uint8_t>& out, const char* type, const std::vector<uint8_t>& body) {
  putBigEndian(out, uint32_t(body.size()));
  const size_t start = out.size();
  out.insert(out.end(), type, type + 4);
  out.insert(out.end(), body.begin(), body.end());
  uint32_t crc = 0xffffffff;
  for (size_t i = start; i < out.size(); ++i) {
    crc ^= out[i];
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ (0xedb88320 & (0 - (crc & 1)));
  }
  putBigEndian(out, ~crc);
}

// A valid PNG header claiming the size and an empty first data chunk, which is where the decoder
// learns the size; no pixel data follows.
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

DecodeResult decode(const std::vector<uint8_t>& bytes) {
  return decodeImage(bytes.data(), bytes.size());
}

DecodeResult decode(const std::string& text) {
  return decodeImage(reinterpret_cast<const uint8_t*>(text.data()), text.size());
}

}  // namespace

TEST(ImageCodecs, PngRoundTripGivesBackTheSamePixels) {
  BitmapRef original = sample();
  auto png = encodePng(*original);
  ASSERT_TRUE(png && png->size() > 8);
  EXPECT_EQ(std::memcmp(png->data(), "\x89PNG\r\n\x1a\n", 8), 0);
  DecodeResult decoded = decode(*png);
  ASSERT_NE(decoded.image, nullptr) << decoded.error;
  BitmapRef back = decoded.image->toBitmap();
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(back->width(), 16);
  EXPECT_EQ(back->straightRGBA(), original->straightRGBA());
}

TEST(ImageCodecs, JpegCarriesItsMarkersAndAFrameOverTheLimitIsRefused) {
  auto jpeg = encodeJpeg(*sample());
  ASSERT_TRUE(jpeg && jpeg->size() > 4);
  EXPECT_EQ((*jpeg)[0] << 8 | (*jpeg)[1], 0xffd8);
  EXPECT_EQ((*jpeg)[jpeg->size() - 2] << 8 | jpeg->back(), 0xffd9);

  // The same image with its frame header made to claim 20000 by 20000.
  const uint8_t startOfFrame[] = {0xff, 0xc0};
  const size_t frame =
      std::search(jpeg->begin(), jpeg->end(), startOfFrame, startOfFrame + 2) - jpeg->begin();
  ASSERT_LT(frame + 9, jpeg->size());
  for (size_t at : {frame + 5, frame + 7}) {
    (*jpeg)[at] = 20000 >> 8;
    (*jpeg)[at + 1] = 20000 & 0xff;
  }
  DecodeResult huge = decode(*jpeg);
  EXPECT_EQ(huge.image, nullptr);
  EXPECT_NE(huge.error.find("pixel limit"), std::string::npos) << huge.error;
}

TEST(ImageCodecs, DecodeRefusesNonRasterDataGarbageAndSizesOverTheLimit) {
  const std::string svg = "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"10\" height=\"10\"/>";
  for (const std::string& text : {svg, "<?xml version=\"1.0\"?>" + svg, std::string("no image")}) {
    DecodeResult result = decode(text);
    EXPECT_EQ(result.image, nullptr) << text;
    EXPECT_FALSE(result.error.empty()) << text;
  }
  // A known signature over garbage reaches a decoder, which must fail cleanly.
  std::vector<uint8_t> garbage = pngHeader(4, 4);
  garbage.resize(garbage.size() + 64, 0x5a);
  DecodeResult broken = decode(garbage);
  EXPECT_EQ(broken.image, nullptr);
  EXPECT_FALSE(broken.error.empty());
  // The size is refused from the header alone, before any pixel data.
  DecodeResult oversized = decode(pngHeader(16384, 4097));
  EXPECT_EQ(oversized.image, nullptr);
  EXPECT_NE(oversized.error.find("pixel limit"), std::string::npos) << oversized.error;
}
