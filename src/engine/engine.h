#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "engine/bindings/console_bindings.h"
#include "engine/bindings/creator2d_bindings.h"
#include "engine/bindings/creator_canvas_bindings.h"
#include "engine/bindings/creator_gl_bindings.h"
#include "engine/bindings/creator_ui_bindings.h"
#include "engine/bindings/creator_utils_bindings.h"
#include "engine/bindings/timer_bindings.h"
#include "engine/engine_module.h"
#include "runtime/animation_manager.h"
#include "runtime/callback_registry.h"
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
  // An integrator's augmented-reality controllers, made by name from script.
  void registerARController(const std::string& name, ARControllerFactory factory);
  void setFetchLocal(CreatorUtilsHandler::FetchLocal fetchLocal);
  int64_t putBuffer(Bytes bytes);

  // Every module's globals, then the host's registrations.
  void configure(const ScriptContext& context);
  void applyCallback(const Registration& registration, const ScriptContext& context);
  // Ends everything native that `context` left running, module by module in list order.
  void releaseResources(const ScriptContext& context);

  ScriptContext currentContext() const;
  // A timer, loop or animation of the current context is still to run.
  bool hasPendingWork() const;

  TimerManager& timerManager() { return *timerManager_; }
  AnimationManager& animationManager() { return *animationManager_; }
  CreatorUtilsHandler& creatorUtilsHandler() { return *creatorUtilsHandler_; }
  CreatorUIStore& creatorUI() { return *creatorUI_; }
  CreatorGLHandler& creatorGLHandler() { return *creatorGLHandler_; }
  Creator2DHandler& creator2dHandler() { return *creator2dHandler_; }
  CreatorCanvasHandler& creatorCanvasHandler() { return *creatorCanvasHandler_; }
  const std::vector<EngineModule*>& modules() const { return modules_; }

 private:
  // The animation clock has no script global of its own (its rows are in `_creatorUtils`);
  // a retired context's loops and animations end with it.
  class AnimationModule : public EngineModule {
   public:
    explicit AnimationModule(AnimationManager& animations) : animations_(animations) {}
    void install(const ScriptContext&) override {}
    void release(const ScriptContext& context) override { animations_.cancelAll(context); }

   private:
    AnimationManager& animations_;
  };

  template <class Module, class... Args>
  EngineModule* own(Args&&... args) {
    ownedModules_.push_back(std::make_unique<Module>(std::forward<Args>(args)...));
    return ownedModules_.back().get();
  }

  ScriptContext currentContext_;
  std::unique_ptr<CreatorUIStore> creatorUI_;
  std::shared_ptr<TimerManager> timerManager_;
  std::shared_ptr<AnimationManager> animationManager_;
  std::unique_ptr<CreatorGLHandler> creatorGLHandler_;
  std::unique_ptr<Creator2DHandler> creator2dHandler_;
  std::unique_ptr<CreatorUIHandler> creatorUIHandler_;
  std::unique_ptr<CreatorUtilsHandler> creatorUtilsHandler_;
  std::unique_ptr<CreatorCanvasHandler> creatorCanvasHandler_;
  // Modules that only the list names.
  std::vector<std::unique_ptr<EngineModule>> ownedModules_;
  std::vector<EngineModule*> modules_;
  std::vector<Registration> registrations_;
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
  mutable std::mutex contextLock_;  // `run` may read the current context from another thread
};

}  // namespace talvero
