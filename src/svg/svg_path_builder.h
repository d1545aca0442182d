#pragma once

#include "platform/graphics/graphics_context.h"
#include "svg/svg_model.h"

namespace talvero::SVGPathBuilder {

// Adds the shape's subpaths to the path being built: a move to each start, its curves as
// cubics, closed where the subpath is. False, with nothing added, for a shape without subpaths.
bool buildPath(graphics::GraphicsContext& context, const SVGShape& shape);

}  // namespace talvero::SVGPathBuilder
