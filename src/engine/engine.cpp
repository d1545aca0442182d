#include "engine/engine.h"

#include <optional>

#include "platform/dispatch/main_queue.h"
#include "runtime/buffers.h"
#include "runtime/exception_handler.h"
#include "runtime/log.h"
#include "runtime/value_helpers.h"
#include "ui/ui_store.h"

namespace talvero {

namespace {

constexpr const char* kScriptGlobals[] = {
    "_creator",   "_creator2d",  "_creatorUI", "_creatorUtils", "_creatorCanvas", "console",
    "setTimeout", "setInterval", "setLoop",    "clearTimeout",  "clearInterval",  "clearLoop"};

std::vector<std::string> splitPath(const std::string& path) {
  std::vector<std::string> pieces;
  size_t start = 0;
  while (start <= path.size()) {
    const size_t dot = path.find('.', start);
    const size_t end = dot == std::string::npos ? path.size() : dot;
    if (end > start) pieces.push_back(path.substr(start, end - start));
    if (dot == std::string::npos) break;
    start = dot + 1;
  }
  return pieces;
}

}  // namespace

TalveroEngine::TalveroEngine() {
  currentContext_ = ScriptContext::create();
  if (currentContext_.empty()) fatalStop("TalveroEngine: could not create a script context");
  creatorCanvasHandler_ = std::make_unique<CreatorCanvasHandler>();
  animationManager_ = std::make_shared<AnimationManager>();
  animationManager_->startDisplayLink();
  timerManager_ = std::make_shared<TimerManager>(animationManager_);
  creatorUI_ = std::make_unique<CreatorUIStore>();
  creatorGLHandler_ = std::make_unique<CreatorGLHandler>(*creatorUI_);
  creator2dHandler_ = std::make_unique<Creator2DHandler>(*creatorUI_);
  creatorGLHandler_->canvas = creatorCanvasHandler_.get();
  creator2dHandler_->canvas = creatorCanvasHandler_.get();
  creatorUI_->canvasHandler = creatorCanvasHandler_.get();
  creatorUIHandler_ = std::make_unique<CreatorUIHandler>(*creatorUI_);
  creatorUtilsHandler_ = std::make_unique<CreatorUtilsHandler>(animationManager_);
  std::weak_ptr<bool> engineAlive = alive_;
  creatorUtilsHandler_->openProject = [this, engineAlive](const std::string& source,
                                                          const ScriptValue& reject) {
    if (engineAlive.lock()) openProject(source, reject);
  };
  creatorUtilsHandler_->platform = "linux";
  // Every subsystem once, in the order a retired context is released: timers, animations,
  // UI input callbacks, the 3D and 2D sessions, web sockets (media players join last).
  modules_ = {
      own<TimerBindings>(*timerManager_),
      own<AnimationModule>(*animationManager_),
      creatorUIHandler_.get(),
      creatorGLHandler_.get(),
      creator2dHandler_.get(),
      creatorUtilsHandler_.get(),
      creatorCanvasHandler_.get(),
      own<ConsoleHandler>(),
  };
  configure(currentContext_);
}

TalveroEngine::~TalveroEngine() {
  // The canvas handler goes before the store and the scene handlers: nothing may reach it
  // meanwhile.
  creatorUI_->canvasHandler = nullptr;
  creatorGLHandler_->canvas = nullptr;
  creator2dHandler_->canvas = nullptr;
  // The display link's posted ticks hold the animation manager; stop them first.
  animationManager_->stopDisplayLink();
  releaseResources(currentContext_);
}

void TalveroEngine::configure(const ScriptContext& context) {
  context.setExceptionHandler(&defaultExeptionHandler);
  // Scripts enumerate the globals in this order whatever the order of the modules: the five
  // handlers, `console`, then the timer functions.
  for (const char* name : kScriptGlobals) context.setGlobal(name, NativeValue());
  for (EngineModule* module : modules_) module->install(context);
  for (const auto& registration : registrations_) applyCallback(registration, context);
}

void TalveroEngine::applyCallback(const Registration& registration, const ScriptContext& context) {
  const auto pieces = splitPath(registration.path);
  if (pieces.empty()) return;
  ScriptValue object = context.globalObject();
  for (size_t i = 0; i + 1 < pieces.size(); ++i) {
    ScriptValue next = object.get(pieces[i]);
    if (next.isUndefined()) {
      next = context.newObject();
      object.set(pieces[i], next);
    }
    object = next;
  }
  CallbackRegistry& registry = CallbackRegistry::shared();
  registry.set(registration.path, registration.callback);
  object.set(pieces.back(), registry.makeFunction(context, registration.path));
}

void TalveroEngine::registerCallback(const std::string& path, NativeFunction callback) {
  registrations_.push_back(Registration{path, std::move(callback)});
  applyCallback(registrations_.back(), currentContext());
}

void TalveroEngine::run(const std::string& source, const std::string& sourceUrl) {
  if (dispatch::isMainThread()) {
    currentContext().evaluate(source, sourceUrl);
    return;
  }
  ScriptContext context = currentContext();
  dispatch::post([context, source, sourceUrl] { context.evaluate(source, sourceUrl); });
}

void TalveroEngine::openProject(const std::string& source, const ScriptValue& reject) {
  ScriptContext project = ScriptContext::create();
  if (project.empty()) {
    call_reject(reject, "could not create a script context");
    return;
  }
  configure(project);
  auto caught = std::make_shared<std::optional<ScriptValue>>();
  project.setExceptionHandler(
      [caught](const ScriptContext&, const ScriptValue& exception) { *caught = exception; });
  project.evaluate(source);
  project.setExceptionHandler(&defaultExeptionHandler);
  if (caught->has_value()) {
    releaseResources(project);
    const std::string message = (*caught)->toStringIfAny().value_or("Unknown error");
    caught->reset();
    call_reject(reject, message);
    return;
  }
  ScriptContext old;
  {
    std::lock_guard guard(contextLock_);
    old = currentContext_;
    currentContext_ = project;
  }
  releaseResources(old);
}

void TalveroEngine::releaseResources(const ScriptContext& context) {
  for (EngineModule* module : modules_) module->release(context);
}

void TalveroEngine::setLanguage(const std::string& language) {
  creatorUtilsHandler_->language = language;
}

void TalveroEngine::registerARController(const std::string& name, ARControllerFactory factory) {
  creatorGLHandler_->registerARController(name, std::move(factory));
}

void TalveroEngine::setFetchLocal(CreatorUtilsHandler::FetchLocal fetchLocal) {
  creatorUtilsHandler_->onFetchLocal = std::move(fetchLocal);
}

int64_t TalveroEngine::putBuffer(Bytes bytes) {
  return Buffers::putBuffer(std::move(bytes));
}

ScriptContext TalveroEngine::currentContext() const {
  std::lock_guard guard(contextLock_);
  return currentContext_;
}

bool TalveroEngine::hasPendingWork() const {
  const ScriptContext context = currentContext();
  return timerManager_->hasPendingTimers(context) || animationManager_->hasWork(context);
}

}  // namespace talvero
