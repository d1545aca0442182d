#include "ui/view_extensions.h"

#include <algorithm>

#include "platform/toolkit/animation.h"
#include "ui/node_animation.h"

namespace talvero {

namespace {

// The shortest held animation: a zero-length one would be over before its first frame.
constexpr double kMinimumTransformDuration = 0.0001;

}  // namespace

void setViewBackgroundColor(NodeProtocol& node, std::optional<toolkit::Color> color) {
  node.extras.backgroundColor = color;
  node.view().layer().setBackgroundColor(color);
}

void setViewTransform(NodeProtocol& node, const toolkit::Transform3D& transform) {
  node.extras.transform = transform;
  toolkit::View& view = node.view();
  toolkit::Layer& layer = view.layer();
  if (!transform.isIdentity()) {
    const toolkit::Rect frame = view.frame();
    toolkit::ScopedTransaction withoutAnimation;
    layer.setAnchorPoint({0.5, 0.5});
    layer.setPosition({frame.x() + frame.width() / 2, frame.y() + frame.height() / 2});
  }
  cuiSetLayerTransform(layer, transform);
}

void cuiSetLayerTransform(toolkit::Layer& layer, const toolkit::Transform3D& target) {
  const double duration = NodeAnimation::inFlight() ? NodeAnimation::duration() : 0;
  // Inside a node animation a change under way continues from where it stands; outside one
  // the held animation starts at the new value, so that a frame drawn at once shows it.
  const toolkit::Transform3D from = duration > 0 ? layer.presentation().transform : target;
  {
    toolkit::ScopedTransaction withoutAnimation;
    layer.setTransform(target);
  }
  if (target.isIdentity() && duration <= 0) {
    layer.removeAnimation("cuiTransform");
    return;
  }
  toolkit::BasicAnimation animation;
  animation.keyPath = "transform";
  animation.from = from;
  animation.to = target;
  animation.duration = std::max(duration, kMinimumTransformDuration);
  animation.timing = toolkit::TimingFunction::EaseInEaseOut;
  animation.fillMode = toolkit::FillMode::Forwards;
  animation.removedOnCompletion = false;
  layer.addAnimation(std::move(animation), "cuiTransform");
}

}  // namespace talvero
