#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "platform/toolkit/render_view.h"
#include "scene3d/frame_loop.h"

namespace talvero {

class AnimationManager;
class CreatorUIStore;

// The view of the open 3D scene. While it is in a window, the display's frames drive the
// animation clock in place of the display link, and draw the scene into an offscreen swap chain
// of the view's pixel size whose pixels come back as the view's frame image. Presses go
// to the script's touch listeners of the UI store under pointer id 0. Main thread only; owned
// through a shared pointer, so that frames read back late can tell it is gone.
class CreatorGLView : public toolkit::RenderView {
 public:
  using CaptureCallback = std::function<void(std::optional<std::vector<uint8_t>> png)>;

  CreatorGLView(CreatorUIStore& store, AnimationManager& animations);
  ~CreatorGLView() override;

  static constexpr int64_t pointerId = 0;
  // Called once, after the next frame drawn, then cleared: with the upright PNG of that very
  // frame when the store's `glCaptureSupport` is on, with none otherwise.
  CaptureCallback captureImageCallback;

  void mouseDown(toolkit::Point point) override;
  void mouseDragged(toolkit::Point point) override;
  void mouseUp(toolkit::Point point) override;

 protected:
  void joinedWindow() override;
  void leftWindow() override;
  void pixelSizeChanged(int width, int height) override;
  void renderFrame() override;

 private:
  // True when the swap chain in place is this view's, made now if it was not.
  bool ensureSwapChain();
  void releaseSwapChain();
  void show(const scene3d::FramePixels& pixels);

  CreatorUIStore& store_;
  AnimationManager& animations_;
  // Whether the clock is still there when the view goes: a host may outlive its engine.
  std::weak_ptr<AnimationManager> animationsAlive_;
  uint64_t swapChain_ = 0;  // the id of the swap chain this view made, 0 for none
  int swapChainWidth_ = 0;
  int swapChainHeight_ = 0;
  bool framing_ = false;
  bool leftDuringFrame_ = false;
};

}  // namespace talvero
