#pragma once

#include <optional>

#include "platform/toolkit/geometry.h"
#include "platform/toolkit/layer.h"
#include "ui/node.h"

namespace talvero {

// What every node view accepts beside its layout, remembered on the node's `extras`.

// Paints the layer's background with the colour, or with nothing.
void setViewBackgroundColor(NodeProtocol& node, std::optional<toolkit::Color> color);

// Turns the view about the middle of its frame. Inside a node animation the change runs over
// its duration from what is on screen now. The caller keeps the node's `matrix`.
void setViewTransform(NodeProtocol& node, const toolkit::Transform3D& transform);

// Sets the layer's transform and holds it with the animation "cuiTransform": over the duration
// of the running node animation from the presentation value, or at once outside any. A
// transform other than the identity always stands on that held animation; the identity set
// outside a node animation removes it.
void cuiSetLayerTransform(toolkit::Layer& layer, const toolkit::Transform3D& target);

}  // namespace talvero
