#include "platform/graphics/image_codecs.h"

#include <gdk-pixbuf/gdk-pixbuf.h>

#include <algorithm>
#include <cstring>
#include <string_view>

#include "platform/graphics/cairo_glue.h"
#include "platform/graphics/pixel_limit.h"

namespace talvero::graphics {

struct DecodedImage::Pixels {
  explicit Pixels(GdkPixbuf* pixbuf) : pixbuf(pixbuf) {}
  ~Pixels() { g_object_unref(pixbuf); }
  Pixels(const Pixels&) = delete;
  Pixels& operator=(const Pixels&) = delete;

  GdkPixbuf* pixbuf;
};

namespace {

cairo_status_t appendToVector(void* closure, const unsigned char* data, unsigned int length) {
  auto* out = static_cast<std::vector<uint8_t>*>(closure);
  out->insert(out->end(), data, data + length);
  return CAIRO_STATUS_SUCCESS;
}

// The decoder module for these bytes, chosen from their signature by us rather than by the
// loader's own sniffing, which would hand SVG text to librsvg.
const char* rasterFormat(const uint8_t* data, size_t size) {
  const auto startsWith = [&](std::string_view magic, size_t at = 0) {
    return size >= at + magic.size() && std::memcmp(data + at, magic.data(), magic.size()) == 0;
  };
  using namespace std::string_view_literals;
  if (startsWith("\x89PNG\r\n\x1a\n"sv)) return "png";
  if (startsWith("\xff\xd8\xff"sv)) return "jpeg";
  if (startsWith("GIF87a"sv) || startsWith("GIF89a"sv)) return "gif";
  if (startsWith("RIFF"sv) && startsWith("WEBP"sv, 8)) return "webp";
  if (startsWith("BM"sv)) return "bmp";
  if (startsWith("II*\0"sv) || startsWith("MM\0*"sv)) return "tiff";
  if (startsWith("\0\0\1\0"sv)) return "ico";
  return nullptr;
}

struct LoadWatch {
  const char* format = nullptr;
  bool refused = false;
  std::string reason;
};

void onSizePrepared(GdkPixbufLoader* loader, int width, int height, gpointer data) {
  auto* watch = static_cast<LoadWatch*>(data);
  GdkPixbufFormat* format = gdk_pixbuf_loader_get_format(loader);
  gchar* name = format ? gdk_pixbuf_format_get_name(format) : nullptr;
  const bool expected = name && std::string_view(name) == watch->format;
  g_free(name);
  if (!expected) {
    watch->refused = true;
    watch->reason = "the decoder is not the one for the image's signature";
  } else if (!fitsPixelLimit(width, height)) {
    watch->refused = true;
    watch->reason = "the image is " + std::to_string(width) + " by " + std::to_string(height) +
                    " pixels, over the pixel limit";
  }
  // A size of zero is the loader's only way to tell a module to give up before it allocates
  // the image (the PNG and JPEG modules check for it); we also stop feeding the loader and
  // report the refusal ourselves.
  if (watch->refused) gdk_pixbuf_loader_set_size(loader, 0, 0);
}

std::string takeMessage(GError* error, const char* fallback) {
  if (!error) return fallback;
  std::string message = error->message;
  g_error_free(error);
  return message;
}

}  // namespace

std::optional<std::vector<uint8_t>> encodePng(const Bitmap& bitmap) {
  std::vector<uint8_t> out;
  if (cairo_surface_write_to_png_stream(bitmap.storage().surface, appendToVector, &out) !=
      CAIRO_STATUS_SUCCESS) {
    return std::nullopt;
  }
  return out;
}

std::optional<std::vector<uint8_t>> encodeJpeg(const Bitmap& bitmap) {
  const int width = bitmap.width(), height = bitmap.height();
  auto* rgba = new std::vector<uint8_t>(bitmap.straightRGBA());
  GdkPixbuf* pixbuf = gdk_pixbuf_new_from_data(
      rgba->data(), GDK_COLORSPACE_RGB, TRUE, 8, width, height, width * 4,
      [](guchar*, gpointer owner) { delete static_cast<std::vector<uint8_t>*>(owner); }, rgba);
  gchar* buffer = nullptr;
  gsize size = 0;
  char quality[] = "quality";
  char ninetyTwo[] = "92";
  char* keys[] = {quality, nullptr};
  char* values[] = {ninetyTwo, nullptr};
  const gboolean saved =
      gdk_pixbuf_save_to_bufferv(pixbuf, &buffer, &size, "jpeg", keys, values, nullptr);
  g_object_unref(pixbuf);
  if (!saved) return std::nullopt;
  std::vector<uint8_t> out(reinterpret_cast<uint8_t*>(buffer),
                           reinterpret_cast<uint8_t*>(buffer) + size);
  g_free(buffer);
  return out;
}

DecodeResult decodeImage(const uint8_t* data, size_t size) {
  DecodeResult result;
  LoadWatch watch;
  watch.format = data ? rasterFormat(data, size) : nullptr;
  if (!watch.format) {
    result.error = "not an image in a raster format we decode";
    return result;
  }
  GError* error = nullptr;
  GdkPixbufLoader* loader = gdk_pixbuf_loader_new_with_type(watch.format, &error);
  if (!loader) {
    result.error = takeMessage(error, "no decoder for the image's format");
    return result;
  }
  g_signal_connect(loader, "size-prepared", G_CALLBACK(onSizePrepared), &watch);

  // Fed in pieces so that a refusal at the header stops the rest from being read.
  constexpr size_t kPiece = 64 * 1024;
  bool failed = false;
  for (size_t offset = 0; offset < size && !watch.refused && !failed; offset += kPiece) {
    const size_t length = std::min(kPiece, size - offset);
    failed = !gdk_pixbuf_loader_write(loader, data + offset, length, &error);
  }
  GError* closeError = nullptr;
  const bool closed = gdk_pixbuf_loader_close(loader, failed ? nullptr : &closeError);
  if (watch.refused) {
    if (error) g_error_free(error);
    if (closeError) g_error_free(closeError);
    result.error = watch.reason;
  } else if (failed || !closed) {
    result.error = failed ? takeMessage(error, "the image could not be decoded")
                          : takeMessage(closeError, "the image could not be decoded");
    if (failed && closeError) g_error_free(closeError);
  } else if (GdkPixbuf* pixbuf = gdk_pixbuf_loader_get_pixbuf(loader);
             pixbuf &&
             fitsPixelLimit(gdk_pixbuf_get_width(pixbuf), gdk_pixbuf_get_height(pixbuf))) {
    g_object_ref(pixbuf);
    result.image = std::make_unique<DecodedImage>(std::make_unique<DecodedImage::Pixels>(pixbuf));
  } else {
    result.error = "the image could not be decoded";
  }
  g_object_unref(loader);
  return result;
}

DecodedImage::DecodedImage(std::unique_ptr<Pixels> pixels) : pixels_(std::move(pixels)) {}
DecodedImage::~DecodedImage() = default;

int DecodedImage::width() const {
  return gdk_pixbuf_get_width(pixels_->pixbuf);
}
int DecodedImage::height() const {
  return gdk_pixbuf_get_height(pixels_->pixbuf);
}

const uint8_t* DecodedImage::pixels() const {
  return gdk_pixbuf_read_pixels(pixels_->pixbuf);
}
int DecodedImage::rowStride() const {
  return gdk_pixbuf_get_rowstride(pixels_->pixbuf);
}
bool DecodedImage::hasAlpha() const {
  return gdk_pixbuf_get_has_alpha(pixels_->pixbuf);
}

BitmapRef DecodedImage::toBitmap() const {
  GdkPixbuf* pixbuf = pixels_->pixbuf;
  const int w = width(), h = height();
  if (gdk_pixbuf_get_bits_per_sample(pixbuf) != 8) return nullptr;
  const int channels = gdk_pixbuf_get_n_channels(pixbuf);
  const bool hasAlpha = gdk_pixbuf_get_has_alpha(pixbuf);
  if (channels != (hasAlpha ? 4 : 3)) return nullptr;
  cairo_surface_t* surface = newImageSurface(w, h);
  if (!surface) return nullptr;

  const guint8* from = gdk_pixbuf_read_pixels(pixbuf);
  const int fromStride = gdk_pixbuf_get_rowstride(pixbuf);
  uint8_t* to = cairo_image_surface_get_data(surface);
  const int toStride = cairo_image_surface_get_stride(surface);
  cairo_surface_flush(surface);
  for (int y = 0; y < h; ++y) {
    const guint8* source = from + static_cast<size_t>(y) * fromStride;
    uint8_t* row = to + static_cast<size_t>(y) * toStride;
    for (int x = 0; x < w; ++x, source += channels) {
      const uint32_t a = hasAlpha ? source[3] : 255;
      const auto premultiply = [a](uint32_t c) { return (c * a + 127) / 255; };
      const uint32_t pixel = a << 24 | premultiply(source[0]) << 16 | premultiply(source[1]) << 8 |
                             premultiply(source[2]);
      std::memcpy(row + x * 4, &pixel, 4);
    }
  }
  cairo_surface_mark_dirty(surface);
  return adoptSurface(surface);
}

}  // namespace talvero::graphics
