#pragma once

// Lets a view draw its content with the 2D graphics layer, for views whose drawing is written
// against `graphics::GraphicsContext` (vector documents) rather than against the toolkit.

#include <functional>

#include "platform/graphics/graphics_context.h"
#include "platform/toolkit/geometry.h"

namespace talvero::toolkit {

class DrawContext;

// Runs `draw` with a context in the view's own coordinates (y down, one unit a point), whose
// drawing lands inside `area` only. Nothing runs for an empty area. For `drawContent`.
void drawGraphics(DrawContext& context, const Rect& area,
                  const std::function<void(graphics::GraphicsContext&)>& draw);

}  // namespace talvero::toolkit
