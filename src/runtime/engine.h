#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "runtime/animation_manager.h"
#include "runtime/callback_registry.h"
#include "runtime/handlers/console_handler.h"
#include "runtime/handlers/creator_ui_handler.h"
#include "runtime/handlers/creator_utils_handler.h"
#include "runtime/handlers/scene_handlers.h"
#include "runtime/timer_manager.h"

namespace talvero {

class CreatorUIStore;

// A host function under a dotted script path, applied to every context.
struct Registration {
  std::string path;
  NativeFunction callback;
};

// Owns the one current script context, every script-facing handler and the shared managers.
// A project replaces the running program only when its top level throws nothing.
class TalveroEngine {
 public:
  TalveroEngine();
  ~TalveroEngine();
  TalveroEngine(const TalveroEngine&) = delete;
  TalveroEngine& operator=(const TalveroEngine&) = delete;

  // Evaluates in the current context. From another thread it is queued on the main queue,
  // for the context current at the time of the call.
  void run(const std::string& source, const std::string& sourceUrl = {});
  // Reached through the `openProject` slot of `_creatorUtils`, from the main queue.
  void openProject(const std::string& source, const ScriptValue& reject);
  void registerCallback(const std::string& path, NativeFunction callback);
  void setLanguage(const std::string& language);
  void setFetchLocal(CreatorUtilsHandler::FetchLocal fetchLocal);
  int64_t putBuffer(Bytes bytes);

  void configure(const ScriptContext& context);
  void applyCallback(const Registration& registration, const ScriptContext& context);
  // Ends everything native that `context` left running.
  void releaseResources(const ScriptContext& context);

  ScriptContext currentContext() const;
  // A timer, loop or animation of the current context is still to run.
  bool hasPendingWork() const;

  TimerManager& timerManager() { return *timerManager_; }
  AnimationManager& animationManager() { return *animationManager_; }
  CreatorUtilsHandler& creatorUtilsHandler() { return *creatorUtilsHandler_; }
  CreatorUIStore& creatorUI() { return *creatorUI_; }

 private:
  ScriptContext currentContext_;
  std::unique_ptr<CreatorUIStore> creatorUI_;
  std::shared_ptr<TimerManager> timerManager_;
  std::shared_ptr<AnimationManager> animationManager_;
  std::unique_ptr<CreatorGLHandler> creatorGLHandler_;
  std::unique_ptr<Creator2DHandler> creator2dHandler_;
  std::unique_ptr<CreatorUIHandler> creatorUIHandler_;
  std::unique_ptr<CreatorUtilsHandler> creatorUtilsHandler_;
  std::unique_ptr<CreatorCanvasHandler> creatorCanvasHandler_;
  std::vector<Registration> registrations_;
  ConsoleHandler consoleHandler_;
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
  mutable std::mutex contextLock_;  // `run` may read the current context from another thread
};

}  // namespace talvero
