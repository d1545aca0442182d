#pragma once

#include "engine/engine_module.h"
#include "runtime/timer_manager.h"

namespace talvero {

// The global functions `setTimeout`, `setInterval`, `setLoop` and their `clear` twins, served
// by the engine's one timer manager; a retired context's timers and loops end with it.
class TimerBindings : public EngineModule {
 public:
  explicit TimerBindings(TimerManager& timers) : timers_(timers) {}

  void install(const ScriptContext& context) override { installTimers(timers_, context); }
  void release(const ScriptContext& context) override { timers_.cancelAll(context); }

 private:
  TimerManager& timers_;
};

}  // namespace talvero
