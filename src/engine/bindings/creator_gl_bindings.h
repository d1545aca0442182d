#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>

#include "engine/ar_controller.h"
#include "engine/bindings/script_handler.h"
#include "engine/canvas_textures.h"

namespace talvero {

class CreatorUIStore;

// `_creator`, the script's door to 3D scenes. It holds no 3D state of its own: each row turns
// script values into a call of the 3D layer. It keeps the script functions behind native
// callbacks, the open scene and the context that opened it, the material of each buffer, and
// the augmented-reality controllers.
class CreatorGLHandler : public ScriptHandler {
 public:
  explicit CreatorGLHandler(CreatorUIStore& store);
  ~CreatorGLHandler() override;

  // The session of a retired context: its AR controllers stop, its function slots empty, and
  // the scene it opened closes. Scenes and entities stay in the native tables.
  void release(const ScriptContext& context) override;

  void createEngine(const ScriptValue& features);
  void openScene(uint32_t scene);
  void closeScene();
  void warmRender(int64_t scene, ScriptValue onReady);
  // The next frame of the render view as a PNG, in a buffer: resolve(id, "image.png", size).
  void captureImage(ScriptValue resolve, ScriptValue reject);
  int64_t createMaterial(int64_t bufferId);
  void createTexture(int64_t bufferId, ScriptValue resolve, ScriptValue reject);
  // A texture of the surface's pixels; -1 when the canvas is gone, the surface is unknown or
  // the 3D layer refuses it.
  int64_t createTextureFromCanvas(int64_t surface);
  void updateTextureFromCanvas(int64_t texture, int64_t surface);
  void setEarlyUpdate(ScriptValue function);
  void setLateUpdate(ScriptValue function);
  void traverse(uint32_t entity, ScriptValue function);
  // Contacts reach `function(entity, entity, type)` after the frame's physics steps.
  void setOnPhysicsEvent(ScriptValue function);
  void requestCamera(ScriptValue resolve, ScriptValue reject);

  void createARController(uint32_t scene, uint32_t camera, const std::string& name,
                          ScriptValue onAnchor);
  uint32_t createRootAnchor(uint32_t scene);
  uint32_t createAnchor(uint32_t scene, float width, int64_t bufferId);
  uint32_t getSceneMaterial(uint32_t scene);
  void launchAR(uint32_t scene, ScriptValue resolve, ScriptValue reject);
  void stopAR();

  // Stores the factory under `name`, replacing an earlier one.
  void registerARController(const std::string& name, ARControllerFactory factory);
  // What `systemInfo` reports as the 3D backend.
  static std::string rendererBackend();

  // The main-queue steps of `warmRender`, swapped by tests for a scene that never gets ready.
  struct WarmSteps {
    std::function<bool(int64_t scene)> warm;
    std::function<bool()> ready;
    std::function<void(double seconds, std::function<void()> step)> after;
  };
  WarmSteps warmSteps;
  // Whether a camera can be opened; runs off the main thread. Swapped by tests.
  std::function<bool()> cameraProbe;

  CreatorUIStore& creatorUIStore;
  // The engine's canvas, not owned; null when there is none.
  CreatorCanvasHandler* canvas = nullptr;
  CanvasTextureUploads<int64_t> canvasUploads;
  std::unordered_map<int64_t, int64_t> materialMap;
  std::map<uint32_t, std::shared_ptr<ARController>> arControllers;
  std::map<uint32_t, std::weak_ptr<ContextState>> arContexts;
  std::optional<uint32_t> currentSceneId;
  std::weak_ptr<ContextState> currentSceneContext;
  std::string backend = "opengl";
  std::map<std::string, ARControllerFactory> controllerFactory;
  std::shared_ptr<ARController> activeARController;

 private:
  void installUpdateFunctions();
  void installPhysicsEventFunction();
  void warmStep(int64_t scene, std::shared_ptr<ScriptValue> onReady, int attempts, bool warmed);

  // Script functions behind native callbacks, read at each call.
  ScriptValue traverseFunction_;
  ScriptValue earlyUpdateFunction_;
  ScriptValue lateUpdateFunction_;
  ScriptValue physicsEventFunction_;
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace talvero
