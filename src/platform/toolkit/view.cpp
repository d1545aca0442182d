#include "platform/toolkit/view.h"

#include <gtk/gtk.h>

#include <algorithm>

#include "platform/toolkit/view_widget.h"

namespace talvero::toolkit {

namespace {

GtkWidget* widgetOf(const View* view) {
  return static_cast<GtkWidget*>(view->nativeWidget());
}

// From a view's bounds to the coordinates of the root of its tree.
Transform3D toRoot(const View* view) {
  Transform3D transform;
  for (const View* v = view; v && v->superview(); v = v->superview()) {
    transform = transform.then(v->layer().toParent());
    if (v->isHosted()) {
      const Point origin = v->superview()->hostedViewOrigin();
      transform = transform.then(Transform3D::translation(origin.x, origin.y));
    }
  }
  return transform;
}

}  // namespace

View::View() : layer_(std::make_unique<Layer>()) {
  widget_ = g_object_ref_sink(newViewWidget(this));
  layer_->setOnChange([this] {
    GtkWidget* widget = widgetOf(this);
    gtk_widget_set_visible(widget, !layer_->hidden());
    gtk_widget_queue_draw(widget);
    if (superview_) gtk_widget_queue_allocate(widgetOf(superview_));
    gtk_widget_queue_allocate(widget);
    if (onLayerChange_) onLayerChange_();
  });
}

void View::hostView(View& child) {
  if (&child == this || isDescendantOf(&child)) return;
  child.removeFromSuperview();
  child.superview_ = this;
  child.hosted_ = true;
}

void View::unhostView(View& child) {
  if (child.superview_ != this || !child.hosted_) return;
  child.superview_ = nullptr;
  child.hosted_ = false;
}

void View::setOnLayerChange(std::function<void()> onChange) {
  onLayerChange_ = std::move(onChange);
}

void View::setNativeContent(void* widget) {
  GtkWidget* self = widgetOf(this);
  if (nativeContent_) gtk_widget_unparent(static_cast<GtkWidget*>(nativeContent_));
  nativeContent_ = widget;
  if (widget) {
    // Below every subview's widget, so that subviews stay on top for the pointer too.
    gtk_widget_insert_after(static_cast<GtkWidget*>(widget), self, nullptr);
  }
  gtk_widget_queue_allocate(self);
}

View::~View() {
  setNativeContent(nullptr);
  for (auto& child : subviews_) {
    child->superview_ = nullptr;
    gtk_widget_unparent(widgetOf(child.get()));
  }
  subviews_.clear();
  GtkWidget* widget = widgetOf(this);
  if (gtk_widget_get_parent(widget)) gtk_widget_unparent(widget);
  g_object_unref(widget);
}

void View::attach(std::shared_ptr<View> child, size_t index) {
  if (!child || child.get() == this || isDescendantOf(child.get())) return;
  child->removeFromSuperview();
  index = std::min(index, subviews_.size());
  GtkWidget* next = index < subviews_.size() ? widgetOf(subviews_[index].get()) : nullptr;
  gtk_widget_insert_before(widgetOf(child.get()), widgetOf(this), next);
  child->superview_ = this;
  subviews_.insert(subviews_.begin() + static_cast<std::ptrdiff_t>(index), std::move(child));
  gtk_widget_queue_allocate(widgetOf(this));
}

void View::addSubview(std::shared_ptr<View> child) {
  attach(std::move(child), subviews_.size());
}

void View::addSubview(std::shared_ptr<View> child, Position position, const View* relativeTo) {
  auto sibling = std::find_if(subviews_.begin(), subviews_.end(),
                              [relativeTo](const auto& view) { return view.get() == relativeTo; });
  size_t index;
  if (sibling == subviews_.end()) {
    index = position == Position::Above ? subviews_.size() : 0;
  } else {
    index =
        static_cast<size_t>(sibling - subviews_.begin()) + (position == Position::Above ? 1 : 0);
  }
  // Moving a view within the same parent shifts the index of those after it.
  if (child && child->superview_ == this) {
    const auto current = std::find(subviews_.begin(), subviews_.end(), child);
    if (current != subviews_.end() && static_cast<size_t>(current - subviews_.begin()) < index)
      --index;
  }
  attach(std::move(child), index);
}

void View::removeFromSuperview() {
  View* parent = superview_;
  if (!parent || hosted_) return;
  auto keepAlive = shared_from_this();
  auto& siblings = parent->subviews_;
  siblings.erase(std::remove(siblings.begin(), siblings.end(), keepAlive), siblings.end());
  superview_ = nullptr;
  gtk_widget_unparent(widgetOf(this));
  gtk_widget_queue_draw(widgetOf(parent));
}

bool View::isDescendantOf(const View* other) const {
  for (const View* v = this; v; v = v->superview_) {
    if (v == other) return true;
  }
  return false;
}

void View::setHidden(bool hidden) {
  layer_->setHidden(hidden);
}

void View::setFrame(const Rect& frame) {
  layer_->setFrame(frame);
}

Point View::convertPoint(Point point, const View* from) const {
  const Point inRoot = from ? toRoot(from).apply(point) : point;
  Transform3D fromRoot;
  if (!toRoot(this).invert(fromRoot)) return inRoot;
  return fromRoot.apply(inRoot);
}

void View::setNeedsDisplay() {
  gtk_widget_queue_draw(widgetOf(this));
}

double View::backingScaleFactor() const {
  return gtk_widget_get_scale_factor(widgetOf(this));
}

std::optional<double> View::windowBackingScale() const {
  GtkWidget* widget = widgetOf(this);
  if (!gtk_widget_get_root(widget)) return std::nullopt;
  return gtk_widget_get_scale_factor(widget);
}

View* View::hitTest(Point pointInSuperview) {
  if (isHidden()) return nullptr;
  Transform3D fromParent;
  if (!layer_->toParent().invert(fromParent)) return nullptr;
  const Point local = fromParent.apply(pointInSuperview);
  if (!bounds().contains(local)) return nullptr;
  for (auto it = subviews_.rbegin(); it != subviews_.rend(); ++it) {
    if (View* hit = (*it)->hitTest(local)) return hit;
  }
  return this;
}

}  // namespace talvero::toolkit
