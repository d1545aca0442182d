#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "platform/toolkit/geometry.h"

namespace talvero::toolkit {

// An immutable decoded bitmap. Safe to decode on a background thread; drawn on the main one.
class Image {
 public:
  ~Image();
  Image(const Image&) = delete;
  Image& operator=(const Image&) = delete;

  // PNG, JPEG, GIF (first frame), WebP and BMP where the system has the loaders; null when
  // the bytes are no image.
  static std::shared_ptr<const Image> decode(const uint8_t* bytes, size_t size);
  // Straight RGBA, 4 bytes per pixel, rows top to bottom, `stride` bytes apart (0: width × 4).
  static std::shared_ptr<const Image> fromRGBA(int width, int height, const uint8_t* rgba,
                                               size_t stride = 0);
  // Premultiplied RGBA, as a GPU renders it; laid out as for `fromRGBA`.
  static std::shared_ptr<const Image> fromPremultipliedRGBA(int width, int height,
                                                            const uint8_t* rgba, size_t stride = 0);

  int width() const { return width_; }
  int height() const { return height_; }
  // The part of the image inside `rect` (pixels), cut to the image; null when empty.
  std::shared_ptr<const Image> crop(const Rect& rect) const;
  // Straight RGBA copy of the pixels.
  std::vector<uint8_t> rgba() const;

  void* texture() const { return texture_; }  // GdkTexture*, for the toolkit's own files

 private:
  explicit Image(void* texture);
  static std::shared_ptr<const Image> fromPixels(int width, int height, const uint8_t* rgba,
                                                 size_t stride, bool premultiplied);
  void* texture_;
  int width_ = 0;
  int height_ = 0;
};

}  // namespace talvero::toolkit
