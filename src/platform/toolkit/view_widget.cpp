#include "platform/toolkit/view_widget.h"

#include <algorithm>

#include "platform/toolkit/animation.h"
#include "platform/toolkit/draw_context.h"
#include "platform/toolkit/view.h"

struct _TalveroViewWidget {
  GtkWidget parent;
  talvero::toolkit::View* view;
  std::function<void(talvero::toolkit::Size)>* rootResize;
};

G_DEFINE_TYPE(TalveroViewWidget, talvero_view_widget, GTK_TYPE_WIDGET)

namespace {

using namespace talvero::toolkit;

void measureNothing(GtkWidget*, GtkOrientation, int, int* minimum, int* natural,
                    int* minimumBaseline, int* naturalBaseline) {
  *minimum = *natural = 0;
  *minimumBaseline = *naturalBaseline = -1;
}

// Children sit at their frames through their layer's transform about its anchor point.
void allocateChildren(GtkWidget* widget, int width, int height, int) {
  auto* self = TALVERO_VIEW_WIDGET(widget);
  if (!self->view) return;
  if (!self->view->superview() && self->rootResize && *self->rootResize) {
    (*self->rootResize)(Size{static_cast<double>(width), static_cast<double>(height)});
  }
  if (auto* content = static_cast<GtkWidget*>(self->view->nativeContent())) {
    // Platform widgets insist on their minimum size; what does not fit is clipped by the view.
    int minimumWidth = 0, minimumHeight = 0, natural = 0;
    gtk_widget_measure(content, GTK_ORIENTATION_HORIZONTAL, -1, &minimumWidth, &natural, nullptr,
                       nullptr);
    gtk_widget_measure(content, GTK_ORIENTATION_VERTICAL, std::max(width, minimumWidth),
                       &minimumHeight, &natural, nullptr, nullptr);
    gtk_widget_allocate(content, std::max(width, minimumWidth), std::max(height, minimumHeight), -1,
                        nullptr);
  }
  for (const auto& child : self->view->subviews()) {
    auto* childWidget = static_cast<GtkWidget*>(child->nativeWidget());
    if (!gtk_widget_get_visible(childWidget)) continue;
    // Where the child is on screen now, so that animations of its geometry show.
    const LayerValues shown = child->layer().presentation();
    GskTransform* transform = toGskTransform(shown.toParent());
    gtk_widget_allocate(childWidget, std::max(0, static_cast<int>(shown.bounds.width())),
                        std::max(0, static_cast<int>(shown.bounds.height())), -1, transform);
  }
}

void snapshotView(GtkWidget* widget, GtkSnapshot* snapshot) {
  auto* self = TALVERO_VIEW_WIDGET(widget);
  if (self->view) drawView(*self->view, snapshot, true);
}

// Hidden views are not mapped at all; a visible one takes the points of its bounds.
gboolean containsPoint(GtkWidget* widget, double x, double y) {
  auto* self = TALVERO_VIEW_WIDGET(widget);
  if (!self->view) return FALSE;
  return self->view->bounds().contains(Point{x, y});
}

// Animations follow the frame clock while the view is on screen, and a timer otherwise.
void mapWidget(GtkWidget* widget) {
  GTK_WIDGET_CLASS(talvero_view_widget_parent_class)->map(widget);
  auto* self = TALVERO_VIEW_WIDGET(widget);
  if (self->view && self->view->layer().hasRunningAnimations())
    scheduleAnimations(self->view->layer());
}

void unmapWidget(GtkWidget* widget) {
  GTK_WIDGET_CLASS(talvero_view_widget_parent_class)->unmap(widget);
  auto* self = TALVERO_VIEW_WIDGET(widget);
  if (self->view && self->view->layer().hasRunningAnimations())
    scheduleAnimations(self->view->layer());
}

void disposeWidget(GObject* object) {
  auto* self = TALVERO_VIEW_WIDGET(object);
  delete self->rootResize;
  self->rootResize = nullptr;
  G_OBJECT_CLASS(talvero_view_widget_parent_class)->dispose(object);
}

}  // namespace

static void talvero_view_widget_class_init(TalveroViewWidgetClass* cls) {
  GtkWidgetClass* widgetClass = GTK_WIDGET_CLASS(cls);
  widgetClass->measure = measureNothing;
  widgetClass->size_allocate = allocateChildren;
  widgetClass->snapshot = snapshotView;
  widgetClass->contains = containsPoint;
  widgetClass->map = mapWidget;
  widgetClass->unmap = unmapWidget;
  G_OBJECT_CLASS(cls)->dispose = disposeWidget;
}

static void talvero_view_widget_init(TalveroViewWidget* self) {
  self->view = nullptr;
  self->rootResize = nullptr;
  gtk_widget_set_overflow(GTK_WIDGET(self), GTK_OVERFLOW_VISIBLE);
}

namespace talvero::toolkit {

GtkWidget* newViewWidget(View* view) {
  auto* widget = TALVERO_VIEW_WIDGET(g_object_new(TALVERO_TYPE_VIEW_WIDGET, nullptr));
  widget->view = view;
  view->layer().setAnimationHost(widget);
  return GTK_WIDGET(widget);
}

View* viewOfWidget(GtkWidget* widget) {
  return TALVERO_IS_VIEW_WIDGET(widget) ? TALVERO_VIEW_WIDGET(widget)->view : nullptr;
}

void setRootResizeHook(GtkWidget* widget, std::function<void(Size)> hook) {
  auto* self = TALVERO_VIEW_WIDGET(widget);
  delete self->rootResize;
  self->rootResize = new std::function<void(Size)>(std::move(hook));
}

}  // namespace talvero::toolkit
