#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "canvas/surfaces.h"
#include "engine/bindings/script_handler.h"
#include "ui/canvas_surface_source.h"

namespace talvero {

// `_creatorCanvas`, the script's raster canvas: programs recorded by the script are painted
// into surfaces kept by id, which image nodes and the 2D and 3D layers then take.
class CreatorCanvasHandler : public ScriptHandler, public CanvasSurfaceSource {
 public:
  CreatorCanvasHandler();

  // The surface's bitmap, shared, at the surface's scale.
  std::shared_ptr<const toolkit::Image> surfaceImage(int64_t id) const override;

  // A surface's pixels as the 2D layer takes them: straight (not premultiplied) RGBA, row 0
  // the top.
  struct SurfacePixels {
    std::vector<uint8_t> rgba;
    int32_t width = 0;
    int32_t height = 0;
  };
  std::optional<SurfacePixels> surfacePixels(int64_t surface) const;

  canvas::SurfaceTable& surfaces() { return surfaces_; }
  const canvas::SurfaceTable& surfaces() const { return surfaces_; }

 private:
  canvas::SurfaceTable surfaces_;
};

}  // namespace talvero
