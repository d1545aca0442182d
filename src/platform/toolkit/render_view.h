#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "platform/toolkit/image.h"
#include "platform/toolkit/view.h"

namespace talvero::toolkit {

// The base of views whose picture a renderer of ours makes (the 3D and 2D scene views): it
// shows the last frame image it was given, stretched to its bounds, and asks for a new one at
// every frame of the display while it is in a window on screen. Subclasses override the hooks.
// Main thread only.
class RenderView : public View {
 public:
  RenderView();
  ~RenderView() override;

  // Shows these pixels from now on, in place of the previous frame: premultiplied RGBA as a
  // renderer gives it, 4 bytes a pixel, rows top-down, `stride` bytes from one row to the next. The
  // pixels are copied.
  void setFrameImage(int width, int height, size_t stride, const uint8_t* rgba);
  void clearFrameImage();
  // The frame shown, or null.
  const std::shared_ptr<const Image>& frameImage() const { return frameImage_; }

  // Whether the view is in a window that has been realized on the display.
  bool inWindow() const { return inWindow_; }
  // The bounds in device pixels: what a renderer draws at.
  int pixelWidth() const;
  int pixelHeight() const;

  void drawContent(DrawContext& context) override;

  // One frame of the display clock: the size hook first when the pixel size changed since the
  // last frame, then the frame hook. Called by the clock; a host may drive frames by hand.
  void deliverFrame();

 protected:
  // The view's widget joined a window on the display / is leaving it (removed from its
  // superview, its window closed). Not called for a view destroyed while in a window: its
  // subclass's destructor has already run by then.
  virtual void joinedWindow() {}
  virtual void leftWindow() {}
  // Before a frame whose pixel size differs from the previous frame's; both sides may be 0.
  virtual void pixelSizeChanged(int /*width*/, int /*height*/) {}
  // Once per frame of the display while the view is in a window and shown.
  virtual void renderFrame() {}

 private:
  static void widgetRealized(void* widget, void* self);
  static void widgetUnrealized(void* widget, void* self);

  std::shared_ptr<const Image> frameImage_;
  unsigned tickCallback_ = 0;
  bool inWindow_ = false;
  int lastPixelWidth_ = 0;
  int lastPixelHeight_ = 0;
};

}  // namespace talvero::toolkit
