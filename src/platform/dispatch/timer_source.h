#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace talvero::dispatch {

struct TimerState;

// A timer on the main loop with millisecond deadlines. Timers that fall due together fire in
// the order of their deadlines, then of their creation. The handler runs on the main thread.
// Destroying the handle cancels the timer.
class TimerSource {
 public:
  TimerSource() = default;
  // First fires `delayMs` from now; then every `repeatMs`, when given.
  TimerSource(double delayMs, std::optional<double> repeatMs, std::function<void()> handler);
  TimerSource(TimerSource&& other) noexcept = default;
  TimerSource& operator=(TimerSource&& other) noexcept;
  ~TimerSource();

  void cancel();
  bool active() const;

 private:
  std::shared_ptr<TimerState> state_;
};

// A one-shot block on the main queue after `seconds`; cannot be cancelled.
void postAfter(double seconds, std::function<void()> block);

// Seconds on a monotonic clock, the time base of animations and frames.
double mediaTime();

}  // namespace talvero::dispatch
