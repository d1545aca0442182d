#include "runtime/timer_manager.h"

#include <optional>
#include <vector>

namespace talvero {

TimerManager::TimerManager(std::shared_ptr<AnimationManager> animationManager)
    : animationManager_(std::move(animationManager)) {
  auto clearById = [this](int32_t id) { clear(id); };
  globals_
      .add("setTimeout",
           [this](ScriptValue callback, double delay) {
             return createTimer(std::move(callback), delay, false);
           })
      .add("setInterval",
           [this](ScriptValue callback, double period) {
             return createTimer(std::move(callback), period, true);
           })
      .add("setLoop", [this](ScriptValue callback) { return setLoop(std::move(callback)); })
      .add("clearTimeout", clearById)
      .add("clearInterval", clearById)
      .add("clearLoop", clearById);
}

int64_t TimerManager::createTimer(ScriptValue callback, double delayMs, bool repeats) {
  std::lock_guard guard(lock_);
  const int64_t id = ++nextId_;
  TimerEntry& entry = timers_[id];
  entry.callback = std::move(callback);
  entry.repeats = repeats;
  entry.source = dispatch::TimerSource(
      delayMs, repeats ? std::optional<double>(delayMs) : std::nullopt, [this, id] { fire(id); });
  return id;
}

void TimerManager::fire(int64_t id) {
  ScriptValue callback;
  {
    std::lock_guard guard(lock_);
    auto found = timers_.find(id);
    if (found == timers_.end()) return;
    if (!found->second.repeats) found->second.fired = true;
    callback = found->second.callback;
  }
  callback.call();
}

int64_t TimerManager::setLoop(ScriptValue callback) {
  std::lock_guard guard(lock_);
  const int64_t id = ++nextId_;
  animationManager_->addLoop(id, std::move(callback));
  return id;
}

void TimerManager::clear(int64_t id) {
  std::lock_guard guard(lock_);
  if (auto found = timers_.find(id); found != timers_.end()) {
    found->second.source.cancel();
    timers_.erase(found);
    return;
  }
  animationManager_->removeLoop(id);
}

void TimerManager::cancelAll(const ScriptContext& context) {
  std::lock_guard guard(lock_);
  for (auto it = timers_.begin(); it != timers_.end();) {
    if (it->second.callback.belongsTo(context)) {
      it->second.source.cancel();
      it = timers_.erase(it);
    } else {
      ++it;
    }
  }
}

bool TimerManager::hasPendingTimers(const ScriptContext& context) const {
  std::lock_guard guard(lock_);
  for (const auto& [id, entry] : timers_) {
    if (entry.callback.belongsTo(context) && (entry.repeats || !entry.fired)) return true;
  }
  return false;
}

size_t TimerManager::timerCount() const {
  std::lock_guard guard(lock_);
  return timers_.size();
}

void installTimers(const TimerManager& manager, const ScriptContext& context) {
  manager.globals().installGlobals(context);
}

}  // namespace talvero
