#include "app/host_views.h"

#include <string>
#include <utility>

#include "app/screen_slide.h"
#include "runtime/log.h"
#include "ui/ui_store.h"

namespace talvero {

HostViews::HostViews(CreatorUIStore& store, AnimationManager& animations)
    : store_(store), animations_(animations) {}

HostViews::~HostViews() {
  *alive_ = false;
  // Out of its window while the engine that ticks it is still there.
  if (glView) glView->removeFromSuperview();
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
  store_.onClose2dScene = [] {};
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
  glView = std::make_shared<CreatorGLView>(store_, animations_);
  glView->setFrame(container->bounds());
  container->addSubview(glView, toolkit::View::Position::Below, nullptr);
}

void HostViews::sceneCloseRequested() {
  if (glView) glView->removeFromSuperview();
  glView.reset();
}

void HostViews::scene2dOpenRequested() {
  scene2dOpened = true;
  if (buildsSceneViews && container) {
    logLine("[TalveroApp] 2D scene opened, but the 2D view is not built yet: nothing is drawn");
  }
}

}  // namespace talvero
