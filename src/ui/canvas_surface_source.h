#pragma once

#include <cstdint>
#include <memory>

#include "platform/toolkit/image.h"

namespace talvero {

// Where image nodes find the pictures that scripts painted on canvas surfaces.
class CanvasSurfaceSource {
 public:
  virtual ~CanvasSurfaceSource() = default;
  // The surface's picture, laid out at its point size; null when no surface has the id.
  virtual std::shared_ptr<const toolkit::Image> surfaceImage(int64_t id) const = 0;
};

}  // namespace talvero
