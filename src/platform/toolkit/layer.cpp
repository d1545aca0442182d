#include "platform/toolkit/layer.h"

#include <algorithm>

namespace talvero::toolkit {

Layer::Layer() = default;

Layer::~Layer() {
  for (auto& sublayer : sublayers_) sublayer->superlayer_ = nullptr;
}

void Layer::changed() {
  if (onChange_) {
    onChange_();
  } else if (superlayer_) {
    superlayer_->changed();
  }
}

void Layer::setOnChange(std::function<void()> onChange) {
  onChange_ = std::move(onChange);
}

template <class T>
static bool assign(T& field, const T& value) {
  if (field == value) return false;
  field = value;
  return true;
}

void Layer::setBounds(const Rect& bounds) {
  if (assign(bounds_.origin.x, bounds.origin.x) | assign(bounds_.origin.y, bounds.origin.y) |
      assign(bounds_.size.width, bounds.size.width) |
      assign(bounds_.size.height, bounds.size.height)) {
    changed();
  }
}

void Layer::setPosition(Point position) {
  if (assign(position_.x, position.x) | assign(position_.y, position.y)) changed();
}

void Layer::setAnchorPoint(Point anchor) {
  if (assign(anchorPoint_.x, anchor.x) | assign(anchorPoint_.y, anchor.y)) changed();
}

void Layer::setTransform(const Transform3D& transform) {
  if (assign(transform_, transform)) changed();
}

void Layer::setZPosition(double z) {
  if (assign(zPosition_, z)) changed();
}

Rect Layer::frame() const {
  return Rect{{position_.x - anchorPoint_.x * bounds_.size.width,
               position_.y - anchorPoint_.y * bounds_.size.height},
              bounds_.size};
}

void Layer::setFrame(const Rect& frame) {
  setBounds(Rect{bounds_.origin, frame.size});
  setPosition(Point{frame.x() + anchorPoint_.x * frame.width(),
                    frame.y() + anchorPoint_.y * frame.height()});
}

Transform3D Layer::toParent() const {
  return Transform3D::translation(-anchorPoint_.x * bounds_.size.width - bounds_.origin.x,
                                  -anchorPoint_.y * bounds_.size.height - bounds_.origin.y)
      .then(transform_)
      .then(Transform3D::translation(position_.x, position_.y));
}

void Layer::setBackgroundColor(std::optional<Color> color) {
  if (assign(backgroundColor_, color)) changed();
}
void Layer::setBorderColor(Color color) {
  if (assign(borderColor_, color)) changed();
}
void Layer::setBorderWidth(double width) {
  if (assign(borderWidth_, width)) changed();
}
void Layer::setCornerRadius(double radius) {
  if (assign(cornerRadius_, radius)) changed();
}
void Layer::setMaskedCorners(uint32_t corners) {
  if (assign(maskedCorners_, corners & kAllCorners)) changed();
}
void Layer::setMasksToBounds(bool masks) {
  if (assign(masksToBounds_, masks)) changed();
}
void Layer::setOpacity(double opacity) {
  if (assign(opacity_, std::clamp(opacity, 0.0, 1.0))) changed();
}
void Layer::setHidden(bool hidden) {
  if (assign(hidden_, hidden)) changed();
}
void Layer::setContents(std::shared_ptr<const Image> image) {
  if (assign(contents_, image)) changed();
}
void Layer::setContentsGravity(ContentsGravity gravity) {
  if (assign(contentsGravity_, gravity)) changed();
}
void Layer::setGradient(std::optional<GradientPaint> gradient) {
  gradient_ = std::move(gradient);
  changed();
}

void Layer::addSublayer(std::shared_ptr<Layer> layer) {
  insertSublayer(std::move(layer), sublayers_.size());
}

void Layer::insertSublayer(std::shared_ptr<Layer> layer, size_t index) {
  if (!layer || layer.get() == this) return;
  layer->removeFromSuperlayer();
  layer->superlayer_ = this;
  sublayers_.insert(
      sublayers_.begin() + static_cast<std::ptrdiff_t>(std::min(index, sublayers_.size())),
      std::move(layer));
  changed();
}

void Layer::removeFromSuperlayer() {
  Layer* parent = superlayer_;
  if (!parent) return;
  superlayer_ = nullptr;
  auto& siblings = parent->sublayers_;
  siblings.erase(
      std::remove_if(siblings.begin(), siblings.end(),
                     [this](const std::shared_ptr<Layer>& layer) { return layer.get() == this; }),
      siblings.end());
  parent->changed();
}

}  // namespace talvero::toolkit
