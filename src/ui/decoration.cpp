#include "ui/decoration.h"

#include <algorithm>
#include <set>

#include "platform/toolkit/layer.h"
#include "runtime/log.h"

namespace talvero {

namespace {

// One line per missing feature, the first time a script reaches it.
void warnNotBuilt(const std::string& feature) {
  static std::set<std::string> warned;
  if (warned.insert(feature).second) logLine("[WARN] " + feature + " are not built yet");
}

}  // namespace

void applyCornerRadii(NodeProtocol& node) {
  if (!node.extras.cornerRadii) return;
  const std::array<float, 4>& radii = *node.extras.cornerRadii;
  // Radii are stored top left, top right, bottom left, bottom right: the order of the bits.
  constexpr uint32_t kCornerBits[4] = {toolkit::kTopLeftCorner, toolkit::kTopRightCorner,
                                       toolkit::kBottomLeftCorner, toolkit::kBottomRightCorner};
  uint32_t mask = 0;
  double radius = 0;
  for (size_t i = 0; i < radii.size(); ++i) {
    if (radii[i] > 0) mask |= kCornerBits[i];
    radius = std::max(radius, static_cast<double>(radii[i]));
  }
  const toolkit::Rect bounds = node.view().bounds();
  const double halfShorterSide = std::min(bounds.width(), bounds.height()) / 2;
  // Before the first layout the bounds are empty and the radius is kept as given.
  if (halfShorterSide > 0 && halfShorterSide < radius) radius = halfShorterSide;
  toolkit::Layer& layer = node.view().layer();
  layer.setCornerRadius(radius);
  layer.setMaskedCorners(mask != 0 ? mask : toolkit::kAllCorners);
  applyOverflowClipping(node);
}

void applyOverflowClipping(NodeProtocol& node) {
  toolkit::Layer& layer = node.view().layer();
  layer.setMasksToBounds(!node.extras.overflowVisible && layer.cornerRadius() > 0);
}

void setBorderWidth(NodeProtocol&, BorderEdge, float) {
  warnNotBuilt("per-edge borders");
}

void setBorderColor(NodeProtocol&, BorderEdge, toolkit::Color) {
  warnNotBuilt("per-edge borders");
}

void resetBorderWidth(NodeProtocol&, BorderEdge) {}

void resetBorderColor(NodeProtocol&, BorderEdge) {}

void layoutBorders(NodeProtocol&) {}

void setBackgroundImage(NodeProtocol&, const std::string&) {
  warnNotBuilt("background images");
}

void setBackgroundSize(NodeProtocol&, const std::string&) {
  warnNotBuilt("background sizes");
}

void setGradients(NodeProtocol&, const std::vector<CUIGradientSpec>&) {
  warnNotBuilt("background gradients");
}

void removeGradient(NodeProtocol&) {}

void layoutGradient(NodeProtocol&) {}

}  // namespace talvero
