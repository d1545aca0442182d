#include "platform/toolkit/scroll_view.h"

#include <gtk/gtk.h>

#include <algorithm>
#include <cmath>

#include "platform/toolkit/draw_context.h"

namespace talvero::toolkit {

namespace {

// A user scroll is over once the visible area has not moved for this long: wheels send no
// end of their own, and a kinetic glide keeps moving after the fingers have left.
constexpr unsigned kRestMilliseconds = 150;

GtkScrolledWindow* scrollerOf(void* scroller) {
  return GTK_SCROLLED_WINDOW(scroller);
}

// Widens the adjustment's range to `extent` now, ahead of the layout that will set it too, so
// that a scroll right after a change of the document is not clamped to the old range.
void reachAtLeast(GtkAdjustment* adjustment, double extent, double visible) {
  const double page = gtk_adjustment_get_page_size(adjustment) > 0
                          ? gtk_adjustment_get_page_size(adjustment)
                          : visible;
  const double upper = std::max(extent, page);
  if (upper == gtk_adjustment_get_upper(adjustment) &&
      page == gtk_adjustment_get_page_size(adjustment))
    return;
  const double value = std::clamp(gtk_adjustment_get_value(adjustment), 0.0, upper - page);
  gtk_adjustment_configure(adjustment, value, 0, upper,
                           gtk_adjustment_get_step_increment(adjustment),
                           gtk_adjustment_get_page_increment(adjustment), page);
}

}  // namespace

ScrollView::ScrollView() {
  GtkWidget* scroller = gtk_scrolled_window_new();
  scroller_ = g_object_ref_sink(scroller);
  gtk_scrolled_window_set_overlay_scrolling(scrollerOf(scroller_), TRUE);
  gtk_scrolled_window_set_has_frame(scrollerOf(scroller_), FALSE);
  layer().setMasksToBounds(true);
  applyPolicy();

  auto onValue =
      +[](GtkAdjustment*, gpointer self) { static_cast<ScrollView*>(self)->scrollMoved(); };
  g_signal_connect(gtk_scrolled_window_get_hadjustment(scrollerOf(scroller_)), "value-changed",
                   G_CALLBACK(onValue), this);
  g_signal_connect(gtk_scrolled_window_get_vadjustment(scrollerOf(scroller_)), "value-changed",
                   G_CALLBACK(onValue), this);

  // Watches the user's scrolling without taking it: the scrolled window still scrolls.
  GtkEventController* wheel =
      gtk_event_controller_scroll_new(GTK_EVENT_CONTROLLER_SCROLL_BOTH_AXES);
  gtk_event_controller_set_propagation_phase(wheel, GTK_PHASE_CAPTURE);
  g_signal_connect(wheel, "scroll",
                   G_CALLBACK(+[](GtkEventControllerScroll*, double, double, gpointer self) {
                     static_cast<ScrollView*>(self)->userScrolled();
                     return FALSE;
                   }),
                   this);
  gtk_widget_add_controller(scroller, wheel);

  GtkEventController* presses = gtk_event_controller_legacy_new();
  gtk_event_controller_set_propagation_phase(presses, GTK_PHASE_CAPTURE);
  g_signal_connect(presses, "event",
                   G_CALLBACK(+[](GtkEventControllerLegacy*, GdkEvent* event, gpointer self) {
                     switch (gdk_event_get_event_type(event)) {
                       case GDK_BUTTON_PRESS:
                       case GDK_TOUCH_BEGIN:
                         static_cast<ScrollView*>(self)->pressChanged(true);
                         break;
                       case GDK_BUTTON_RELEASE:
                       case GDK_TOUCH_END:
                       case GDK_TOUCH_CANCEL:
                         static_cast<ScrollView*>(self)->pressChanged(false);
                         break;
                       default:
                         break;
                     }
                     return FALSE;
                   }),
                   this);
  gtk_widget_add_controller(scroller, presses);
  setNativeContent(scroller);
}

ScrollView::~ScrollView() {
  if (restTimer_) g_source_remove(restTimer_);
  g_signal_handlers_disconnect_by_data(gtk_scrolled_window_get_hadjustment(scrollerOf(scroller_)),
                                       this);
  g_signal_handlers_disconnect_by_data(gtk_scrolled_window_get_vadjustment(scrollerOf(scroller_)),
                                       this);
  setDocumentView(nullptr);
  setNativeContent(nullptr);
  g_object_unref(scroller_);
}

void ScrollView::setDocumentView(std::shared_ptr<View> document) {
  if (document == document_) return;
  if (document_) {
    document_->setOnLayerChange(nullptr);
    unhostView(*document_);
    // Out of the scroller its widget is sized by its frame again, not by the scroll range.
    gtk_widget_set_size_request(static_cast<GtkWidget*>(document_->nativeWidget()), -1, -1);
    gtk_scrolled_window_set_child(scrollerOf(scroller_), nullptr);
  }
  document_ = std::move(document);
  if (!document_) return;
  hostView(*document_);
  if (document_->superview() != this) {  // it cannot be hosted here (an ancestor of ours)
    document_ = nullptr;
    return;
  }
  gtk_scrolled_window_set_child(scrollerOf(scroller_),
                                static_cast<GtkWidget*>(document_->nativeWidget()));
  if (GtkWidget* viewport = gtk_scrolled_window_get_child(scrollerOf(scroller_));
      GTK_IS_VIEWPORT(viewport)) {
    // A press on a subview must not scroll to bring it into view.
    gtk_viewport_set_scroll_to_focus(GTK_VIEWPORT(viewport), FALSE);
  }
  document_->setOnLayerChange([this] { followDocument(); });
  followDocument();
}

void ScrollView::setAxis(ScrollAxis axis) {
  axis_ = axis;
  applyPolicy();
  followDocument();
}

void ScrollView::setShowsScrollbars(bool shows) {
  showsScrollbars_ = shows;
  applyPolicy();
}

void ScrollView::setClipsToBounds(bool clips) {
  layer().setMasksToBounds(clips);
}

void ScrollView::applyPolicy() {
  // External: the axis scrolls but draws no scrollbar. Never: the axis does not scroll.
  const GtkPolicyType scrolls = showsScrollbars_ ? GTK_POLICY_AUTOMATIC : GTK_POLICY_EXTERNAL;
  const bool horizontal = axis_ != ScrollAxis::Vertical;
  const bool vertical = axis_ != ScrollAxis::Horizontal;
  gtk_scrolled_window_set_policy(scrollerOf(scroller_), horizontal ? scrolls : GTK_POLICY_NEVER,
                                 vertical ? scrolls : GTK_POLICY_NEVER);
}

// The document's widget asks for its frame's size on the scrolling axes; the other axis takes
// the visible size from the scrolled window.
void ScrollView::followDocument() {
  if (!document_) return;
  const Size size = document_->frame().size;
  const int width = axis_ == ScrollAxis::Vertical ? -1 : static_cast<int>(std::ceil(size.width));
  const int height =
      axis_ == ScrollAxis::Horizontal ? -1 : static_cast<int>(std::ceil(size.height));
  auto* widget = static_cast<GtkWidget*>(document_->nativeWidget());
  int currentWidth = 0, currentHeight = 0;
  gtk_widget_get_size_request(widget, &currentWidth, &currentHeight);
  if (currentWidth != width || currentHeight != height)
    gtk_widget_set_size_request(widget, width, height);
}

void ScrollView::reflect() {
  followDocument();
  if (!document_) return;
  const Size size = document_->frame().size;
  GtkScrolledWindow* scroller = scrollerOf(scroller_);
  if (axis_ != ScrollAxis::Vertical)
    reachAtLeast(gtk_scrolled_window_get_hadjustment(scroller), size.width, bounds().width());
  if (axis_ != ScrollAxis::Horizontal)
    reachAtLeast(gtk_scrolled_window_get_vadjustment(scroller), size.height, bounds().height());
}

Size ScrollView::contentSize() const {
  GtkScrolledWindow* scroller = scrollerOf(scroller_);
  return Size{gtk_adjustment_get_upper(gtk_scrolled_window_get_hadjustment(scroller)),
              gtk_adjustment_get_upper(gtk_scrolled_window_get_vadjustment(scroller))};
}

Point ScrollView::contentOffset() const {
  GtkScrolledWindow* scroller = scrollerOf(scroller_);
  return Point{gtk_adjustment_get_value(gtk_scrolled_window_get_hadjustment(scroller)),
               gtk_adjustment_get_value(gtk_scrolled_window_get_vadjustment(scroller))};
}

void ScrollView::scrollToPoint(Point offset) {
  reflect();
  GtkScrolledWindow* scroller = scrollerOf(scroller_);
  // The adjustments keep the value between the start and the end of the range.
  if (axis_ != ScrollAxis::Vertical)
    gtk_adjustment_set_value(gtk_scrolled_window_get_hadjustment(scroller), offset.x);
  if (axis_ != ScrollAxis::Horizontal)
    gtk_adjustment_set_value(gtk_scrolled_window_get_vadjustment(scroller), offset.y);
}

void ScrollView::setOnScroll(std::function<void(Point)> onScroll) {
  onScroll_ = std::move(onScroll);
}

void ScrollView::setOnScrollEnd(std::function<void()> onScrollEnd) {
  onScrollEnd_ = std::move(onScrollEnd);
}

void ScrollView::scrollMoved() {
  if (pressed_) {
    movedDuringPress_ = true;
  } else if (restTimer_) {
    userScrolled();  // still gliding: the rest starts later
  }
  if (onScroll_) onScroll_(contentOffset());
}

void ScrollView::pressChanged(bool pressed) {
  if (pressed == pressed_) return;
  pressed_ = pressed;
  if (pressed) {
    // A finger that stops a glide takes its end over: it comes at the release.
    movedDuringPress_ = restTimer_ != 0;
    if (restTimer_) g_source_remove(restTimer_);
    restTimer_ = 0;
  } else if (movedDuringPress_) {
    userScrolled();
  }
}

void ScrollView::userScrolled() {
  if (pressed_) {
    movedDuringPress_ = true;
    return;
  }
  if (restTimer_) g_source_remove(restTimer_);
  restTimer_ = g_timeout_add(
      kRestMilliseconds,
      +[](gpointer data) -> gboolean {
        auto* self = static_cast<ScrollView*>(data);
        self->restTimer_ = 0;
        if (self->onScrollEnd_) self->onScrollEnd_();
        return G_SOURCE_REMOVE;
      },
      this);
}

Point ScrollView::hostedViewOrigin() const {
  const Point offset = contentOffset();
  const Point origin = document_ ? document_->frame().origin : Point{};
  // The document's frame origin is cancelled out: its widget sits at the range's start.
  return Point{-offset.x - origin.x, -offset.y - origin.y};
}

View* ScrollView::hitTest(Point pointInSuperview) {
  if (isHidden()) return nullptr;
  Transform3D fromParent;
  if (!layer().toParent().invert(fromParent)) return nullptr;
  const Point local = fromParent.apply(pointInSuperview);
  if (!bounds().contains(local)) return nullptr;
  for (auto it = subviews().rbegin(); it != subviews().rend(); ++it) {
    if (View* hit = (*it)->hitTest(local)) return hit;
  }
  auto* scroller = static_cast<GtkWidget*>(scroller_);
  GtkWidget* picked = gtk_widget_get_mapped(scroller)
                          ? gtk_widget_pick(scroller, local.x, local.y, GTK_PICK_DEFAULT)
                          : nullptr;
  const bool onScrollbar = picked && gtk_widget_get_ancestor(picked, GTK_TYPE_SCROLLBAR);
  if (document_ && !onScrollbar) {
    const Point origin = hostedViewOrigin();
    View* hit = document_->hitTest(Point{local.x - origin.x, local.y - origin.y});
    // The document's own background belongs to the scroller (drags, kinetic scrolling).
    if (hit && hit != document_.get()) return hit;
  }
  return this;
}

}  // namespace talvero::toolkit

namespace talvero::toolkit {

void ScrollView::drawContent(DrawContext& context) {
  if (!document_ || gtk_widget_get_mapped(static_cast<GtkWidget*>(scroller_))) return;
  GtkSnapshot* snapshot = context.snapshot();
  const graphene_rect_t visible = GRAPHENE_RECT_INIT(0, 0, static_cast<float>(bounds().width()),
                                                     static_cast<float>(bounds().height()));
  gtk_snapshot_push_clip(snapshot, &visible);
  gtk_snapshot_save(snapshot);
  const Point offset = contentOffset();
  const graphene_point_t shift =
      GRAPHENE_POINT_INIT(static_cast<float>(-offset.x), static_cast<float>(-offset.y));
  gtk_snapshot_translate(snapshot, &shift);
  drawView(*document_, snapshot, false);
  gtk_snapshot_restore(snapshot);
  gtk_snapshot_pop(snapshot);
}

}  // namespace talvero::toolkit
