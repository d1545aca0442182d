#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "engine/bindings/script_handler.h"
#include "engine/canvas_textures.h"

namespace talvero {

class CreatorUIStore;

// `_creator2d`, the script's door to 2D scenes. It holds no 2D state of its own: each row turns
// script values into a call of the 2D layer. It keeps the script's update, pointer, clip event
// and physics event functions and the context that opened the scene.
class Creator2DHandler : public ScriptHandler {
 public:
  explicit Creator2DHandler(CreatorUIStore& store);
  ~Creator2DHandler() override;

  // The session of a retired context: its functions go, and the scene it opened closes.
  // Scenes, entities and textures stay in the native tables.
  void release(const ScriptContext& context) override;

  void onUpdate(ScriptValue function);
  void offUpdate(const ScriptValue& function);
  void setOnAnimEvent(ScriptValue function);
  void setOnPhysicsEvent(ScriptValue function);
  void setOnPointer(ScriptValue function);
  void openScene(int32_t scene);
  void closeScene();
  void createTexture(int64_t bufferId, ScriptValue resolve, ScriptValue reject);
  int32_t createTextureFromCanvas(int64_t surface);
  void updateTextureFromCanvas(int32_t texture, int64_t surface);

  // The view's frame: every update function of a snapshot, in order, with dt in seconds.
  void runUpdates(double dt);
  // A press, drag (1) or release (2) at points from the view's top left.
  void pointer(int32_t phase, float x, float y);

  CreatorUIStore& creatorUIStore;
  // The engine's canvas, not owned; null when there is none.
  CreatorCanvasHandler* canvas = nullptr;
  CanvasTextureUploads<int32_t> canvasUploads;
  std::string backend = "opengl";
  std::vector<ScriptValue> updateCallbacks;
  std::weak_ptr<ContextState> currentSceneContext;
  ScriptValue pointerCallback;
};

}  // namespace talvero
