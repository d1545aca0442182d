#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "platform/graphics/bitmap.h"
#include "platform/toolkit/geometry.h"

namespace talvero::graphics {
class DecodedImage;
}

namespace talvero::toolkit {

// An immutable decoded bitmap. Safe to decode on a background thread; drawn on the main one.
// Its pixels stand for `scale` times fewer points: views lay it out by its point size, while
// crops and pixel reads count pixels.
class Image {
 public:
  ~Image();
  Image(const Image&) = delete;
  Image& operator=(const Image&) = delete;

  // The raster formats of `graphics::decodeImage` (never SVG), within its pixel limit; null
  // when the bytes are no such image. The decoder's straight pixels are shown as they are.
  static std::shared_ptr<const Image> decode(const uint8_t* bytes, size_t size);
  // The decoder's pixels, shared rather than copied.
  static std::shared_ptr<const Image> fromDecoded(
      std::shared_ptr<const graphics::DecodedImage> decoded);
  // A drawn bitmap, shared rather than copied, at `scale` pixels a point.
  static std::shared_ptr<const Image> fromBitmap(graphics::BitmapRef bitmap, double scale = 1);
  // Straight RGBA, 4 bytes per pixel, rows top to bottom, `stride` bytes apart (0: width × 4).
  static std::shared_ptr<const Image> fromRGBA(int width, int height, const uint8_t* rgba,
                                               size_t stride = 0);
  // Premultiplied RGBA, as a GPU renders it; laid out as for `fromRGBA`.
  static std::shared_ptr<const Image> fromPremultipliedRGBA(int width, int height,
                                                            const uint8_t* rgba, size_t stride = 0);

  // In pixels.
  int width() const { return width_; }
  int height() const { return height_; }
  double scale() const { return scale_; }
  Size pointSize() const { return Size{width_ / scale_, height_ / scale_}; }
  // The part of the image inside `rect` (pixels), cut to the image, one pixel a point; null
  // when empty.
  std::shared_ptr<const Image> crop(const Rect& rect) const;
  // Straight RGBA copy of the pixels.
  std::vector<uint8_t> rgba() const;

  void* texture() const { return texture_; }  // GdkTexture*, for the toolkit's own files

 private:
  // Where a texture made from memory keeps its pixels, so that a crop can share them.
  struct Memory {
    void* bytes = nullptr;  // GBytes*, one reference held
    int format = 0;         // GdkMemoryFormat
    size_t stride = 0;
    size_t bytesPerPixel = 0;
  };

  Image(void* texture, double scale, Memory memory);
  // A texture over `bytes` (one reference taken over), or null when the texture fails.
  static std::shared_ptr<const Image> fromMemory(int width, int height, Memory memory,
                                                 double scale);
  static std::shared_ptr<const Image> fromPixels(int width, int height, const uint8_t* rgba,
                                                 size_t stride, bool premultiplied);
  void* texture_;
  Memory memory_;
  int width_ = 0;
  int height_ = 0;
  double scale_ = 1;
};

}  // namespace talvero::toolkit
