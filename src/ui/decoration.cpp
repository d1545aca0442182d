#include "ui/decoration.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numbers>
#include <string_view>
#include <utility>

#include "platform/toolkit/animation.h"
#include "platform/toolkit/image.h"
#include "ui/image_download.h"

namespace talvero {

namespace {

// --- Side borders ----------------------------------------------------------------------------

size_t indexOf(BorderEdge edge) {
  return static_cast<size_t>(edge);
}

BorderState& borderState(NodeProtocol& node) {
  auto& state = node.extras.cuiBorderState;
  if (!state) state = std::make_shared<BorderState>();
  return *state;
}

// --- Gradients ---------------------------------------------------------------------------------

using EndPoints = std::pair<toolkit::Point, toolkit::Point>;

// The line runs through the middle, as long as it takes for the corners to get the end colours.
EndPoints linearEnds(double degrees, double w, double h) {
  if (w <= 0 || h <= 0) return {{0.5, 1}, {0.5, 0}};
  const double a = degrees * std::numbers::pi / 180;
  const double length = std::abs(std::sin(a) * w) + std::abs(std::cos(a) * h);
  const double dx = std::sin(a) * length / 2;
  const double dy = -std::cos(a) * length / 2;
  return {{(w / 2 - dx) / w, (h / 2 - dy) / h}, {(w / 2 + dx) / w, (h / 2 + dy) / h}};
}

// From the centre to the end of the radius on each axis.
EndPoints radialEnds(const CUIGradientSpec& gradient, double w, double h) {
  const toolkit::Point centre{gradient.cx, gradient.cy};
  if (w <= 0 || h <= 0) return {centre, {centre.x + 0.5, centre.y + 0.5}};
  const double left = gradient.cx * w, right = (1 - gradient.cx) * w;
  const double top = gradient.cy * h, bottom = (1 - gradient.cy) * h;
  const double x0 = std::min(left, right), x1 = std::max(left, right);
  const double y0 = std::min(top, bottom), y1 = std::max(top, bottom);
  const bool circle = gradient.shape == 1;
  double radiusX = 0, radiusY = 0;
  switch (gradient.extent) {
    case 1:  // closest-side
      radiusX = circle ? std::min(x0, y0) : x0;
      radiusY = circle ? radiusX : y0;
      break;
    case 2:  // closest-corner
      radiusX = circle ? std::hypot(x0, y0) : x0 * std::numbers::sqrt2;
      radiusY = circle ? radiusX : y0 * std::numbers::sqrt2;
      break;
    case 3:  // farthest-side
      radiusX = circle ? std::max(x1, y1) : x1;
      radiusY = circle ? radiusX : y1;
      break;
    case 4:  // explicit radii
      radiusX = gradient.rUnitX == 1 ? gradient.rx * w : gradient.rx;
      radiusY = gradient.rUnitY == 1 ? gradient.ry * h : gradient.ry;
      break;
    default:  // farthest-corner
      radiusX = circle ? std::hypot(x1, y1) : x1 * std::numbers::sqrt2;
      radiusY = circle ? radiusX : y1 * std::numbers::sqrt2;
      break;
  }
  return {centre, {centre.x + radiusX / w, centre.y + radiusY / h}};
}

toolkit::GradientPaint paintFor(const CUIGradientSpec& gradient, toolkit::Size size) {
  const auto [start, end] = gradient.isRadial ? radialEnds(gradient, size.width, size.height)
                                              : linearEnds(gradient.angle, size.width, size.height);
  return toolkit::GradientPaint{gradient.isRadial, gradient.colors, gradient.locations, start, end};
}

// --- Background images -----------------------------------------------------------------------

// "id:" followed by a whole base-10 number names a buffer; anything else is a URL.
std::optional<int64_t> bufferIdOf(std::string_view source) {
  constexpr std::string_view kPrefix = "id:";
  if (!source.starts_with(kPrefix)) return std::nullopt;
  const std::string_view digits = source.substr(kPrefix.size());
  int64_t id = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), id);
  if (digits.empty() || error != std::errc() || end != digits.data() + digits.size()) {
    return std::nullopt;
  }
  return id;
}

void applyBackgroundImage(NodeProtocol& node, std::shared_ptr<const toolkit::Image> image) {
  toolkit::Layer& layer = node.view().layer();
  layer.setContents(std::move(image));
  layer.setContentsGravity(
      node.extras.cuiBgGravity.value_or(toolkit::ContentsGravity::ResizeAspectFill));
  // An image that covers spills past the bounds; the next overflow rule may lift this.
  layer.setMasksToBounds(true);
}

// A load ends in nothing when the node was removed meanwhile.
void loadBackgroundImage(NodeProtocol& node, const std::string& url) {
  downloadImage(url, [view = std::weak_ptr<toolkit::View>(node.viewPtr())](
                         std::shared_ptr<const toolkit::Image> image) {
    const std::shared_ptr<toolkit::View> alive = view.lock();
    NodeProtocol* node = alive ? asNode(alive.get()) : nullptr;
    if (node && node->show) applyBackgroundImage(*node, std::move(image));
  });
}

}  // namespace

// --- Corners and clipping ----------------------------------------------------------------------

void applyCornerRadii(NodeProtocol& node) {
  if (!node.extras.cuiCornerRadiusState) return;
  const std::array<float, 4>& radii = node.extras.cuiCornerRadiusState->radii;
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
  // The paint layers round with the view; they would otherwise wait for the next frame change.
  layoutGradient(node);
  applyOverflowClipping(node);
}

void applyOverflowClipping(NodeProtocol& node) {
  toolkit::Layer& layer = node.view().layer();
  layer.setMasksToBounds(!node.extras.cuiOverflowVisible && layer.cornerRadius() > 0);
}

// --- Side borders ----------------------------------------------------------------------------

void setBorderWidth(NodeProtocol& node, BorderEdge edge, float width) {
  borderState(node).widths[indexOf(edge)] = std::max(0.0f, width);
  layoutBorders(node);
}

void setBorderColor(NodeProtocol& node, BorderEdge edge, toolkit::Color color) {
  borderState(node).colors[indexOf(edge)] = color;
  layoutBorders(node);
}

void resetBorderWidth(NodeProtocol& node, BorderEdge edge) {
  if (!node.extras.cuiBorderState) return;
  node.extras.cuiBorderState->widths[indexOf(edge)] = 0;
  layoutBorders(node);
}

void resetBorderColor(NodeProtocol& node, BorderEdge edge) {
  if (!node.extras.cuiBorderState) return;
  node.extras.cuiBorderState->colors[indexOf(edge)].reset();
  layoutBorders(node);
}

void layoutBorders(NodeProtocol& node) {
  BorderState* state = node.extras.cuiBorderState.get();
  if (!state) return;
  toolkit::Layer& host = node.view().layer();
  const toolkit::Size size = node.view().bounds().size;
  const double w = size.width, h = size.height;
  const auto [top, right, bottom, left] = state->widths;
  // The edges overlap in the corners.
  const std::array<toolkit::Rect, 4> edges = {
      toolkit::Rect{{0, 0}, {w, top}}, toolkit::Rect{{w - right, 0}, {right, h}},
      toolkit::Rect{{0, h - bottom}, {w, bottom}}, toolkit::Rect{{0, 0}, {left, h}}};
  toolkit::ScopedTransaction withoutAnimation;
  for (size_t i = 0; i < edges.size(); ++i) {
    std::shared_ptr<toolkit::Layer>& layer = state->layers[i];
    if (state->widths[i] > 0 && state->colors[i]) {
      if (!layer) {
        layer = std::make_shared<toolkit::Layer>();
        layer->setZPosition(1000);  // over the content and the children
        host.addSublayer(layer);
      }
      layer->setFrame(edges[i]);
      layer->setBackgroundColor(state->colors[i]);
    } else if (layer) {
      layer->removeFromSuperlayer();
      layer.reset();
    }
  }
}

// --- Background images -----------------------------------------------------------------------

void setBackgroundImage(NodeProtocol& node, const std::string& source) {
  if (source.empty()) {
    node.view().layer().setContents(nullptr);
    return;
  }
  if (const std::optional<int64_t> id = bufferIdOf(source)) {
    if (auto image = decodeBuffer(*id)) applyBackgroundImage(node, std::move(image));
    return;
  }
  loadBackgroundImage(node, source);
}

void setBackgroundSize(NodeProtocol& node, const std::string& value) {
  toolkit::ContentsGravity gravity;
  if (value == "contain") {
    gravity = toolkit::ContentsGravity::ResizeAspect;
  } else if (value == "cover") {
    gravity = toolkit::ContentsGravity::ResizeAspectFill;
  } else {
    return;
  }
  node.extras.cuiBgGravity = gravity;
  toolkit::Layer& layer = node.view().layer();
  if (layer.contents()) layer.setContentsGravity(gravity);
}

// --- Gradients ---------------------------------------------------------------------------------

void setGradients(NodeProtocol& node, const std::vector<CUIGradientSpec>& paints) {
  if (paints.empty()) {
    removeGradient(node);
    return;
  }
  auto& state = node.extras.cuiGradientLayers;
  if (!state) state = std::make_shared<GradientLayers>();
  toolkit::Layer& host = node.view().layer();
  // Layers are reused, so that restyling with as many gradients makes none.
  while (state->layers.size() < paints.size()) {
    auto layer = std::make_shared<toolkit::Layer>();
    // The first gradient lies on top of the later ones, all of them behind the content.
    layer->setZPosition(-static_cast<double>(state->layers.size() + 1));
    host.insertSublayer(layer, 0);
    state->layers.push_back(std::move(layer));
  }
  while (state->layers.size() > paints.size()) {
    state->layers.back()->removeFromSuperlayer();
    state->layers.pop_back();
  }
  state->specs = paints;
  layoutGradient(node);
}

void removeGradient(NodeProtocol& node) {
  GradientLayers* state = node.extras.cuiGradientLayers.get();
  if (!state) return;
  for (const auto& layer : state->layers) layer->removeFromSuperlayer();
  state->layers.clear();
  state->specs.clear();
}

void layoutGradient(NodeProtocol& node) {
  GradientLayers* state = node.extras.cuiGradientLayers.get();
  if (!state || state->layers.empty()) return;
  const toolkit::Layer& host = node.view().layer();
  const toolkit::Rect box{{0, 0}, host.bounds().size};
  // A gradient must never lag behind its view.
  toolkit::ScopedTransaction withoutAnimation;
  for (size_t i = 0; i < state->layers.size(); ++i) {
    toolkit::Layer& layer = *state->layers[i];
    layer.setFrame(box);
    layer.setCornerRadius(host.cornerRadius());
    layer.setMaskedCorners(host.maskedCorners());
    layer.setGradient(paintFor(state->specs[i], box.size));
  }
}

}  // namespace talvero
