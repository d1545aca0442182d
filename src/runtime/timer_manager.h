#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "platform/dispatch/timer_source.h"
#include "platform/script/export_table.h"
#include "runtime/animation_manager.h"

namespace talvero {

// Serves `setTimeout`, `setInterval`, `setLoop` and their `clear` twins. Timers and loops share
// one id sequence from 1; ids are never reused.
class TimerManager {
 public:
  explicit TimerManager(std::shared_ptr<AnimationManager> animationManager);

  int64_t createTimer(ScriptValue callback, double delayMs, bool repeats);
  int64_t setLoop(ScriptValue callback);
  // Ends the timer or, failing that, the loop with this id; an unknown id does nothing.
  void clear(int64_t id);
  // Ends every timer whose callback belongs to `context`; others stay.
  void cancelAll(const ScriptContext& context);

  // A repeating timer, or a one-shot timer that has not fired, of `context`.
  bool hasPendingTimers(const ScriptContext& context) const;
  size_t timerCount() const;

  // The six global functions, in the order they are installed.
  const ExportTable& globals() const { return globals_; }

 private:
  struct TimerEntry {
    dispatch::TimerSource source;
    ScriptValue callback;
    bool repeats = false;
    bool fired = false;
  };

  void fire(int64_t id);

  // A one-shot timer stays in the table after it fires: scripts may still clear it by id.
  std::unordered_map<int64_t, TimerEntry> timers_;
  int64_t nextId_ = 0;
  mutable std::mutex lock_;
  std::shared_ptr<AnimationManager> animationManager_;
  ExportTable globals_;
};

void installTimers(const TimerManager& manager, const ScriptContext& context);

}  // namespace talvero
