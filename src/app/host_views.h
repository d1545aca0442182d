#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/toolkit/view.h"
#include "ui/toast_view.h"
#include "viewer/creator_gl_view.h"

namespace talvero {

class AnimationManager;
class CreatorUIStore;

// The views the host stacks in its container, from the back: a scene view, the current
// screen, the widget hosts, each filling the container, and a toast over them all. Fills the UI
// store's host slots and keeps the store's layout in step with the container's size. Main thread
// only.
class HostViews {
 public:
  // The scene view takes its frames from `animations` while it is on screen.
  HostViews(CreatorUIStore& store, AnimationManager& animations);
  ~HostViews();
  HostViews(const HostViews&) = delete;
  HostViews& operator=(const HostViews&) = delete;

  // Fills every host slot of the store. Each slot does nothing once this object is gone.
  void wireStore();

  // Insets, display size, the current screen's layout and every widget's, at the container's
  // size. Run after a screen opens and on every resize.
  void layoutScreen();
  // The container changed size: its children follow it, then the layout.
  void containerResized();

  // The store's slots.
  void screenOpened(std::shared_ptr<toolkit::View> view);
  void screenClosed();
  void widgetOpened(std::shared_ptr<toolkit::View> view);
  void widgetClosed(const std::shared_ptr<toolkit::View>& view);
  // Marks the scene opened and, when scene views are built and there is a container, makes the
  // 3D view at the back of it, filling it; one at a time.
  void sceneOpenRequested();
  void sceneCloseRequested();
  void scene2dOpenRequested();
  // With a container, shows the toast in it through the one toast view, made at the first
  // toast; without one, a log line.
  void toastRequested(const std::string& text, int32_t duration);

  std::shared_ptr<toolkit::View> container;
  std::shared_ptr<toolkit::View> currentScreen;
  std::vector<std::shared_ptr<toolkit::View>> openWidgetHosts;  // oldest first
  // Made at the first toast; drawn above every other view of the container.
  std::shared_ptr<ToastView> toastView;
  std::shared_ptr<CreatorGLView> glView;  // while a 3D scene is open
  bool sceneOpened = false;               // set at the first 3D scene, never cleared
  bool scene2dOpened = false;             // set at the first 2D scene, never cleared
  // Off in the bundle self-test, which renders scenes offscreen only.
  bool buildsSceneViews = true;

 private:
  void keepToastOnTop();

  CreatorUIStore& store_;
  AnimationManager& animations_;
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace talvero
