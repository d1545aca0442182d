#include "app/host_views.h"

#include <string>
#include <utility>

#include "app/screen_slide.h"
#include "engine/bindings/creator2d_bindings.h"
#include "runtime/log.h"
#include "ui/ui_store.h"

namespace talvero {

HostViews::HostViews(CreatorUIStore& store, AnimationManager& animations,
                     Creator2DHandler& creator2d)
    : store_(store), animations_(animations), creator2d_(creator2d) {}

HostViews::~HostViews() {
  *alive_ = false;
  // Out of their window while the engine that ticks them is still there.
  if (glView) glView->removeFromSuperview();
  if (view2d) view2d->removeFromSuperview();
}

void HostViews::wireStore() {
  std::weak_ptr<bool> alive = alive_;
  // The store belongs to the engine and may outlive the host: each slot checks it is still here.
  auto guarded = [this, alive](auto action) {
    return [this, alive, action](auto&&... args) {
      if (alive.lock()) (this->*action)(std::forward<decltype(args)>(args)...);
    };
  };
  store_.onScreenOpen = guarded(&HostViews::screenOpened);
  store_.onScreenClose = guarded(&HostViews::screenClosed);
  store_.onToast = guarded(&HostViews::toastRequested);
  store_.onWidgetOpen = guarded(&HostViews::widgetOpened);
  store_.onWidgetClose = guarded(&HostViews::widgetClosed);
  store_.onOpenScene = guarded(&HostViews::sceneOpenRequested);
  store_.onCloseScene = guarded(&HostViews::sceneCloseRequested);
  store_.onGetGLView = [this, alive]() -> std::shared_ptr<toolkit::View> {
    return alive.lock() ? glView : nullptr;
  };
  store_.onOpen2dScene = guarded(&HostViews::scene2dOpenRequested);
  store_.onClose2dScene = guarded(&HostViews::scene2dCloseRequested);
}

void HostViews::layoutScreen() {
  if (!container) return;
  const auto width = static_cast<float>(container->bounds().width());
  const auto height = static_cast<float>(container->bounds().height());
  store_.setInsets(0, 0, 0, 0);
  store_.setSize(width, height);
  if (store_.currentScreen) store_.currentScreen->calculateLayout(width, height);
  store_.layoutAllWidgets();
}

void HostViews::containerResized() {
  if (!container) return;
  // A toast keeps the place it was given when it appeared.
  for (const auto& child : container->subviews()) {
    if (child != toastView) child->setFrame(container->bounds());
  }
  layoutScreen();
}

void HostViews::screenOpened(std::shared_ptr<toolkit::View> view) {
  if (!container || !view) return;
  std::shared_ptr<toolkit::View> old = currentScreen;
  // The same view handed back (a restore) has nothing to replace and must not slide away.
  if (old == view) old.reset();
  const int transition = store_.screenTransition;
  store_.screenTransition = 0;

  // A screen that slid out earlier still holds the end of that slide.
  if (transition == 0) endScreenSlide(*view);
  view->setFrame(container->bounds());
  container->addSubview(view);
  currentScreen = view;
  for (const auto& host : openWidgetHosts) {
    if (host->superview() == container.get()) container->addSubview(host);
  }
  keepToastOnTop();
  layoutScreen();

  if (!old) return;
  if (transition == 0) {
    old->removeFromSuperview();
  } else {
    slideScreens(*container, *view, old, transition);
  }
}

void HostViews::screenClosed() {
  if (currentScreen) currentScreen->removeFromSuperview();
  currentScreen.reset();
}

void HostViews::widgetOpened(std::shared_ptr<toolkit::View> view) {
  if (!container || !view) return;
  view->setFrame(container->bounds());
  container->addSubview(view);
  openWidgetHosts.push_back(std::move(view));
  keepToastOnTop();
}

void HostViews::widgetClosed(const std::shared_ptr<toolkit::View>& view) {
  if (!view) return;
  view->removeFromSuperview();
  std::erase(openWidgetHosts, view);
}

void HostViews::toastRequested(const std::string& text, int32_t duration) {
  if (!container) {
    logLine("[toast] " + text);
    return;
  }
  if (!toastView) toastView = std::make_shared<ToastView>();
  toastView->createToast(text, duration, container);
}

void HostViews::keepToastOnTop() {
  if (toastView && toastView->superview() == container.get()) container->addSubview(toastView);
}

void HostViews::sceneOpenRequested() {
  sceneOpened = true;
  if (!buildsSceneViews || !container || glView) return;
  // One render view at a time, so that one view drives the clock.
  scene2dCloseRequested();
  glView = std::make_shared<CreatorGLView>(store_, animations_);
  addSceneView(glView);
}

void HostViews::sceneCloseRequested() {
  if (glView) glView->removeFromSuperview();
  glView.reset();
}

void HostViews::scene2dOpenRequested() {
  scene2dOpened = true;
  if (!buildsSceneViews || !container || view2d) return;
  sceneCloseRequested();
  Creator2DHandler* handler = &creator2d_;
  view2d = std::make_shared<Creator2DView>(
      store_, animations_,
      Creator2DSession{
          [handler](double dt) { handler->runUpdates(dt); },
          [handler](int32_t phase, float x, float y) { handler->pointer(phase, x, y); }});
  addSceneView(view2d);
}

void HostViews::scene2dCloseRequested() {
  if (view2d) view2d->removeFromSuperview();
  view2d.reset();
}

void HostViews::addSceneView(const std::shared_ptr<toolkit::View>& view) {
  view->setFrame(container->bounds());
  container->addSubview(view, toolkit::View::Position::Below, nullptr);
}

}  // namespace talvero
