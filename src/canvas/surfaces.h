#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/graphics/bitmap.h"

namespace talvero::canvas {

// A painted picture kept under an id. Its bitmap never changes: replacing the surface swaps
// the reference, so whoever took the old bitmap keeps showing it.
struct Surface {
  graphics::BitmapRef bitmap;
  double scale = 1;
  double width = 0;  // in points; the bitmap is these times `scale`, rounded up
  double height = 0;
};

struct StraightPixels {
  std::vector<uint8_t> rgba;  // straight alpha, rows from the top, packed
  int32_t width = 0;
  int32_t height = 0;
};

struct TextMetrics {
  double width = 0;
  double ascent = 0;
  double descent = 0;  // below the baseline, positive
};

// The surfaces of the process, by id. Ids come from a counter that starts at 1 and only grows;
// 0 means no surface. Main thread only.
class SurfaceTable {
 public:
  // Replays `count` floats of a canvas program into a new bitmap of `width` × `height` points
  // at `scale` pixels a point, and stores it under `id` (a new id when 0). Gives the id, or 0
  // when the size is not finite or breaks the pixel limit, with a line in the log.
  int64_t rasterize(int64_t id, double width, double height, double scale,
                    std::span<const float> commands, int64_t count,
                    const std::vector<std::string>& strings);
  // A new id for the same bitmap and scale; 0 when `id` is unknown.
  int64_t snapshot(int64_t id);
  void destroy(int64_t id);
  // A picture made elsewhere, one point a pixel, under a new id.
  int64_t registerImageSurface(graphics::BitmapRef bitmap);

  const Surface* find(int64_t id) const;
  graphics::BitmapRef surfaceBitmap(int64_t id) const;
  std::optional<StraightPixels> straightRGBA(int64_t id) const;

 private:
  int64_t takeId(int64_t requested);

  std::unordered_map<int64_t, Surface> surfaces_;
  int64_t nextId_ = 1;
};

struct LoadedImage {
  int64_t surface = 0;
  int32_t pixelWidth = 0;
  int32_t pixelHeight = 0;
};

// Decodes the bytes held in `Buffers` under `buffer` into a new surface; nothing when there are
// no bytes or they are no image.
std::optional<LoadedImage> loadImageBuffer(SurfaceTable& surfaces, int64_t buffer);

struct EncodedFile {
  int64_t buffer = 0;  // in `Buffers`
  int64_t byteCount = 0;
};

// "image/jpeg" encodes JPEG, any other mime PNG, into a new entry of `Buffers`; nothing for an
// unknown surface or a failed encoding.
std::optional<EncodedFile> encodeSurface(const SurfaceTable& surfaces, int64_t id,
                                         std::string_view mime);

// The width of `text` in the canvas font `font`, with the font's ascent and descent.
TextMetrics measureText(std::string_view text, const std::string& font);

}  // namespace talvero::canvas
