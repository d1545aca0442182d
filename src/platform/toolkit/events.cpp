#include "platform/toolkit/events.h"

#include <gtk/gtk.h>

#include <optional>
#include <utility>
#include <vector>

#include "platform/toolkit/window.h"

namespace talvero::toolkit {

namespace {

struct MonitorEntry {
  int token;
  std::function<bool(const MouseEvent&)> handler;
};

std::vector<MonitorEntry>& monitors() {
  static std::vector<MonitorEntry> entries;
  return entries;
}

int nextMonitorToken = 1;
uint32_t pressedButtons = 0;

// False when a monitor swallowed the event.
bool passMonitors(const MouseEvent& event) {
  const auto entries = monitors();  // a handler may add or remove monitors
  for (const auto& entry : entries) {
    if (!entry.handler(event)) return false;
  }
  return true;
}

// A press on a view that is, or lies inside, a platform widget taking input itself is left to
// that widget. A hosted view (a scroll view's document) is ours again: the walk ends there. A
// platform widget that only shows (a GL area) takes no pointer input and does not count.
bool insideNativeContent(const View* view) {
  for (const View* v = view; v; v = v->isHosted() ? nullptr : v->superview()) {
    auto* content = static_cast<GtkWidget*>(v->nativeContent());
    if (content && gtk_widget_get_can_target(content)) return true;
  }
  return false;
}

std::optional<MouseEventKind> kindOf(GdkEvent* event) {
  switch (gdk_event_get_event_type(event)) {
    case GDK_BUTTON_PRESS:
      if (gdk_button_event_get_button(event) == GDK_BUTTON_PRIMARY) return MouseEventKind::LeftDown;
      break;
    case GDK_BUTTON_RELEASE:
      if (gdk_button_event_get_button(event) == GDK_BUTTON_PRIMARY) return MouseEventKind::LeftUp;
      break;
    // A touchscreen's first finger plays the left button, as the platform's own pointer
    // emulation would.
    case GDK_TOUCH_BEGIN:
      if (gdk_touch_event_get_emulating_pointer(event)) return MouseEventKind::LeftDown;
      break;
    case GDK_TOUCH_UPDATE:
      if ((pressedButtons & 1) && gdk_touch_event_get_emulating_pointer(event))
        return MouseEventKind::LeftDragged;
      break;
    case GDK_TOUCH_END:
    case GDK_TOUCH_CANCEL:
      if (gdk_touch_event_get_emulating_pointer(event)) return MouseEventKind::LeftUp;
      break;
    case GDK_MOTION_NOTIFY:
      if ((pressedButtons & 1) && (gdk_event_get_modifier_state(event) & GDK_BUTTON1_MASK))
        return MouseEventKind::LeftDragged;
      break;
    default:
      break;
  }
  return std::nullopt;
}

}  // namespace

int addMouseMonitor(std::function<bool(const MouseEvent&)> monitor) {
  monitors().push_back({nextMonitorToken, std::move(monitor)});
  return nextMonitorToken++;
}

void removeMouseMonitor(int token) {
  std::erase_if(monitors(), [token](const MonitorEntry& entry) { return entry.token == token; });
}

uint32_t pressedMouseButtons() {
  return pressedButtons;
}

bool Window::injectMouse(MouseEventKind kind, Point locationInWindow) {
  // The platform repeats the pointer's position after a press; a drag that goes nowhere is none.
  if (kind == MouseEventKind::LeftDragged && locationInWindow.x == lastMouseLocation_.x &&
      locationInWindow.y == lastMouseLocation_.y)
    return !mouseTarget_.expired();
  lastMouseLocation_ = locationInWindow;
  if (kind == MouseEventKind::LeftDown) pressedButtons |= 1;
  if (kind == MouseEventKind::LeftUp) pressedButtons &= ~1u;
  // A new press or a release ends whatever press went before, even when a monitor swallows it.
  std::shared_ptr<View> target = mouseTarget_.lock();
  if (kind != MouseEventKind::LeftDragged) mouseTarget_.reset();

  if (!passMonitors(MouseEvent{kind, locationInWindow, this})) return true;

  if (kind == MouseEventKind::LeftDown) {
    View* hit = contentView_->hitTest(locationInWindow);
    if (!hit || insideNativeContent(hit)) return false;
    target = hit->shared_from_this();
    mouseTarget_ = target;
    target->mouseDown(target->convertPoint(locationInWindow, contentView_.get()));
    return true;
  }
  if (!target) return false;
  const Point local = target->convertPoint(locationInWindow, contentView_.get());
  if (kind == MouseEventKind::LeftDragged) {
    target->mouseDragged(local);
  } else {
    target->mouseUp(local);
  }
  return true;
}

void Window::installMouseEvents() {
  auto* window = static_cast<GtkWidget*>(window_);
  // Capture phase: the monitors see each event before any widget below the window.
  GtkEventController* pointer = gtk_event_controller_legacy_new();
  gtk_event_controller_set_propagation_phase(pointer, GTK_PHASE_CAPTURE);
  auto onEvent =
      +[](GtkEventControllerLegacy* controller, GdkEvent* event, gpointer data) -> gboolean {
    const std::optional<MouseEventKind> kind = kindOf(event);
    if (!kind) return GDK_EVENT_PROPAGATE;
    auto* self = static_cast<Window*>(data);
    GtkWidget* widget = gtk_event_controller_get_widget(GTK_EVENT_CONTROLLER(controller));
    double x = 0, y = 0, offsetX = 0, offsetY = 0;
    gdk_event_get_position(event, &x, &y);
    gtk_native_get_surface_transform(GTK_NATIVE(widget), &offsetX, &offsetY);
    const graphene_point_t inWindow =
        GRAPHENE_POINT_INIT(static_cast<float>(x - offsetX), static_cast<float>(y - offsetY));
    graphene_point_t inContent;
    auto* content = static_cast<GtkWidget*>(self->contentView_->nativeWidget());
    if (!gtk_widget_compute_point(widget, content, &inWindow, &inContent)) inContent = inWindow;
    return self->injectMouse(*kind, Point{inContent.x, inContent.y}) ? GDK_EVENT_STOP
                                                                     : GDK_EVENT_PROPAGATE;
  };
  g_signal_connect(pointer, "event", G_CALLBACK(onEvent), this);
  gtk_widget_add_controller(window, pointer);
}

}  // namespace talvero::toolkit
