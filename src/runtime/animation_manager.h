#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>

#include "platform/dispatch/display_link.h"
#include "platform/script/script_context.h"

namespace talvero {

struct Animation {
  int64_t id = 0;
  float duration = 0;  // seconds
  ScriptValue callback;
  double startTime = 0;  // seconds on the media clock
  bool paused = false;
  float pausedTime = 0;  // seconds
};

// Per-frame loops and timed animations, driven by one clock: `tick`. The display link drives
// it while no render view does. Everything but the display link's thread runs on the main
// thread.
class AnimationManager : public std::enable_shared_from_this<AnimationManager> {
 public:
  using Clock = std::function<double()>;  // seconds, monotonic

  explicit AnimationManager(Clock clock);
  AnimationManager();
  ~AnimationManager();

  // Loops: the ids come from the timer manager's sequence.
  void addLoop(int64_t id, ScriptValue callback);
  bool removeLoop(int64_t id);

  // `durationMs` in milliseconds; the callback gets the progress from 0 to 1.
  int64_t animate(ScriptValue callback, float durationMs);
  void stopAnimation(int64_t id);
  void pauseAnimation(int64_t id);
  void resumeAnimation(int64_t id);

  void tick();

  void startDisplayLink();
  void stopDisplayLink();
  bool displayLinkRunning() const { return displayLink_ != nullptr; }

  // Removes the loops, then the animations, of `context`.
  void cancelAll(const ScriptContext& context);
  bool hasWork(const ScriptContext& context) const;

  // The clock's present time, seconds.
  double now() const { return clock_(); }
  double lastTime() const { return lastTime_; }
  size_t loopCount() const { return loops_.size(); }
  size_t animationCount() const { return animations_.size(); }

 private:
  void onDisplayFrame();

  std::map<int64_t, ScriptValue> loops_;
  std::map<int64_t, std::shared_ptr<Animation>> animations_;
  double lastTime_ = 0;  // 0: not running
  int64_t nextId_ = 0;
  std::unique_ptr<dispatch::DisplayLink> displayLink_;
  Clock clock_;
  std::atomic<bool> tickQueued_{false};
};

}  // namespace talvero
