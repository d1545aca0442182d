#include <algorithm>
#include <utility>

#include "engine/bindings/creator2d_bindings.h"
#include "runtime/buffers.h"
#include "runtime/log.h"
#include "runtime/value_helpers.h"
#include "scene2d/scene2d.h"
#include "ui/ui_store.h"

namespace talvero {

namespace {

// The clip event function: the 2D layer's callback is a plain function, so its bridge reads
// this slot at each event.
ScriptValue& animEventFunction() {
  static ScriptValue function;
  return function;
}

void deliverAnimEvent(int32_t entity, int32_t clip, int32_t kind) {
  // A copy: the function may replace itself.
  const ScriptValue function = animEventFunction();
  if (function.empty()) return;
  function.call(
      {NativeValue(NativeValue::Dict{{"entityId", entity}, {"clipId", clip}, {"type", kind}})});
}

// The physics event function, kept the same way.
ScriptValue& physicsEventFunction() {
  static ScriptValue function;
  return function;
}

void deliverPhysicsEvent(int32_t entityA, int32_t entityB, int32_t type) {
  // A copy: the function may clear or replace itself while the frame's events go out.
  const ScriptValue function = physicsEventFunction();
  if (function.empty()) return;
  function.call({entityA, entityB, type});
}

// Keeps `function` in its slot and points the 2D layer's callback at the bridge; anything but a
// function empties the slot and unhooks the callback.
template <class Callback>
void setEventFunction(ScriptValue& slot, ScriptValue function, void (*hook)(Callback),
                      Callback bridge) {
  const bool isFunction = function.isFunction();
  slot = isFunction ? std::move(function) : ScriptValue();
  hook(isFunction ? bridge : nullptr);
}

void setAnimFunction(ScriptValue function) {
  setEventFunction(animEventFunction(), std::move(function), &c2dSetAnimEventCallback,
                   &deliverAnimEvent);
}

void setPhysicsFunction(ScriptValue function) {
  setEventFunction(physicsEventFunction(), std::move(function), &c2dSetPhysicsEventCallback,
                   &deliverPhysicsEvent);
}

bool isOf(const ScriptValue& value, const ScriptContext& context) {
  return !value.empty() && value.belongsTo(context);
}

}  // namespace

Creator2DHandler::~Creator2DHandler() {
  setAnimFunction(ScriptValue());
  setPhysicsFunction(ScriptValue());
}

void Creator2DHandler::onUpdate(ScriptValue function) {
  if (function.isFunction()) updateCallbacks.push_back(std::move(function));
}

void Creator2DHandler::offUpdate(const ScriptValue& function) {
  std::erase_if(updateCallbacks,
                [&](const ScriptValue& entry) { return entry.strictlyEquals(function); });
}

void Creator2DHandler::setOnAnimEvent(ScriptValue function) {
  setAnimFunction(std::move(function));
}

void Creator2DHandler::setOnPhysicsEvent(ScriptValue function) {
  setPhysicsFunction(std::move(function));
}

void Creator2DHandler::setOnPointer(ScriptValue function) {
  pointerCallback = function.isFunction() ? std::move(function) : ScriptValue();
}

void Creator2DHandler::openScene(int32_t scene) {
  if (const ScriptContext context = ScriptContext::current(); !context.empty()) {
    currentSceneContext = context.state();
  }
  c2dOpenScene(scene);
  creatorUIStore.renderPaused = false;
  if (creatorUIStore.onOpen2dScene) creatorUIStore.onOpen2dScene();
}

void Creator2DHandler::closeScene() {
  c2dCloseScene();
  creatorUIStore.readyToRender = false;
  if (creatorUIStore.onClose2dScene) creatorUIStore.onClose2dScene();
  currentSceneContext.reset();
}

void Creator2DHandler::createTexture(int64_t bufferId, ScriptValue resolve, ScriptValue reject) {
  const Bytes bytes = Buffers::get(bufferId);
  if (!bytes) {
    logLine("[Buffers] createTexture: stale id " + std::to_string(bufferId));
    call_reject(reject, "creator-2d: texture buffer not found");
    return;
  }
  const int32_t texture = c2dCreateTexture(bytes->data(), bytes->size());
  if (texture == 0) {
    call_reject(reject, "creator-2d: texture decode failed");
    return;
  }
  resolve.call({texture, c2dGetTextureWidth(texture), c2dGetTextureHeight(texture)});
}

int32_t Creator2DHandler::createTextureFromCanvas(int64_t surface) {
  return canvasUploads.createFrom(canvas, surface).value_or(0);
}

void Creator2DHandler::updateTextureFromCanvas(int32_t texture, int64_t surface) {
  canvasUploads.updateFrom(canvas, texture, surface);
}

void Creator2DHandler::runUpdates(double dt) {
  if (updateCallbacks.empty()) return;
  const std::vector<ScriptValue> snapshot = updateCallbacks;
  for (const ScriptValue& function : snapshot) function.call({dt});
}

void Creator2DHandler::pointer(int32_t phase, float x, float y) {
  // A copy: the function may replace itself.
  const ScriptValue function = pointerCallback;
  if (!function.empty()) function.call({phase, 0, x, y});
}

void Creator2DHandler::release(const ScriptContext& context) {
  std::erase_if(updateCallbacks,
                [&](const ScriptValue& function) { return isOf(function, context); });
  if (isOf(pointerCallback, context)) pointerCallback = ScriptValue();
  if (isOf(animEventFunction(), context)) setAnimFunction(ScriptValue());
  if (isOf(physicsEventFunction(), context)) setPhysicsFunction(ScriptValue());
  const auto sceneContext = currentSceneContext.lock();
  if (sceneContext && sceneContext == context.state()) {
    c2dCloseScene();
    creatorUIStore.readyToRender = false;
    if (creatorUIStore.onClose2dScene) creatorUIStore.onClose2dScene();
    currentSceneContext.reset();
  }
}

}  // namespace talvero
