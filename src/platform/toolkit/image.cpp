#include "platform/toolkit/image.h"

#include <gdk-pixbuf/gdk-pixbuf.h>
#include <gtk/gtk.h>

#include <algorithm>

namespace talvero::toolkit {

Image::Image(void* texture) : texture_(texture) {
  width_ = gdk_texture_get_width(GDK_TEXTURE(texture));
  height_ = gdk_texture_get_height(GDK_TEXTURE(texture));
}

Image::~Image() {
  g_object_unref(texture_);
}

std::shared_ptr<const Image> Image::decode(const uint8_t* bytes, size_t size) {
  if (!bytes || size == 0) return nullptr;
  // gdk-pixbuf's loaders cover more formats than GTK's own (GIF, WebP, BMP).
  GdkPixbufLoader* loader = gdk_pixbuf_loader_new();
  const bool written = gdk_pixbuf_loader_write(loader, bytes, size, nullptr);
  const bool closed = gdk_pixbuf_loader_close(loader, nullptr);
  GdkPixbuf* pixbuf = written && closed ? gdk_pixbuf_loader_get_pixbuf(loader) : nullptr;
  std::shared_ptr<const Image> image;
  if (pixbuf) image.reset(new Image(gdk_texture_new_for_pixbuf(pixbuf)));
  g_object_unref(loader);
  return image;
}

std::shared_ptr<const Image> Image::fromPixels(int width, int height, const uint8_t* rgba,
                                               size_t stride, bool premultiplied) {
  const size_t row = static_cast<size_t>(width) * 4;
  if (stride == 0) stride = row;
  if (width <= 0 || height <= 0 || !rgba || stride < row) return nullptr;
  // The last row ends at its last pixel: the caller's buffer may hold no padding after it.
  GBytes* data = g_bytes_new(rgba, stride * (static_cast<size_t>(height) - 1) + row);
  // Premultiplied is the format the GPU takes as it is: no conversion pass before each upload.
  GdkTexture* texture = gdk_memory_texture_new(
      width, height, premultiplied ? GDK_MEMORY_R8G8B8A8_PREMULTIPLIED : GDK_MEMORY_R8G8B8A8, data,
      stride);
  g_bytes_unref(data);
  return std::shared_ptr<const Image>(new Image(texture));
}

std::shared_ptr<const Image> Image::fromRGBA(int width, int height, const uint8_t* rgba,
                                             size_t stride) {
  return fromPixels(width, height, rgba, stride, false);
}

std::shared_ptr<const Image> Image::fromPremultipliedRGBA(int width, int height,
                                                          const uint8_t* rgba, size_t stride) {
  return fromPixels(width, height, rgba, stride, true);
}

std::vector<uint8_t> Image::rgba() const {
  // Downloads come premultiplied in the platform's byte order (B, G, R, A here).
  std::vector<uint8_t> pixels(static_cast<size_t>(width_) * height_ * 4);
  gdk_texture_download(GDK_TEXTURE(texture_), pixels.data(), static_cast<size_t>(width_) * 4);
  for (size_t i = 0; i < pixels.size(); i += 4) {
    const uint8_t b = pixels[i], g = pixels[i + 1], r = pixels[i + 2], a = pixels[i + 3];
    auto unpremultiply = [a](uint8_t c) {
      return a ? static_cast<uint8_t>(std::min(255, c * 255 / a)) : 0;
    };
    pixels[i] = unpremultiply(r);
    pixels[i + 1] = unpremultiply(g);
    pixels[i + 2] = unpremultiply(b);
  }
  return pixels;
}

std::shared_ptr<const Image> Image::crop(const Rect& rect) const {
  const int left = std::clamp(static_cast<int>(rect.x()), 0, width_);
  const int top = std::clamp(static_cast<int>(rect.y()), 0, height_);
  const int right = std::clamp(static_cast<int>(rect.x() + rect.width()), left, width_);
  const int bottom = std::clamp(static_cast<int>(rect.y() + rect.height()), top, height_);
  if (right <= left || bottom <= top) return nullptr;
  const std::vector<uint8_t> all = rgba();
  std::vector<uint8_t> part(static_cast<size_t>(right - left) * (bottom - top) * 4);
  for (int y = top; y < bottom; ++y) {
    std::copy_n(all.begin() + (static_cast<size_t>(y) * width_ + left) * 4, (right - left) * 4,
                part.begin() + static_cast<size_t>(y - top) * (right - left) * 4);
  }
  return fromRGBA(right - left, bottom - top, part.data());
}

}  // namespace talvero::toolkit
