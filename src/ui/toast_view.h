#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <utility>

#include "platform/toolkit/label.h"
#include "platform/toolkit/view.h"

namespace talvero {

// A short message that floats over its host near the bottom and goes away by itself. Messages
// queue: one stands on screen at a time, in the order they came, and the next fades in only
// after the last has faded out. Made with `std::make_shared`; main thread only.
class ToastView : public toolkit::View {
 public:
  ToastView();

  // Queues `text` to stand in `view` for `duration` milliseconds, plus 0.3 seconds of fading
  // in and 0.3 of fading out.
  void createToast(const std::string& text, int32_t duration,
                   const std::shared_ptr<toolkit::View>& view);

  std::shared_ptr<toolkit::Label> label;
  std::deque<std::pair<std::string, int32_t>> messageQueue;  // the first is the one on screen
  bool isShowing = false;  // on its way in, on screen or on its way out
  std::weak_ptr<toolkit::View> host;

 private:
  // Places the toast for `text` in the host and fades it in; the frame is worked out here
  // only, so a host resized meanwhile does not move it.
  void show(const std::string& text, int32_t duration);
  void fadeOut();
  void finish();
  std::weak_ptr<ToastView> weakSelf();
};

}  // namespace talvero
