#include "platform/toolkit/window.h"

#include <gtk/gtk.h>

#include <cstdlib>

#include "platform/toolkit/view_widget.h"

namespace talvero::toolkit {

bool initToolkit() {
  // The 3D renderer shares GLX contexts with the windows: X11 unless the user chose.
  setenv("GDK_BACKEND", "x11", 0);
  setenv("GDK_DEBUG", "gl-glx", 0);
  // Without a session bus the accessibility bridge can only complain on every start.
  if (!getenv("DBUS_SESSION_BUS_ADDRESS")) setenv("GTK_A11Y", "none", 0);
  if (gtk_init_check()) return true;
  // A display server that is restarting (a virtual one resets when its last client leaves)
  // refuses connections for a moment: try again briefly before giving up.
  for (int attempt = 0; attempt < 20 && !gdk_display_get_default(); ++attempt) {
    g_usleep(100 * 1000);
    gdk_display_manager_open_display(gdk_display_manager_get(), nullptr);
  }
  return gdk_display_get_default() != nullptr;
}

bool toolkitReady() {
  return gtk_is_initialized() && gdk_display_get_default() != nullptr;
}

Window::Window(Application& application, const std::string& title, int width, int height) {
  GtkWidget* window = gtk_application_window_new(GTK_APPLICATION(application.nativeApplication()));
  window_ = g_object_ref(window);
  gtk_window_set_title(GTK_WINDOW(window), title.c_str());
  gtk_window_set_default_size(GTK_WINDOW(window), width, height);
  gtk_window_set_resizable(GTK_WINDOW(window), TRUE);
  contentView_ = std::make_shared<View>();
  contentView_->setFrame(Rect{{0, 0}, {static_cast<double>(width), static_cast<double>(height)}});
  auto* content = static_cast<GtkWidget*>(contentView_->nativeWidget());
  setRootResizeHook(content, [this](Size size) {
    contentView_->setFrame(Rect{{0, 0}, size});
    if (size.width == lastSize_.width && size.height == lastSize_.height) return;
    lastSize_ = size;
    if (onResize_) onResize_(size);
  });
  gtk_window_set_child(GTK_WINDOW(window), content);

  GtkEventController* keys = gtk_event_controller_key_new();
  gtk_event_controller_set_propagation_phase(keys, GTK_PHASE_CAPTURE);
  g_signal_connect(
      keys, "key-pressed",
      G_CALLBACK(+[](GtkEventControllerKey*, guint, guint keycode, GdkModifierType, gpointer self) {
        static_cast<Window*>(self)->deliverKey(static_cast<uint16_t>(keycode), true);
        return FALSE;  // every event goes on to the views
      }),
      this);
  g_signal_connect(
      keys, "key-released",
      G_CALLBACK(+[](GtkEventControllerKey*, guint, guint keycode, GdkModifierType, gpointer self) {
        static_cast<Window*>(self)->deliverKey(static_cast<uint16_t>(keycode), false);
      }),
      this);
  gtk_widget_add_controller(window, keys);
  installMouseEvents();
}

Window::~Window() {
  GtkWindow* window = GTK_WINDOW(window_);
  gtk_window_set_child(window, nullptr);
  gtk_window_destroy(window);
  g_object_unref(window_);
}

View* Window::firstResponder() const {
  for (GtkWidget* widget = gtk_root_get_focus(GTK_ROOT(window_)); widget;
       widget = gtk_widget_get_parent(widget)) {
    if (View* view = viewOfWidget(widget)) return view;
  }
  return nullptr;
}

Size Window::contentSize() const {
  return contentView_->bounds().size;
}

void Window::present() {
  gtk_window_present(GTK_WINDOW(window_));
}

void Window::close() {
  gtk_window_close(GTK_WINDOW(window_));
}

void Window::setOnResize(std::function<void(Size)> onResize) {
  onResize_ = std::move(onResize);
}

int Window::addKeyMonitor(std::function<void(uint16_t, bool)> monitor) {
  keyMonitors_.emplace_back(nextKeyMonitor_, std::move(monitor));
  return nextKeyMonitor_++;
}

void Window::deliverKey(uint16_t keyCode, bool down) {
  const auto monitors = keyMonitors_;  // a monitor may remove itself
  for (const auto& [token, monitor] : monitors) monitor(keyCode, down);
}

void Window::removeKeyMonitor(int token) {
  std::erase_if(keyMonitors_, [token](const auto& entry) { return entry.first == token; });
}

Application::Application(const std::string& id) {
  application_ = gtk_application_new(id.c_str(), G_APPLICATION_NON_UNIQUE);
}

Application::~Application() {
  g_object_unref(application_);
}

int Application::run(std::function<void()> onLaunch) {
  onLaunch_ = std::move(onLaunch);
  g_signal_connect(application_, "activate", G_CALLBACK(+[](GApplication*, gpointer self) {
                     auto* owner = static_cast<Application*>(self);
                     if (owner->onLaunch_) owner->onLaunch_();
                   }),
                   this);
  // Our own arguments are parsed by the host; GApplication gets none.
  return g_application_run(G_APPLICATION(application_), 0, nullptr);
}

void Application::quit() {
  g_application_quit(G_APPLICATION(application_));
}

}  // namespace talvero::toolkit
