#pragma once

// The drawing library's side of `GraphicsContext::drawingInto`, for the platform's own files
// that hold a Cairo context (a toolkit snapshot's) and let the graphics layer draw into it.

#include <cairo.h>

#include "platform/graphics/graphics_context.h"

namespace talvero::graphics {

struct GraphicsContext::NativeTarget {
  cairo_t* cr = nullptr;
};

}  // namespace talvero::graphics
