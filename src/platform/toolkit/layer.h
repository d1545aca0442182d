#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/toolkit/animation.h"
#include "platform/toolkit/geometry.h"
#include "platform/toolkit/image.h"

namespace talvero::toolkit {

// Corners in view coordinates (top-left origin).
enum CornerMask : uint32_t {
  kTopLeftCorner = 1,
  kTopRightCorner = 2,
  kBottomLeftCorner = 4,
  kBottomRightCorner = 8,
  kAllCorners = 15,
};

enum class ContentsGravity { Resize, ResizeAspect, ResizeAspectFill, Center, TopLeft };

// A gradient fill in unit coordinates of the layer's box, y downwards.
struct GradientPaint {
  bool radial = false;
  std::vector<Color> colors;
  std::vector<double> locations;
  Point start{0.5, 1};
  Point end{0.5, 0};  // radial: the point at the end of the radius on each axis
};

// The animatable values of a layer, with the anchor point that places them: as set (the
// model), or as on screen now (the presentation: the model with running animations applied).
struct LayerValues {
  Rect bounds;
  Point position;
  Point anchorPoint{0.5, 0.5};
  Transform3D transform;
  double opacity = 1;
  std::optional<Color> backgroundColor;
  Color borderColor{0, 0, 0, 1};
  double borderWidth = 0;
  double cornerRadius = 0;

  // Parent coordinates to the layer's: position, anchor and transform.
  Transform3D toParent() const;
};

enum class AnimatedProperty : uint8_t;

// What a view draws, and how it sits in its parent: the geometry, the look and the
// sublayers. Each view has one; sublayers with a negative z draw behind the view's content,
// those at zero or above over its children. Setting a property redraws the owner.
class Layer {
 public:
  Layer();
  ~Layer();
  Layer(const Layer&) = delete;
  Layer& operator=(const Layer&) = delete;

  // Geometry: the frame is position and bounds about the anchor point.
  void setBounds(const Rect& bounds);
  const Rect& bounds() const { return bounds_; }
  void setPosition(Point position);
  Point position() const { return position_; }
  void setAnchorPoint(Point anchor);
  Point anchorPoint() const { return anchorPoint_; }
  void setTransform(const Transform3D& transform);
  const Transform3D& transform() const { return transform_; }
  void setZPosition(double z);
  double zPosition() const { return zPosition_; }
  // The frame in the parent's coordinates, transform ignored (as a view's frame).
  Rect frame() const;
  void setFrame(const Rect& frame);
  // Parent coordinates to this layer's: position, anchor and transform.
  Transform3D toParent() const;

  // Look.
  void setBackgroundColor(std::optional<Color> color);
  const std::optional<Color>& backgroundColor() const { return backgroundColor_; }
  void setBorderColor(Color color);
  Color borderColor() const { return borderColor_; }
  void setBorderWidth(double width);
  double borderWidth() const { return borderWidth_; }
  void setCornerRadius(double radius);
  double cornerRadius() const { return cornerRadius_; }
  void setMaskedCorners(uint32_t corners);
  uint32_t maskedCorners() const { return maskedCorners_; }
  void setMasksToBounds(bool masks);
  bool masksToBounds() const { return masksToBounds_; }
  void setOpacity(double opacity);
  double opacity() const { return opacity_; }
  void setHidden(bool hidden);
  bool hidden() const { return hidden_; }
  void setContents(std::shared_ptr<const Image> image);
  const std::shared_ptr<const Image>& contents() const { return contents_; }
  void setContentsGravity(ContentsGravity gravity);
  ContentsGravity contentsGravity() const { return contentsGravity_; }
  void setGradient(std::optional<GradientPaint> gradient);
  const std::optional<GradientPaint>& gradient() const { return gradient_; }

  // Sublayers, kept in order of adding; drawing sorts them by z.
  void addSublayer(std::shared_ptr<Layer> layer);
  void insertSublayer(std::shared_ptr<Layer> layer, size_t index);
  void removeFromSuperlayer();
  const std::vector<std::shared_ptr<Layer>>& sublayers() const { return sublayers_; }
  Layer* superlayer() const { return superlayer_; }

  // Called after any change, by the owning view to redraw; on every frame while an animation
  // runs.
  void setOnChange(std::function<void()> onChange);

  // Animations. Adding under a key replaces the animation of that key, which then completes
  // unfinished; an empty key replaces nothing. False, with a log line, for an unknown key path
  // or a value of the wrong kind: its completion then runs unfinished.
  bool addAnimation(BasicAnimation animation, const std::string& key);
  void removeAnimation(const std::string& key);
  void removeAllAnimations();
  bool hasAnimation(const std::string& key) const;
  // True while an animation has not reached its end.
  bool hasRunningAnimations() const;
  LayerValues modelValues() const;
  LayerValues presentation() const;

  // For the toolkit's own files: the owning view's widget (GtkWidget*), whose frame clock
  // drives the animations while it is on screen.
  void setAnimationHost(void* widget) { animationHost_ = widget; }
  void* animationHost() const { return animationHost_; }

 private:
  struct AttachedAnimation {
    std::string key;
    AnimatedProperty property;
    AnimationValue from;
    std::optional<AnimationValue> to;
    double begin = 0;  // animation time of the start, delay included
    double duration = 0;
    TimingFunction timing = TimingFunction::Default;
    FillMode fillMode = FillMode::Removed;
    bool removedOnCompletion = true;
    bool completed = false;
    std::function<void(bool)> completion;
  };
  friend struct AnimationClock;

  void changed();
  // Ends the animations past their end at `now`; true while some still run.
  bool advanceAnimations(double now);
  void applyAnimations(double now, LayerValues& shown) const;
  void attach(AttachedAnimation animation);

  Rect bounds_;
  Point position_;
  Point anchorPoint_{0.5, 0.5};
  Transform3D transform_;
  double zPosition_ = 0;
  std::optional<Color> backgroundColor_;
  Color borderColor_{0, 0, 0, 1};
  double borderWidth_ = 0;
  double cornerRadius_ = 0;
  uint32_t maskedCorners_ = kAllCorners;
  bool masksToBounds_ = false;
  double opacity_ = 1;
  bool hidden_ = false;
  std::shared_ptr<const Image> contents_;
  ContentsGravity contentsGravity_ = ContentsGravity::Resize;
  std::optional<GradientPaint> gradient_;
  std::vector<std::shared_ptr<Layer>> sublayers_;
  Layer* superlayer_ = nullptr;
  std::function<void()> onChange_;
  std::vector<AttachedAnimation> animations_;
  void* animationHost_ = nullptr;
  unsigned frameCallback_ = 0;  // the host's tick callback driving this layer, or 0
  bool scheduled_ = false;      // in the clock's list of layers to bring to time
};

}  // namespace talvero::toolkit
