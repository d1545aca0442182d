#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "engine/bindings/script_handler.h"

namespace talvero {

// `_creatorCanvas`, the script's door to canvases and SVG. The object exists in every context from
// the engine's construction and gains its rows, in table order, when its subsystem lands.
class CreatorCanvasHandler : public ScriptHandler {
 public:
  CreatorCanvasHandler() : ScriptHandler("_creatorCanvas") {}

  // A surface's pixels as the 2D layer takes them: straight (not premultiplied) RGBA, row 0
  // the top.
  struct SurfacePixels {
    std::vector<uint8_t> rgba;
    int32_t width = 0;
    int32_t height = 0;
  };
  // No canvas surface can be made in this build, so no surface has pixels to hand over.
  std::optional<SurfacePixels> surfacePixels(int64_t /*surface*/) const { return std::nullopt; }
};

}  // namespace talvero
