#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/toolkit/view.h"
#include "ui/toast_view.h"
#include "viewer/creator2d_view.h"
#include "viewer/creator_gl_view.h"

namespace talvero {

class AnimationManager;
class Creator2DHandler;
class CreatorUIStore;

// The views the host stacks in its container, from the back: a scene view, the current
// screen, the widget hosts, each filling the container, and a toast over them all. Fills the UI
// store's host slots and keeps the store's layout in step with the container's size. Main thread
// only.
class HostViews {
 public:
  // The scene views take their frames from `animations` while they are on screen; the 2D view
  // runs the session of `creator2d`.
  HostViews(CreatorUIStore& store, AnimationManager& animations, Creator2DHandler& creator2d);
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
  // 3D or 2D view at the back of it, filling it. One render view is alive at a time: opening one
  // drops the other.
  void sceneOpenRequested();
  void sceneCloseRequested();
  void scene2dOpenRequested();
  void scene2dCloseRequested();
  // With a container, shows the toast in it through the one toast view, made at the first
  // toast; without one, a log line.
  void toastRequested(const std::string& text, int32_t duration);
  Creator2DHandler& creator2d() { return creator2d_; }

  std::shared_ptr<toolkit::View> container;
  std::shared_ptr<toolkit::View> currentScreen;
  std::vector<std::shared_ptr<toolkit::View>> openWidgetHosts;  // oldest first
  // Made at the first toast; drawn above every other view of the container.
  std::shared_ptr<ToastView> toastView;
  std::shared_ptr<CreatorGLView> glView;  // while a 3D scene is open
  std::shared_ptr<Creator2DView> view2d;  // while a 2D scene is open
  bool sceneOpened = false;               // set at the first 3D scene, never cleared
  bool scene2dOpened = false;             // set at the first 2D scene, never cleared
  // Off in the bundle self-test, which renders scenes offscreen only.
  bool buildsSceneViews = true;

 private:
  void keepToastOnTop();
  void addSceneView(const std::shared_ptr<toolkit::View>& view);

  CreatorUIStore& store_;
  AnimationManager& animations_;
  Creator2DHandler& creator2d_;
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace talvero
