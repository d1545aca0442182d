#include "ui/view_extensions.h"

namespace talvero {

void setViewBackgroundColor(NodeProtocol& node, std::optional<toolkit::Color> color) {
  node.extras.backgroundColor = color;
  node.view().layer().setBackgroundColor(color);
}

void setViewTransform(NodeProtocol& node, const toolkit::Transform3D& transform) {
  node.extras.transform = transform;
  node.view().layer().setTransform(transform);
}

}  // namespace talvero
