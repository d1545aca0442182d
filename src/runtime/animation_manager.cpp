#include "runtime/animation_manager.h"

#include <vector>

#include "platform/dispatch/main_queue.h"
#include "platform/dispatch/timer_source.h"

namespace talvero {

AnimationManager::AnimationManager(Clock clock) : clock_(std::move(clock)) {}

AnimationManager::AnimationManager() : AnimationManager(&dispatch::mediaTime) {}

AnimationManager::~AnimationManager() {
  stopDisplayLink();
}

void AnimationManager::addLoop(int64_t id, ScriptValue callback) {
  loops_[id] = std::move(callback);
}

bool AnimationManager::removeLoop(int64_t id) {
  return loops_.erase(id) > 0;
}

int64_t AnimationManager::animate(ScriptValue callback, float durationMs) {
  auto animation = std::make_shared<Animation>();
  animation->id = ++nextId_;
  animation->duration = durationMs / 1000.0f;
  animation->callback = std::move(callback);
  animation->startTime = clock_();
  animations_[animation->id] = animation;
  return animation->id;
}

void AnimationManager::stopAnimation(int64_t id) {
  animations_.erase(id);
}

void AnimationManager::pauseAnimation(int64_t id) {
  auto found = animations_.find(id);
  if (found == animations_.end() || found->second->paused) return;
  Animation& animation = *found->second;
  const auto elapsed = static_cast<float>(clock_() - animation.startTime);
  animation.pausedTime = std::min(animation.duration, elapsed);
  animation.paused = true;
}

void AnimationManager::resumeAnimation(int64_t id) {
  auto found = animations_.find(id);
  if (found == animations_.end() || !found->second->paused) return;
  Animation& animation = *found->second;
  animation.startTime = clock_() - animation.pausedTime;
  animation.paused = false;
}

// Both passes walk a snapshot: what a callback adds joins at the next tick, and what it
// removes is still called in this one.
void AnimationManager::tick() {
  const double now = clock_();
  if (!loops_.empty()) {
    if (lastTime_ == 0) lastTime_ = now;
    const double step = now - lastTime_;
    const std::vector<std::pair<const int64_t, ScriptValue>> snapshot(loops_.begin(), loops_.end());
    for (const auto& [id, callback] : snapshot) callback.call({step});
    lastTime_ = now;
  }
  if (!animations_.empty()) {
    std::vector<std::shared_ptr<Animation>> snapshot;
    snapshot.reserve(animations_.size());
    for (const auto& entry : animations_) snapshot.push_back(entry.second);
    std::vector<int64_t> finished;
    for (const auto& animation : snapshot) {
      if (animation->paused) continue;
      float progress = static_cast<float>(now - animation->startTime) / animation->duration;
      // A zero duration divides to infinity or, at the very same instant, to NaN.
      if (animation->duration <= 0 || progress >= 1.0f) {
        finished.push_back(animation->id);
        progress = 1.0f;
      }
      animation->callback.call({progress});
    }
    for (int64_t id : finished) animations_.erase(id);
  }
}

void AnimationManager::startDisplayLink() {
  if (displayLink_) return;
  displayLink_ = std::make_unique<dispatch::DisplayLink>([this] { onDisplayFrame(); });
  if (!displayLink_->start()) displayLink_.reset();
}

void AnimationManager::stopDisplayLink() {
  if (displayLink_) displayLink_->stop();
  displayLink_.reset();
}

// Runs on the display link's thread: it only queues the tick, holding the manager. A tick
// still waiting on a busy main thread is not queued twice.
void AnimationManager::onDisplayFrame() {
  if (tickQueued_.exchange(true)) return;
  std::weak_ptr<AnimationManager> weak = weak_from_this();
  auto self = weak.lock();
  if (!self) {
    tickQueued_ = false;
    return;
  }
  dispatch::post([self] {
    self->tickQueued_ = false;
    self->tick();
  });
}

void AnimationManager::cancelAll(const ScriptContext& context) {
  std::erase_if(loops_, [&](const auto& entry) { return entry.second.belongsTo(context); });
  std::erase_if(animations_,
                [&](const auto& entry) { return entry.second->callback.belongsTo(context); });
  if (loops_.empty()) lastTime_ = 0;
}

bool AnimationManager::hasWork(const ScriptContext& context) const {
  for (const auto& entry : loops_) {
    if (entry.second.belongsTo(context)) return true;
  }
  for (const auto& entry : animations_) {
    if (entry.second->callback.belongsTo(context)) return true;
  }
  return false;
}

}  // namespace talvero
