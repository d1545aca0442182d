#include "viewer/creator2d_view.h"

#include <algorithm>
#include <utility>

#include "runtime/animation_manager.h"
#include "scene2d/scene2d.h"
#include "ui/ui_store.h"

namespace talvero {

namespace {
constexpr double kMaxFrameDt = 0.05;
}

Creator2DView::Creator2DView(CreatorUIStore& store, AnimationManager& animations,
                             Creator2DSession session)
    : store_(store),
      animations_(animations),
      animationsAlive_(animations.weak_from_this()),
      session_(std::move(session)) {}

Creator2DView::~Creator2DView() {
  // Gone while still in a window: what leaving it would have done.
  if (inWindow()) {
    if (auto animations = animationsAlive_.lock()) animations->startDisplayLink();
  }
  gpu::destroy(target_);
}

void Creator2DView::joinedWindow() {
  animations_.stopDisplayLink();
  takeKeyboard();
}

void Creator2DView::leftWindow() {
  animations_.startDisplayLink();
}

void Creator2DView::pixelSizeChanged(int width, int height) {
  if (width <= 0 || height <= 0) return;
  c2dSetViewport(width, height);
  const double points = frame().size.width;
  c2dSetDensity(static_cast<float>(points > 0 ? width / points : backingScaleFactor()));
  gpu::destroy(target_);
  target_ = gpu::makeTarget(width, height, "creator2d-view");
  store_.readyToRender = true;
}

void Creator2DView::renderFrame() {
  if (store_.renderPaused || !areaRealized() || !areaHasSize()) return;
  const double t = animations_.now() * 1000;
  const double dt = lastTime_ == 0 ? 0 : std::min((t - lastTime_) / 1000, kMaxFrameDt);
  lastTime_ = t;
  if (session_.runUpdates) session_.runUpdates(dt);
  animations_.tick();
  // Media players join the frame here once they exist.
  c2dRenderGL(target_, t);
  queueRender();
}

bool Creator2DView::renderArea(int width, int height) {
  return gpu::presentTarget(target_, width, height);
}

void Creator2DView::mouseDown(toolkit::Point point) {
  if (session_.pointer) session_.pointer(0, float(point.x), float(point.y));
}

void Creator2DView::mouseDragged(toolkit::Point point) {
  if (session_.pointer) session_.pointer(1, float(point.x), float(point.y));
}

void Creator2DView::mouseUp(toolkit::Point point) {
  if (session_.pointer) session_.pointer(2, float(point.x), float(point.y));
}

}  // namespace talvero
