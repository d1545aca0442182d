#pragma once

#include "platform/toolkit/render_view.h"

namespace talvero::toolkit {

// A render view whose picture a renderer draws with GL straight into the platform's GL area,
// which fills the view's bounds. The area only shows: presses go to the view itself. It has no
// depth or stencil buffer of its own and renders only when asked. Without a window it has no
// GL context and never renders. Main thread only.
class GLAreaView : public RenderView {
 public:
  GLAreaView();
  ~GLAreaView() override;

  // Asks for `renderArea` before the platform next draws the window.
  void queueRender();
  // The area has its GL context: it is in a window realized on the display.
  bool areaRealized() const;
  // The area has been given a size of at least one pixel each way.
  bool areaHasSize() const;

 protected:
  // With the area's GL context current and its framebuffer bound, sized in device pixels.
  // True when it drew; the area then shows what it drew.
  virtual bool renderArea(int /*pixelWidth*/, int /*pixelHeight*/) { return false; }

 private:
  static int areaRendered(void* area, void* context, void* self);

  void* area_ = nullptr;  // GtkGLArea*, held by the view as its native content
};

}  // namespace talvero::toolkit
