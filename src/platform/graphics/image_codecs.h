#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/graphics/bitmap.h"

namespace talvero::graphics {

// Nothing when the encoder fails.
std::optional<std::vector<uint8_t>> encodePng(const Bitmap& bitmap);
// Quality 92 of 100. JPEG has no alpha: colours are written un-premultiplied, alpha dropped.
std::optional<std::vector<uint8_t>> encodeJpeg(const Bitmap& bitmap);

// A decoded raster image with straight alpha, kept as the decoder gave it until a bitmap is
// asked for.
class DecodedImage {
 public:
  struct Pixels;  // the decoder's buffer, private to this folder

  explicit DecodedImage(std::unique_ptr<Pixels> pixels);
  ~DecodedImage();
  DecodedImage(const DecodedImage&) = delete;
  DecodedImage& operator=(const DecodedImage&) = delete;

  int width() const;
  int height() const;
  // The decoder's own rows, straight alpha, 8 bits a channel: R, G, B and, with alpha, A.
  const uint8_t* pixels() const;
  int rowStride() const;
  bool hasAlpha() const;
  // Premultiplies into a new bitmap; null when that cannot be allocated.
  BitmapRef toBitmap() const;

 private:
  std::unique_ptr<Pixels> pixels_;
};

struct DecodeResult {
  std::unique_ptr<DecodedImage> image;  // null on failure
  std::string error;                    // a readable reason when `image` is null
};

// PNG, JPEG, GIF (first frame), WebP, BMP, TIFF and ICO only: any other bytes, SVG among
// them, are refused before a decoder sees them. An image over the pixel limit is refused once
// its header is read, before its pixels are allocated.
DecodeResult decodeImage(const uint8_t* data, size_t size);

}  // namespace talvero::graphics
