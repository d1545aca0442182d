#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "platform/gpu/gfx.h"
#include "platform/toolkit/gl_area_view.h"

namespace talvero {

class AnimationManager;
class CreatorUIStore;

// What the 2D view calls of the script's session: the update functions with dt in seconds, and
// the pointer function with a phase (0 down, 1 dragged, 2 up) and points from the view's top left.
struct Creator2DSession {
  std::function<void(double dt)> runUpdates;
  std::function<void(int32_t phase, float x, float y)> pointer;
};

// The view of the open 2D scene. While it is in a window, each frame of the display runs the
// script's updates and the animation clock in place of the display link, then draws the scene
// into a target of the view's pixel size; the area on screen only presents that target. So no
// script runs while GTK paints, and events reach the script after the pass. Main thread only.
class Creator2DView : public toolkit::GLAreaView {
 public:
  Creator2DView(CreatorUIStore& store, AnimationManager& animations, Creator2DSession session);
  ~Creator2DView() override;

  void mouseDown(toolkit::Point point) override;
  void mouseDragged(toolkit::Point point) override;
  void mouseUp(toolkit::Point point) override;

  // The target frames are drawn into; null before the first size.
  gpu::Target target() const { return target_; }

 protected:
  void joinedWindow() override;
  void leftWindow() override;
  void pixelSizeChanged(int width, int height) override;
  void renderFrame() override;
  bool renderArea(int width, int height) override;

 private:
  CreatorUIStore& store_;
  AnimationManager& animations_;
  // Whether the clock is still there when the view goes: a host may outlive its engine.
  std::weak_ptr<AnimationManager> animationsAlive_;
  Creator2DSession session_;
  gpu::Target target_;
  double lastTime_ = 0;  // milliseconds, 0 before the first frame
};

}  // namespace talvero
