#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/toolkit/events.h"
#include "platform/toolkit/view.h"

namespace talvero::toolkit {

class Application;

// A top-level window whose content is one view that always fills it.
class Window {
 public:
  Window(Application& application, const std::string& title, int width, int height);
  ~Window();
  Window(const Window&) = delete;
  Window& operator=(const Window&) = delete;

  const std::shared_ptr<View>& contentView() const { return contentView_; }
  Size contentSize() const;
  // The view whose platform widget has the keyboard focus (a text field, say), or null.
  View* firstResponder() const;
  void present();
  void close();

  // Called with the new content size whenever it changes.
  void setOnResize(std::function<void(Size)> onResize);

  // Sees every key press and release of the window before any view, with the hardware key
  // code (X11/evdev + 8 on a PC keyboard); every event goes on to the views unchanged.
  // Returns a token for `removeKeyMonitor`.
  int addKeyMonitor(std::function<void(uint16_t keyCode, bool down)> monitor);
  void removeKeyMonitor(int token);
  // Hands a key event to the monitors, as the window does for each key of the user.
  void deliverKey(uint16_t keyCode, bool down);

  // Hands a left-button event at a point of the content view to the monitors and then to the
  // views, exactly as the window does for the user's pointer. A press goes to the view that
  // `hitTest` gives; its drags and release follow it wherever they land. True when the event
  // was taken (by a monitor that swallowed it or by a view) and the platform must not pass it
  // on; false when it goes on, as for a press on a platform widget that takes input itself.
  bool injectMouse(MouseEventKind kind, Point locationInWindow);

  void* nativeWindow() const { return window_; }  // GtkWindow*, for the toolkit's own files

 private:
  void* window_ = nullptr;
  std::shared_ptr<View> contentView_;
  std::function<void(Size)> onResize_;
  Size lastSize_;
  std::vector<std::pair<int, std::function<void(uint16_t, bool)>>> keyMonitors_;
  int nextKeyMonitor_ = 1;
  // The view that took the current press; the drags and the release go to it.
  std::weak_ptr<View> mouseTarget_;
  Point lastMouseLocation_;
  void installMouseEvents();
};

// The desktop application: one per process. Its loop is the process's main loop, so the
// main queue and timers run while it runs. Closing its last window ends `run`.
class Application {
 public:
  explicit Application(const std::string& id);
  ~Application();
  Application(const Application&) = delete;
  Application& operator=(const Application&) = delete;

  // Runs `onLaunch` once the application is ready, then the loop; returns the exit status.
  int run(std::function<void()> onLaunch);
  void quit();

  void* nativeApplication() const { return application_; }  // GtkApplication*

 private:
  void* application_ = nullptr;
  std::function<void()> onLaunch_;
};

// Prepares the platform for windows: X11 unless the user chose a GDK backend, and GLX for GL
// contexts, as the 3D renderer shares them. False when no display can be opened.
bool initToolkit();
// Whether `initToolkit` succeeded: views can be made.
bool toolkitReady();

}  // namespace talvero::toolkit
