#include "ui/toast_view.h"

#include <algorithm>

#include "platform/dispatch/timer_source.h"
#include "platform/toolkit/animation.h"

namespace talvero {

namespace {

constexpr double kFadeSeconds = 0.3;
constexpr double kPaddingX = 12;
constexpr double kPaddingY = 8;
constexpr double kBottomGap = 60;
constexpr double kMaxWidthShare = 0.8;

}  // namespace

ToastView::ToastView() : label(std::make_shared<toolkit::Label>()) {
  layer().setBackgroundColor(toolkit::Color{0, 0, 0, 0.7});
  layer().setCornerRadius(12);
  layer().setMasksToBounds(true);
  label->setFont(toolkit::Font::system(15, 500));
  label->setTextColor(toolkit::Color{1, 1, 1, 1});
  label->setAlignment(toolkit::TextAlignment::Center);
  addSubview(label);
}

std::weak_ptr<ToastView> ToastView::weakSelf() {
  return std::static_pointer_cast<ToastView>(shared_from_this());
}

void ToastView::createToast(const std::string& text, int32_t duration,
                            const std::shared_ptr<toolkit::View>& view) {
  host = view;
  messageQueue.emplace_back(text, duration);
  if (isShowing) return;
  isShowing = true;
  show(messageQueue.front().first, messageQueue.front().second);
}

void ToastView::show(const std::string& text, int32_t duration) {
  const std::shared_ptr<toolkit::View> into = host.lock();
  if (!into) {
    // The queue stays: a later toast with a live host shows these first.
    isShowing = false;
    return;
  }
  label->setString(text);
  const toolkit::Size area = into->bounds().size;
  const double maxWidth = area.width * kMaxWidthShare;
  const toolkit::Size fitting = label->sizeThatFits(std::max(maxWidth - 2 * kPaddingX, 0.0));
  const double width = std::min(fitting.width + 2 * kPaddingX, maxWidth);
  const double height = fitting.height + 2 * kPaddingY;
  {
    // Placing the toast is no part of its fade, whatever group may be open around the caller.
    toolkit::ScopedTransaction withoutAnimation;
    setFrame({{(area.width - width) / 2, area.height - height - kBottomGap}, {width, height}});
    label->setFrame({{kPaddingX, kPaddingY}, {width - 2 * kPaddingX, height - 2 * kPaddingY}});
    into->addSubview(shared_from_this());
    layer().setOpacity(0);
  }
  const std::weak_ptr<ToastView> weak = weakSelf();
  toolkit::runGroup(
      kFadeSeconds, toolkit::TimingFunction::Linear, [this] { layer().setOpacity(1); },
      [weak, duration] {
        dispatch::postAfter(std::max(duration, 0) / 1000.0, [weak] {
          if (auto self = weak.lock()) self->fadeOut();
        });
      });
}

void ToastView::fadeOut() {
  const std::weak_ptr<ToastView> weak = weakSelf();
  toolkit::runGroup(
      kFadeSeconds, toolkit::TimingFunction::Linear, [this] { layer().setOpacity(0); },
      [weak] {
        if (auto self = weak.lock()) self->finish();
      });
}

void ToastView::finish() {
  removeFromSuperview();
  if (!messageQueue.empty()) messageQueue.pop_front();
  isShowing = false;
  if (messageQueue.empty()) return;
  isShowing = true;
  show(messageQueue.front().first, messageQueue.front().second);
}

}  // namespace talvero
