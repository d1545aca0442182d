#include "canvas/surfaces.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

#include "canvas/canvas_font.h"
#include "canvas/replay.h"
#include "platform/graphics/graphics_context.h"
#include "platform/graphics/image_codecs.h"
#include "platform/graphics/pixel_limit.h"
#include "platform/graphics/text_line.h"
#include "runtime/buffers.h"
#include "runtime/log.h"

namespace talvero::canvas {

namespace {

// A pixel count for the log as the whole number it is, however far past any integer type.
std::string wholeNumber(double value) {
  char text[400];
  std::snprintf(text, sizeof text, "%.0f", value);
  return text;
}

}  // namespace

int64_t SurfaceTable::takeId(int64_t requested) {
  if (requested != 0) {
    // Ids the script chose itself are never handed out later for a request of 0.
    if (requested >= nextId_) nextId_ = requested + 1;
    return requested;
  }
  return nextId_++;
}

int64_t SurfaceTable::rasterize(int64_t id, double width, double height, double scale,
                                std::span<const float> commands, int64_t count,
                                const std::vector<std::string>& strings) {
  if (!std::isfinite(width) || !std::isfinite(height)) {
    logLine("[canvas] rasterize: width and height must be finite");
    return 0;
  }
  if (!std::isfinite(scale) || scale <= 0) scale = 1;
  width = std::max(width, 1.0);
  height = std::max(height, 1.0);
  const double pixelWidth = std::max(1.0, std::ceil(width * scale));
  const double pixelHeight = std::max(1.0, std::ceil(height * scale));
  if (pixelWidth > static_cast<double>(graphics::kMaxPixelsPerSide) ||
      pixelHeight > static_cast<double>(graphics::kMaxPixelsPerSide) ||
      !graphics::fitsPixelLimit(static_cast<int64_t>(pixelWidth),
                                static_cast<int64_t>(pixelHeight))) {
    logLine("[canvas] rasterize: " + wholeNumber(pixelWidth) + "x" + wholeNumber(pixelHeight) +
            " pixels is over the pixel limit");
    return 0;
  }
  auto context = graphics::GraphicsContext::create(static_cast<int>(pixelWidth),
                                                   static_cast<int>(pixelHeight), scale);
  if (!context) {
    logLine("[canvas] rasterize: the bitmap could not be made");
    return 0;
  }
  count = std::clamp<int64_t>(count, 0, static_cast<int64_t>(commands.size()));
  replay(*context, commands.first(static_cast<size_t>(count)), strings,
         [this](int64_t surface) { return surfaceBitmap(surface); });
  graphics::BitmapRef bitmap = context->finish();
  if (!bitmap) return 0;
  const int64_t stored = takeId(id);
  surfaces_[stored] = Surface{std::move(bitmap), scale, width, height};
  return stored;
}

int64_t SurfaceTable::snapshot(int64_t id) {
  const Surface* surface = find(id);
  if (!surface) return 0;
  const Surface copy = *surface;
  const int64_t stored = takeId(0);
  surfaces_[stored] = copy;
  return stored;
}

void SurfaceTable::destroy(int64_t id) {
  surfaces_.erase(id);
}

int64_t SurfaceTable::registerImageSurface(graphics::BitmapRef bitmap) {
  if (!bitmap) return 0;
  const double width = bitmap->width(), height = bitmap->height();
  const int64_t stored = takeId(0);
  surfaces_[stored] = Surface{std::move(bitmap), 1, width, height};
  return stored;
}

const Surface* SurfaceTable::find(int64_t id) const {
  const auto found = surfaces_.find(id);
  return found == surfaces_.end() ? nullptr : &found->second;
}

graphics::BitmapRef SurfaceTable::surfaceBitmap(int64_t id) const {
  const Surface* surface = find(id);
  return surface ? surface->bitmap : nullptr;
}

std::optional<StraightPixels> SurfaceTable::straightRGBA(int64_t id) const {
  const Surface* surface = find(id);
  if (!surface) return std::nullopt;
  return StraightPixels{surface->bitmap->straightRGBA(), surface->bitmap->width(),
                        surface->bitmap->height()};
}

std::optional<LoadedImage> loadImageBuffer(SurfaceTable& surfaces, int64_t buffer) {
  const Bytes bytes = Buffers::get(buffer);
  if (!bytes) return std::nullopt;
  const graphics::DecodeResult decoded = graphics::decodeImage(bytes->data(), bytes->size());
  if (!decoded.image) return std::nullopt;
  graphics::BitmapRef bitmap = decoded.image->toBitmap();
  if (!bitmap) return std::nullopt;
  const int32_t width = bitmap->width(), height = bitmap->height();
  return LoadedImage{surfaces.registerImageSurface(std::move(bitmap)), width, height};
}

std::optional<EncodedFile> encodeSurface(const SurfaceTable& surfaces, int64_t id,
                                         std::string_view mime) {
  const graphics::BitmapRef bitmap = surfaces.surfaceBitmap(id);
  if (!bitmap) return std::nullopt;
  auto encoded =
      mime == "image/jpeg" ? graphics::encodeJpeg(*bitmap) : graphics::encodePng(*bitmap);
  if (!encoded) return std::nullopt;
  const auto size = static_cast<int64_t>(encoded->size());
  return EncodedFile{Buffers::putBuffer(makeBytes(std::move(*encoded))), size};
}

TextMetrics measureText(std::string_view text, const std::string& font) {
  const graphics::TextLine line(text, CanvasFont::resolve(font));
  return {line.width(), line.ascent(), line.descent()};
}

}  // namespace talvero::canvas
