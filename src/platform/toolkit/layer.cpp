#include "platform/toolkit/layer.h"

#include <glib.h>

#include <algorithm>
#include <cmath>

namespace talvero::toolkit {

enum class AnimatedProperty : uint8_t {
  Opacity,
  Transform,
  TranslationX,
  TranslationY,
  Scale,
  ScaleX,
  ScaleY,
  RotationZ,
  Position,
  Bounds,
  BackgroundColor,
  BorderColor,
  BorderWidth,
  CornerRadius,
};

namespace {

enum ValueKind { kNumber, kPoint, kRect, kColor, kTransform };  // AnimationValue's indices

struct PropertyName {
  const char* keyPath;
  AnimatedProperty property;
  ValueKind kind;
};

constexpr PropertyName kProperties[] = {
    {"opacity", AnimatedProperty::Opacity, kNumber},
    {"transform", AnimatedProperty::Transform, kTransform},
    {"transform.translation.x", AnimatedProperty::TranslationX, kNumber},
    {"transform.translation.y", AnimatedProperty::TranslationY, kNumber},
    {"transform.scale", AnimatedProperty::Scale, kNumber},
    {"transform.scale.x", AnimatedProperty::ScaleX, kNumber},
    {"transform.scale.y", AnimatedProperty::ScaleY, kNumber},
    {"transform.rotation.z", AnimatedProperty::RotationZ, kNumber},
    {"transform.rotation", AnimatedProperty::RotationZ, kNumber},
    {"position", AnimatedProperty::Position, kPoint},
    {"bounds", AnimatedProperty::Bounds, kRect},
    {"backgroundColor", AnimatedProperty::BackgroundColor, kColor},
    {"borderColor", AnimatedProperty::BorderColor, kColor},
    {"borderWidth", AnimatedProperty::BorderWidth, kNumber},
    {"cornerRadius", AnimatedProperty::CornerRadius, kNumber},
};

const PropertyName* findProperty(const std::string& keyPath) {
  for (const auto& name : kProperties) {
    if (keyPath == name.keyPath) return &name;
  }
  return nullptr;
}

// A 2D transform taken apart so that its parts can be set and blended one by one: the
// linear part is rotation(angle) applied after scale(scaleX, scaleY) and a shear along x.
struct TransformParts {
  double scaleX = 1, scaleY = 1, shear = 0, angle = 0;

  static TransformParts of(const Transform3D& t) {
    const double a = t.m[0], b = t.m[1], c = t.m[4], d = t.m[5];
    TransformParts parts;
    parts.scaleX = std::hypot(a, b);
    if (parts.scaleX < 1e-12) {
      parts.scaleX = 0;
      parts.scaleY = d;
      return parts;
    }
    parts.angle = std::atan2(b, a);
    parts.scaleY = (a * d - b * c) / parts.scaleX;
    parts.shear =
        std::abs(parts.scaleY) < 1e-12 ? 0 : (a * c + b * d) / parts.scaleX / parts.scaleY;
    return parts;
  }

  void writeTo(Transform3D& t) const {
    const double cosine = std::cos(angle), sine = std::sin(angle);
    t.m[0] = scaleX * cosine;
    t.m[1] = scaleX * sine;
    t.m[4] = scaleY * (shear * cosine - sine);
    t.m[5] = scaleY * (shear * sine + cosine);
  }
};

bool isAffine2D(const Transform3D& t) {
  const auto& m = t.m;
  return m[2] == 0 && m[3] == 0 && m[6] == 0 && m[7] == 0 && m[8] == 0 && m[9] == 0 && m[10] == 1 &&
         m[11] == 0 && m[14] == 0 && m[15] == 1;
}

double mix(double from, double to, double p) {
  return from + (to - from) * p;
}

// 2D transforms blend part by part, so that a turn stays a turn; others entry by entry.
Transform3D mix(const Transform3D& from, const Transform3D& to, double p) {
  Transform3D out;
  if (!isAffine2D(from) || !isAffine2D(to)) {
    for (size_t i = 0; i < out.m.size(); ++i) out.m[i] = mix(from.m[i], to.m[i], p);
    return out;
  }
  const TransformParts a = TransformParts::of(from), b = TransformParts::of(to);
  double turn = b.angle - a.angle;
  if (turn > M_PI) turn -= 2 * M_PI;
  if (turn < -M_PI) turn += 2 * M_PI;
  const TransformParts parts{mix(a.scaleX, b.scaleX, p), mix(a.scaleY, b.scaleY, p),
                             mix(a.shear, b.shear, p), a.angle + turn * p};
  parts.writeTo(out);
  out.m[12] = mix(from.m[12], to.m[12], p);
  out.m[13] = mix(from.m[13], to.m[13], p);
  return out;
}

// Colours blend premultiplied, so that fading in from clear shows no dark fringe.
Color mix(const Color& from, const Color& to, double p) {
  const double alpha = mix(from.alpha, to.alpha, p);
  if (alpha <= 0) return Color{to.red, to.green, to.blue, 0};
  auto channel = [&](double f, double t) { return mix(f * from.alpha, t * to.alpha, p) / alpha; };
  return Color{channel(from.red, to.red), channel(from.green, to.green),
               channel(from.blue, to.blue), alpha};
}

AnimationValue mix(const AnimationValue& from, const AnimationValue& to, double p) {
  switch (from.index()) {
    case kNumber:
      return mix(std::get<double>(from), std::get<double>(to), p);
    case kPoint: {
      const auto &a = std::get<Point>(from), &b = std::get<Point>(to);
      return Point{mix(a.x, b.x, p), mix(a.y, b.y, p)};
    }
    case kRect: {
      const auto &a = std::get<Rect>(from), &b = std::get<Rect>(to);
      return Rect{{mix(a.x(), b.x(), p), mix(a.y(), b.y(), p)},
                  {mix(a.width(), b.width(), p), mix(a.height(), b.height(), p)}};
    }
    case kColor:
      return mix(std::get<Color>(from), std::get<Color>(to), p);
    default:
      return mix(std::get<Transform3D>(from), std::get<Transform3D>(to), p);
  }
}

AnimationValue read(const LayerValues& values, AnimatedProperty property) {
  const auto& m = values.transform.m;
  switch (property) {
    case AnimatedProperty::Opacity:
      return values.opacity;
    case AnimatedProperty::Transform:
      return values.transform;
    case AnimatedProperty::TranslationX:
      return m[12];
    case AnimatedProperty::TranslationY:
      return m[13];
    case AnimatedProperty::Scale:
    case AnimatedProperty::ScaleX:
      return TransformParts::of(values.transform).scaleX;
    case AnimatedProperty::ScaleY:
      return TransformParts::of(values.transform).scaleY;
    case AnimatedProperty::RotationZ:
      return TransformParts::of(values.transform).angle;
    case AnimatedProperty::Position:
      return values.position;
    case AnimatedProperty::Bounds:
      return values.bounds;
    case AnimatedProperty::BackgroundColor:
      return values.backgroundColor.value_or(Color{0, 0, 0, 0});
    case AnimatedProperty::BorderColor:
      return values.borderColor;
    case AnimatedProperty::BorderWidth:
      return values.borderWidth;
    case AnimatedProperty::CornerRadius:
      return values.cornerRadius;
  }
  return 0.0;
}

void write(LayerValues& values, AnimatedProperty property, const AnimationValue& value) {
  auto setPart = [&](auto change) {
    TransformParts parts = TransformParts::of(values.transform);
    change(parts, std::get<double>(value));
    parts.writeTo(values.transform);
  };
  switch (property) {
    case AnimatedProperty::Opacity:
      values.opacity = std::clamp(std::get<double>(value), 0.0, 1.0);
      break;
    case AnimatedProperty::Transform:
      values.transform = std::get<Transform3D>(value);
      break;
    case AnimatedProperty::TranslationX:
      values.transform.m[12] = std::get<double>(value);
      break;
    case AnimatedProperty::TranslationY:
      values.transform.m[13] = std::get<double>(value);
      break;
    case AnimatedProperty::Scale:
      setPart([](TransformParts& parts, double v) { parts.scaleX = parts.scaleY = v; });
      break;
    case AnimatedProperty::ScaleX:
      setPart([](TransformParts& parts, double v) { parts.scaleX = v; });
      break;
    case AnimatedProperty::ScaleY:
      setPart([](TransformParts& parts, double v) { parts.scaleY = v; });
      break;
    case AnimatedProperty::RotationZ:
      setPart([](TransformParts& parts, double v) { parts.angle = v; });
      break;
    case AnimatedProperty::Position:
      values.position = std::get<Point>(value);
      break;
    case AnimatedProperty::Bounds:
      values.bounds = std::get<Rect>(value);
      break;
    case AnimatedProperty::BackgroundColor:
      values.backgroundColor = std::get<Color>(value);
      break;
    case AnimatedProperty::BorderColor:
      values.borderColor = std::get<Color>(value);
      break;
    case AnimatedProperty::BorderWidth:
      values.borderWidth = std::max(0.0, std::get<double>(value));
      break;
    case AnimatedProperty::CornerRadius:
      values.cornerRadius = std::max(0.0, std::get<double>(value));
      break;
  }
}

}  // namespace

Transform3D LayerValues::toParent() const {
  return Transform3D::translation(-anchorPoint.x * bounds.size.width - bounds.origin.x,
                                  -anchorPoint.y * bounds.size.height - bounds.origin.y)
      .then(transform)
      .then(Transform3D::translation(position.x, position.y));
}

Layer::Layer() = default;

Layer::~Layer() {
  unscheduleAnimations(*this);
  for (auto& animation : animations_) {
    if (!animation.completed && animation.completion)
      queueAnimationCompletion(std::move(animation.completion), false);
  }
  for (auto& sublayer : sublayers_) sublayer->superlayer_ = nullptr;
}

LayerValues Layer::modelValues() const {
  return LayerValues{bounds_,          position_,    anchorPoint_, transform_,   opacity_,
                     backgroundColor_, borderColor_, borderWidth_, cornerRadius_};
}

LayerValues Layer::presentation() const {
  LayerValues shown = modelValues();
  if (!animations_.empty()) applyAnimations(animationTime(), shown);
  return shown;
}

void Layer::applyAnimations(double now, LayerValues& shown) const {
  const LayerValues model = shown;
  for (const auto& animation : animations_) {
    const double elapsed = now - animation.begin;
    double progress;
    if (elapsed < 0) {
      if (animation.fillMode != FillMode::Backwards && animation.fillMode != FillMode::Both)
        continue;
      progress = 0;
    } else if (animation.completed || elapsed >= animation.duration) {
      if (animation.fillMode != FillMode::Forwards && animation.fillMode != FillMode::Both)
        continue;
      progress = 1;
    } else {
      progress = timingCurve(animation.timing, elapsed / animation.duration);
    }
    const AnimationValue to = animation.to ? *animation.to : read(model, animation.property);
    write(shown, animation.property, mix(animation.from, to, progress));
  }
}

bool Layer::addAnimation(BasicAnimation animation, const std::string& key) {
  const PropertyName* name = findProperty(animation.keyPath);
  const bool fits = name && (!animation.from || animation.from->index() == name->kind) &&
                    (!animation.to || animation.to->index() == name->kind);
  if (!fits) {
    g_warning("toolkit: cannot animate key path \"%s\" with these values",
              animation.keyPath.c_str());
    if (animation.completion) queueAnimationCompletion(std::move(animation.completion), false);
    return false;
  }
  AttachedAnimation attached{
      key,
      name->property,
      animation.from ? *animation.from : read(presentation(), name->property),
      std::move(animation.to),
      animationTime() + std::max(0.0, animation.delay),
      std::max(0.0, animation.duration),
      animation.timing,
      animation.fillMode,
      animation.removedOnCompletion,
      false,
      std::move(animation.completion),
  };
  attach(std::move(attached));
  changed();
  return true;
}

void Layer::attach(AttachedAnimation animation) {
  if (!animation.key.empty()) removeAnimation(animation.key);
  animations_.push_back(std::move(animation));
  scheduleAnimations(*this);
}

void Layer::removeAnimation(const std::string& key) {
  auto found = std::find_if(animations_.begin(), animations_.end(),
                            [&key](const AttachedAnimation& a) { return a.key == key; });
  if (found == animations_.end()) return;
  if (!found->completed && found->completion)
    queueAnimationCompletion(std::move(found->completion), false);
  animations_.erase(found);
  changed();
}

void Layer::removeAllAnimations() {
  if (animations_.empty()) return;
  for (auto& animation : animations_) {
    if (!animation.completed && animation.completion)
      queueAnimationCompletion(std::move(animation.completion), false);
  }
  animations_.clear();
  changed();
}

bool Layer::hasAnimation(const std::string& key) const {
  return std::any_of(animations_.begin(), animations_.end(),
                     [&key](const AttachedAnimation& a) { return a.key == key; });
}

bool Layer::hasRunningAnimations() const {
  return std::any_of(animations_.begin(), animations_.end(),
                     [](const AttachedAnimation& a) { return !a.completed; });
}

bool Layer::advanceAnimations(double now) {
  bool running = false, moved = false;
  for (size_t i = 0; i < animations_.size();) {
    AttachedAnimation& animation = animations_[i];
    if (animation.completed) {
      ++i;
      continue;
    }
    moved = true;
    if (now < animation.begin + animation.duration) {
      running = true;
      ++i;
      continue;
    }
    animation.completed = true;
    if (animation.completion) queueAnimationCompletion(std::move(animation.completion), true);
    if (animation.removedOnCompletion) {
      animations_.erase(animations_.begin() + static_cast<std::ptrdiff_t>(i));
    } else {
      ++i;
    }
  }
  if (moved) changed();
  return running;
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

// Inside an open animation group a change animates from what is on screen now; this runs
// before the model changes.
template <class Read>
static void animateChange(Layer& layer, const char* keyPath, Read read) {
  if (AnimationGroupContext* group = implicitAnimationContext())
    addImplicitAnimation(layer, *group, keyPath, read(layer.presentation()));
}

void Layer::setBounds(const Rect& bounds) {
  if (bounds_.origin.x == bounds.origin.x && bounds_.origin.y == bounds.origin.y &&
      bounds_.size.width == bounds.size.width && bounds_.size.height == bounds.size.height) {
    return;
  }
  animateChange(*this, "bounds", [](const LayerValues& v) { return AnimationValue(v.bounds); });
  bounds_ = bounds;
  changed();
}

void Layer::setPosition(Point position) {
  if (position_.x == position.x && position_.y == position.y) return;
  animateChange(*this, "position", [](const LayerValues& v) { return AnimationValue(v.position); });
  position_ = position;
  changed();
}

void Layer::setAnchorPoint(Point anchor) {
  if (assign(anchorPoint_.x, anchor.x) | assign(anchorPoint_.y, anchor.y)) changed();
}

void Layer::setTransform(const Transform3D& transform) {
  if (transform_ == transform) return;
  animateChange(*this, "transform",
                [](const LayerValues& v) { return AnimationValue(v.transform); });
  transform_ = transform;
  changed();
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
  if (backgroundColor_ == color) return;
  animateChange(*this, "backgroundColor", [](const LayerValues& v) {
    return AnimationValue(v.backgroundColor.value_or(Color{0, 0, 0, 0}));
  });
  backgroundColor_ = color;
  changed();
}
void Layer::setBorderColor(Color color) {
  if (borderColor_ == color) return;
  animateChange(*this, "borderColor",
                [](const LayerValues& v) { return AnimationValue(v.borderColor); });
  borderColor_ = color;
  changed();
}
void Layer::setBorderWidth(double width) {
  if (borderWidth_ == width) return;
  animateChange(*this, "borderWidth",
                [](const LayerValues& v) { return AnimationValue(v.borderWidth); });
  borderWidth_ = width;
  changed();
}
void Layer::setCornerRadius(double radius) {
  if (cornerRadius_ == radius) return;
  animateChange(*this, "cornerRadius",
                [](const LayerValues& v) { return AnimationValue(v.cornerRadius); });
  cornerRadius_ = radius;
  changed();
}
void Layer::setMaskedCorners(uint32_t corners) {
  if (assign(maskedCorners_, corners & kAllCorners)) changed();
}
void Layer::setMasksToBounds(bool masks) {
  if (assign(masksToBounds_, masks)) changed();
}
void Layer::setOpacity(double opacity) {
  opacity = std::clamp(opacity, 0.0, 1.0);
  if (opacity_ == opacity) return;
  animateChange(*this, "opacity", [](const LayerValues& v) { return AnimationValue(v.opacity); });
  opacity_ = opacity;
  changed();
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
