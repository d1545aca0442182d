#include "app/screen_slide.h"

#include "platform/toolkit/animation.h"

namespace talvero {

namespace {

constexpr double kSlideSeconds = 0.3;
constexpr const char* kSlideKey = "routerSlide";

toolkit::BasicAnimation slide(double from, double to) {
  toolkit::BasicAnimation animation;
  animation.keyPath = "transform.translation.x";
  animation.from = from;
  animation.to = to;
  animation.duration = kSlideSeconds;
  animation.timing = toolkit::TimingFunction::EaseInEaseOut;
  return animation;
}

}  // namespace

void slideScreens(toolkit::View& container, toolkit::View& incoming,
                  const std::shared_ptr<toolkit::View>& outgoing, int sign) {
  const double width = container.bounds().width();
  const double direction = sign > 0 ? 1.0 : -1.0;
  incoming.layer().addAnimation(slide(direction * width, 0), kSlideKey);
  if (!outgoing) return;
  toolkit::BasicAnimation leave = slide(0, -direction * width);
  // The outgoing screen goes away with its animation: it keeps the end of the slide.
  leave.fillMode = toolkit::FillMode::Forwards;
  leave.removedOnCompletion = false;
  std::weak_ptr<toolkit::View> leaving = outgoing;
  // A slide cut short was replaced by the view's next slide or ended by the host, which now
  // shows the view again: only a finished slide takes it away.
  leave.completion = [leaving](bool finished) {
    if (auto view = leaving.lock(); view && finished) view->removeFromSuperview();
  };
  outgoing->layer().addAnimation(leave, kSlideKey);
}

void endScreenSlide(toolkit::View& view) {
  view.layer().removeAnimation(kSlideKey);
}

}  // namespace talvero
