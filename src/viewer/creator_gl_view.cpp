#include "viewer/creator_gl_view.h"

#include <algorithm>
#include <utility>

#include "platform/toolkit/snapshot.h"
#include "runtime/animation_manager.h"
#include "scene3d/frame_loop.h"
#include "scene3d/physics/physics_world.h"
#include "ui/ui_store.h"

namespace talvero {

CreatorGLView::CreatorGLView(CreatorUIStore& store, AnimationManager& animations)
    : store_(store), animations_(animations), animationsAlive_(animations.weak_from_this()) {}

CreatorGLView::~CreatorGLView() {
  // Gone while still in a window: what leaving it would have done.
  if (!inWindow()) return;
  if (auto animations = animationsAlive_.lock()) animations->startDisplayLink();
  releaseSwapChain();
}

void CreatorGLView::joinedWindow() {
  animations_.stopDisplayLink();
  ensureSwapChain();
}

void CreatorGLView::leftWindow() {
  animations_.startDisplayLink();
  // A frame under way still ends in the swap chain it began in.
  if (framing_) {
    leftDuringFrame_ = true;
    return;
  }
  releaseSwapChain();
}

void CreatorGLView::pixelSizeChanged(int width, int height) {
  if (width <= 0 || height <= 0) return;
  const toolkit::Size points = frame().size;
  scene3d::setViewport(static_cast<uint32_t>(width), static_cast<uint32_t>(height));
  scene3d::setDensityGL(static_cast<float>(width / std::max(points.width, 1.0)),
                        static_cast<float>(height / std::max(points.height, 1.0)));
  store_.readyToRender = true;
  if (inWindow() && (width != swapChainWidth_ || height != swapChainHeight_)) {
    releaseSwapChain();
    ensureSwapChain();
  }
}

bool CreatorGLView::ensureSwapChain() {
  if (!scene3d::hasEngine()) return false;
  if (swapChain_ != 0 && scene3d::swapChainId() == swapChain_) return true;
  // A new engine, or someone who drew elsewhere in between, left this view without its own.
  const int width = pixelWidth(), height = pixelHeight();
  if (width <= 0 || height <= 0) return false;
  scene3d::createSwapChainHeadless(static_cast<uint32_t>(width), static_cast<uint32_t>(height));
  swapChain_ = scene3d::swapChainId();
  swapChainWidth_ = width;
  swapChainHeight_ = height;
  scene3d::setViewport(static_cast<uint32_t>(width), static_cast<uint32_t>(height));
  return swapChain_ != 0;
}

void CreatorGLView::releaseSwapChain() {
  // Someone else's swap chain stays where it is.
  if (swapChain_ != 0 && scene3d::swapChainId() == swapChain_) scene3d::destroySwapChain();
  swapChain_ = 0;
  swapChainWidth_ = swapChainHeight_ = 0;
}

void CreatorGLView::show(const scene3d::FramePixels& pixels) {
  setFrameImage(static_cast<int>(pixels.width), static_cast<int>(pixels.height),
                size_t(pixels.width) * 4, pixels.rgba.data());
}

void CreatorGLView::renderFrame() {
  if (store_.renderPaused || !ensureSwapChain() || !scene3d::beginFrame()) return;
  framing_ = true;
  const uint64_t begunIn = swapChain_;
  animations_.tick();
  // The clock's loops run script, which may have replaced the engine and its swap chain with it.
  if (scene3d::swapChainId() == begunIn) {
    const auto timeMs = static_cast<int64_t>(animations_.now() * 1000);
    CaptureCallback capture = std::exchange(captureImageCallback, nullptr);
    std::optional<std::vector<uint8_t>> png;
    if (capture && store_.glCaptureSupport) {
      if (std::optional<scene3d::FramePixels> pixels = scene3d::renderAndWaitForPixels(timeMs)) {
        show(*pixels);
        png = toolkit::encodePng(toolkit::Bitmap{static_cast<int>(pixels->width),
                                                 static_cast<int>(pixels->height),
                                                 std::move(pixels->rgba)});
      }
    } else {
      std::weak_ptr<toolkit::View> self = weak_from_this();
      scene3d::renderReadingBack(timeMs, [self](scene3d::FramePixels& pixels) {
        if (auto view = std::static_pointer_cast<CreatorGLView>(self.lock())) {
          view->show(pixels);
        }
      });
    }
    if (capture) capture(std::move(png));
  }
  framing_ = false;
  if (std::exchange(leftDuringFrame_, false)) releaseSwapChain();
}

void CreatorGLView::mouseDown(toolkit::Point point) {
  // A listener may replace itself while it runs.
  const ScriptValue listener = store_.onTouchStartCallback;
  if (listener.empty()) return;
  const uint32_t hit =
      scene3d::raycastView(static_cast<float>(point.x), static_cast<float>(point.y));
  store_.trackTouch(pointerId, listener.call({pointerId, point.x, point.y, hit}), point);
}

void CreatorGLView::mouseDragged(toolkit::Point point) {
  store_.onTouchMove(pointerId, point);
}

void CreatorGLView::mouseUp(toolkit::Point point) {
  store_.onTouchEnd(pointerId, point);
  const ScriptValue listener = store_.onTouchEndCallback;
  if (listener.empty()) return;
  const uint32_t hit =
      scene3d::raycastView(static_cast<float>(point.x), static_cast<float>(point.y));
  listener.call({pointerId, point.x, point.y, hit});
}

}  // namespace talvero
