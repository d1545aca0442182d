#include "platform/dispatch/display_link.h"

#include <chrono>
#include <system_error>

namespace talvero::dispatch {

DisplayLink::DisplayLink(std::function<void()> onFrame) : onFrame_(std::move(onFrame)) {}

DisplayLink::~DisplayLink() {
  stop();
}

bool DisplayLink::start() {
  if (thread_.joinable()) return true;
  stopping_ = false;
  try {
    thread_ = std::thread([this] { run(); });
  } catch (const std::system_error&) {
    return false;
  }
  return true;
}

void DisplayLink::stop() {
  if (!thread_.joinable()) return;
  {
    std::lock_guard guard(lock_);
    stopping_ = true;
  }
  wake_.notify_all();
  thread_.join();
}

void DisplayLink::run() {
  using Clock = std::chrono::steady_clock;
  const auto period = std::chrono::duration_cast<Clock::duration>(
      std::chrono::duration<double>(1.0 / kFramesPerSecond));
  auto next = Clock::now() + period;
  std::unique_lock guard(lock_);
  while (!stopping_) {
    if (wake_.wait_until(guard, next, [this] { return stopping_; })) break;
    guard.unlock();
    onFrame_();
    guard.lock();
    next += period;
    const auto now = Clock::now();
    if (next < now) next = now + period;  // a stalled machine skips frames instead of bursting
  }
}

}  // namespace talvero::dispatch
