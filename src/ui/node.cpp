#include "ui/node.h"

#include <cmath>

#include "runtime/value_helpers.h"
#include "style_core/style_core.h"
#include "ui/decoration.h"

namespace talvero {

NodeProtocol::NodeProtocol(YGNodeRef nodePtr, ScriptValue script, CreatorUIStore& store)
    : nodePtr_(nodePtr), script_(std::move(script)), store_(store) {
  onLayout = getIfNotEmpty(script_.get("ll"));
}

void NodeProtocol::applyFrame() {
  if (!hasNewLayout(nodePtr_)) return;
  const NodeLayout layout = getLayout(nodePtr_);
  if (!std::isfinite(layout.left) || !std::isfinite(layout.top) || !std::isfinite(layout.width) ||
      !std::isfinite(layout.height)) {
    return;
  }
  const toolkit::Rect frame{{std::trunc(layout.left), std::trunc(layout.top)},
                            {std::trunc(layout.width), std::trunc(layout.height)}};
  toolkit::View& v = view();
  const bool changed = frame != v.frame();
  if (changed) {
    if (matrix) {
      // The frame must never be computed through a transform.
      v.layer().setTransform(toolkit::Transform3D::identity());
      v.setFrame(frame);
      v.layer().setTransform(*matrix);
    } else {
      v.setFrame(frame);
    }
  }
  if (!onLayout.empty() && (changed || !extras.didReportLayout)) {
    extras.didReportLayout = true;
    call_list(onLayout, {NativeValue::Dict{{"left", layout.left},
                                           {"top", layout.top},
                                           {"width", layout.width},
                                           {"height", layout.height}}});
  }
  layoutDecorations();
}

uint64_t NodeProtocol::measure(float width, uint8_t, float height, uint8_t) {
  return packMeasuredSize(width, height);
}

void NodeProtocol::updateNode(const std::string&, const ScriptValue&) {}

void NodeProtocol::layoutDecorations() {
  layoutGradient(*this);
  layoutBorders(*this);
}

toolkit::Color hex32(uint32_t value) {
  return toolkit::Color::fromRGBA(value);
}

NodeProtocol* asNode(toolkit::View* view) {
  return dynamic_cast<NodeProtocol*>(view);
}

}  // namespace talvero
