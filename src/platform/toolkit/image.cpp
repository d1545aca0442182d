#include "platform/toolkit/image.h"

#include <gdk-pixbuf/gdk-pixbuf.h>
#include <gtk/gtk.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include "platform/graphics/image_codecs.h"

namespace talvero::toolkit {

Image::Image(void* texture, double scale, Memory memory) : texture_(texture), memory_(memory) {
  if (scale > 0) scale_ = scale;
  width_ = gdk_texture_get_width(GDK_TEXTURE(texture));
  height_ = gdk_texture_get_height(GDK_TEXTURE(texture));
}

Image::~Image() {
  g_object_unref(texture_);
  if (memory_.bytes) g_bytes_unref(static_cast<GBytes*>(memory_.bytes));
}

namespace {

// Bytes that keep `owner` alive for as long as a texture reads them.
template <class Owner>
GBytes* bytesHeldBy(Owner owner, const uint8_t* data, size_t size) {
  auto* held = new Owner(std::move(owner));
  return g_bytes_new_with_free_func(
      data, size, [](gpointer o) { delete static_cast<Owner*>(o); }, held);
}

size_t spanOf(int height, size_t stride, size_t row) {
  // The last row ends at its last pixel: the owner may hold no padding after it.
  return stride * (static_cast<size_t>(height) - 1) + row;
}

}  // namespace

std::shared_ptr<const Image> Image::decode(const uint8_t* bytes, size_t size) {
  graphics::DecodeResult result = graphics::decodeImage(bytes, size);
  if (!result.image) return nullptr;
  return fromDecoded(std::move(result.image));
}

std::shared_ptr<const Image> Image::fromDecoded(
    std::shared_ptr<const graphics::DecodedImage> decoded) {
  if (!decoded) return nullptr;
  const int width = decoded->width(), height = decoded->height();
  if (width <= 0 || height <= 0) return nullptr;
  // Straight alpha as the decoder leaves it: the GPU takes it without a premultiplying pass.
  const bool alpha = decoded->hasAlpha();
  const size_t stride = static_cast<size_t>(decoded->rowStride());
  const size_t row = static_cast<size_t>(width) * (alpha ? 4 : 3);
  const uint8_t* pixels = decoded->pixels();
  GBytes* data = bytesHeldBy(std::move(decoded), pixels, spanOf(height, stride, row));
  return fromMemory(width, height,
                    {data, static_cast<int>(alpha ? GDK_MEMORY_R8G8B8A8 : GDK_MEMORY_R8G8B8),
                     stride, alpha ? size_t{4} : size_t{3}},
                    1);
}

std::shared_ptr<const Image> Image::fromBitmap(graphics::BitmapRef bitmap, double scale) {
  if (!bitmap || bitmap->width() <= 0 || bitmap->height() <= 0) return nullptr;
  const int width = bitmap->width(), height = bitmap->height();
  const auto stride = static_cast<size_t>(bitmap->stride());
  const uint8_t* pixels = bitmap->data();
  GBytes* data = bytesHeldBy(std::move(bitmap), pixels,
                             spanOf(height, stride, static_cast<size_t>(width) * 4));
  // Native-endian premultiplied 0xAARRGGBB words are the toolkit's default memory format.
  return fromMemory(width, height, {data, static_cast<int>(GDK_MEMORY_DEFAULT), stride, 4}, scale);
}

std::shared_ptr<const Image> Image::fromMemory(int width, int height, Memory memory, double scale) {
  GdkTexture* texture =
      gdk_memory_texture_new(width, height, static_cast<GdkMemoryFormat>(memory.format),
                             static_cast<GBytes*>(memory.bytes), memory.stride);
  if (!texture) {
    g_bytes_unref(static_cast<GBytes*>(memory.bytes));
    return nullptr;
  }
  return std::shared_ptr<const Image>(new Image(texture, scale, memory));
}

std::shared_ptr<const Image> Image::fromPixels(int width, int height, const uint8_t* rgba,
                                               size_t stride, bool premultiplied) {
  const size_t row = static_cast<size_t>(width) * 4;
  if (stride == 0) stride = row;
  if (width <= 0 || height <= 0 || !rgba || stride < row) return nullptr;
  GBytes* data = g_bytes_new(rgba, spanOf(height, stride, row));
  // Premultiplied is the format the GPU takes as it is: no conversion pass before each upload.
  return fromMemory(
      width, height,
      {data,
       static_cast<int>(premultiplied ? GDK_MEMORY_R8G8B8A8_PREMULTIPLIED : GDK_MEMORY_R8G8B8A8),
       stride, 4},
      1);
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
  const double x = rect.x(), y = rect.y(), w = rect.width(), h = rect.height();
  if (!std::isfinite(x) || !std::isfinite(y) || !std::isfinite(w) || !std::isfinite(h)) {
    return nullptr;
  }
  // Clamped while still doubles: a script's rectangle may lie far outside any int.
  auto edge = [](double value, int low, int high) {
    return static_cast<int>(std::clamp(std::floor(value), double(low), double(high)));
  };
  const int left = edge(x, 0, width_), top = edge(y, 0, height_);
  const int right = edge(x + w, left, width_), bottom = edge(y + h, top, height_);
  if (right <= left || bottom <= top) return nullptr;
  // A window onto the same pixels: moving a crop over a sprite sheet copies nothing.
  const size_t offset =
      static_cast<size_t>(top) * memory_.stride + static_cast<size_t>(left) * memory_.bytesPerPixel;
  const size_t length = spanOf(bottom - top, memory_.stride,
                               static_cast<size_t>(right - left) * memory_.bytesPerPixel);
  GBytes* part = g_bytes_new_from_bytes(static_cast<GBytes*>(memory_.bytes), offset, length);
  Memory window = memory_;
  window.bytes = part;
  return fromMemory(right - left, bottom - top, window, 1);
}

}  // namespace talvero::toolkit
