#pragma once

#include <optional>

#include "platform/toolkit/geometry.h"
#include "ui/node.h"

namespace talvero {

// The style's background colour: remembered on the node and drawn by its layer; none clears.
void setViewBackgroundColor(NodeProtocol& node, std::optional<toolkit::Color> color);
// The style's transform: remembered on the node and applied to its layer.
void setViewTransform(NodeProtocol& node, const toolkit::Transform3D& transform);

}  // namespace talvero
