#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "engine/bindings/creator_canvas_bindings.h"

namespace talvero {

// Textures made from canvas surfaces, the same for the 2D and the 3D layer: the surface's
// straight RGBA pixels, row 0 the top, go to the layer's own RGBA upload. The uploads are plain
// functions so that tests can see the very bytes a layer is handed.
template <class Handle>
struct CanvasTextureUploads {
  std::function<Handle(const uint8_t* rgba, int32_t width, int32_t height)> create;
  std::function<void(Handle texture, const uint8_t* rgba, int32_t width, int32_t height)> update;

  // The layer's new texture, or nothing when the canvas is gone or has no such surface.
  std::optional<Handle> createFrom(const CreatorCanvasHandler* canvas, int64_t surface) const {
    const auto pixels = canvas ? canvas->surfacePixels(surface) : std::nullopt;
    if (!pixels) return std::nullopt;
    return create(pixels->rgba.data(), pixels->width, pixels->height);
  }

  // New pixels for the texture; nothing happens when the canvas is gone or has no such surface.
  void updateFrom(const CreatorCanvasHandler* canvas, Handle texture, int64_t surface) const {
    const auto pixels = canvas ? canvas->surfacePixels(surface) : std::nullopt;
    if (pixels) update(texture, pixels->rgba.data(), pixels->width, pixels->height);
  }
};

}  // namespace talvero
