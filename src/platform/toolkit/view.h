#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "platform/toolkit/geometry.h"
#include "platform/toolkit/layer.h"

namespace talvero::toolkit {

class DrawContext;

// A view: one layer, drawn by a widget of the platform, with subviews placed at their
// frames through their layer's transform. A later sibling draws on top. Main thread only.
class View : public std::enable_shared_from_this<View> {
 public:
  View();
  virtual ~View();
  View(const View&) = delete;
  View& operator=(const View&) = delete;

  Layer& layer() { return *layer_; }
  const Layer& layer() const { return *layer_; }

  void addSubview(std::shared_ptr<View> child);
  enum class Position { Above, Below };
  // Above or below `relativeTo` among the siblings; on top (Above) or at the back (Below)
  // when it is no subview of this view.
  void addSubview(std::shared_ptr<View> child, Position position, const View* relativeTo);
  void removeFromSuperview();
  const std::vector<std::shared_ptr<View>>& subviews() const { return subviews_; }
  View* superview() const { return superview_; }
  bool isDescendantOf(const View* other) const;

  // Hidden: not drawn, not hit; the frame is kept.
  void setHidden(bool hidden);
  bool isHidden() const { return layer_->hidden(); }

  void setFrame(const Rect& frame);
  Rect frame() const { return layer_->frame(); }
  Rect bounds() const { return Rect{{0, 0}, layer_->bounds().size}; }

  // A point of `from` (or of the root of this view's tree when null) in this view's bounds.
  Point convertPoint(Point point, const View* from) const;
  void setNeedsDisplay();
  double backingScaleFactor() const;
  // The backing scale of the window that shows this view; nothing while it is in none.
  std::optional<double> windowBackingScale() const;

  // The deepest visible view under a point of the superview's coordinates, or null. A view
  // may override it to claim the presses of its subviews.
  virtual View* hitTest(Point pointInSuperview);

  // Pointer events of the primary button, in this view's coordinates. The view hit at the
  // press receives the drags and the release too.
  virtual void mouseDown(Point) {}
  virtual void mouseDragged(Point) {}
  virtual void mouseUp(Point) {}

  // Content drawn between the layer's background and the subviews (text, for a label).
  virtual void drawContent(DrawContext&) {}

  // The size the view's content asks for, for layouts that size a view by what it shows. A
  // view without such a size, as a plain view, answers `kNoIntrinsicMetric` on both axes.
  static constexpr double kNoIntrinsicMetric = -1;
  virtual Size intrinsicContentSize() const { return {kNoIntrinsicMetric, kNoIntrinsicMetric}; }

  void* nativeWidget() const { return widget_; }  // GtkWidget*, for the toolkit's own files
  // A platform widget (GtkWidget*) that fills the view's bounds, drawn after its content and
  // before its subviews, and given the pointer and keyboard by the platform itself: text
  // fields and scroll views. Null removes it. For the toolkit's own files.
  void setNativeContent(void* widget);
  void* nativeContent() const { return nativeContent_; }

  // For containers whose platform widget holds a view outside `subviews` (a scroll view's
  // document): the hosted view takes this one as superview for coordinates and presses, and
  // its bounds' origin lies at `hostedViewOrigin()` here. The host parents its widget and
  // unhosts it before going away; `removeFromSuperview` leaves a hosted view in place.
  void hostView(View& child);
  void unhostView(View& child);
  bool isHosted() const { return hosted_; }
  virtual Point hostedViewOrigin() const { return {}; }
  // Called after each change of the layer, for a host that follows this view's geometry.
  void setOnLayerChange(std::function<void()> onChange);

 private:
  void attach(std::shared_ptr<View> child, size_t index);

  std::unique_ptr<Layer> layer_;
  std::vector<std::shared_ptr<View>> subviews_;
  View* superview_ = nullptr;
  void* widget_ = nullptr;
  void* nativeContent_ = nullptr;
  bool hosted_ = false;
  std::function<void()> onLayerChange_;
};

}  // namespace talvero::toolkit
