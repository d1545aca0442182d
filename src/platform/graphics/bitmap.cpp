#include "platform/graphics/bitmap.h"

#include <algorithm>
#include <cstring>

#include "platform/graphics/cairo_glue.h"
#include "platform/graphics/pixel_limit.h"

namespace talvero::graphics {

cairo_surface_t* newImageSurface(int width, int height) {
  if (!fitsPixelLimit(width, height)) return nullptr;
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height);
  if (cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS) {
    cairo_surface_destroy(surface);
    return nullptr;
  }
  return surface;
}

BitmapRef adoptSurface(cairo_surface_t* surface) {
  cairo_surface_flush(surface);
  return std::make_shared<const Bitmap>(std::make_unique<Bitmap::Storage>(surface));
}

Bitmap::Bitmap(std::unique_ptr<Storage> storage) : storage_(std::move(storage)) {}
Bitmap::~Bitmap() = default;

int Bitmap::width() const {
  return cairo_image_surface_get_width(storage_->surface);
}
int Bitmap::height() const {
  return cairo_image_surface_get_height(storage_->surface);
}
int Bitmap::stride() const {
  return cairo_image_surface_get_stride(storage_->surface);
}

const uint8_t* Bitmap::data() const {
  return cairo_image_surface_get_data(storage_->surface);
}

std::vector<uint8_t> Bitmap::straightRGBA() const {
  const int w = width(), h = height(), rowBytes = stride();
  const uint8_t* rows = data();
  std::vector<uint8_t> out(static_cast<size_t>(w) * h * 4);
  uint8_t* to = out.data();
  for (int y = 0; y < h; ++y) {
    const uint8_t* row = rows + static_cast<size_t>(y) * rowBytes;
    for (int x = 0; x < w; ++x, to += 4) {
      uint32_t pixel;
      std::memcpy(&pixel, row + x * 4, 4);
      const uint32_t a = pixel >> 24;
      if (a == 0) {
        std::memset(to, 0, 4);
        continue;
      }
      const uint32_t channels[3] = {(pixel >> 16) & 0xff, (pixel >> 8) & 0xff, pixel & 0xff};
      for (int c = 0; c < 3; ++c) {
        to[c] = static_cast<uint8_t>(std::min<uint32_t>(255, channels[c] * 255 / a));
      }
      to[3] = static_cast<uint8_t>(a);
    }
  }
  return out;
}

}  // namespace talvero::graphics
