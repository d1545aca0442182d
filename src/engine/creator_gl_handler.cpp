#include <utility>

#include "engine/bindings/creator_gl_bindings.h"
#include "engine/bindings/scene3d_rows.h"
#include "platform/dispatch/background_queue.h"
#include "platform/dispatch/main_queue.h"
#include "platform/dispatch/timer_source.h"
#include "runtime/buffers.h"
#include "runtime/log.h"
#include "runtime/value_helpers.h"
#include "scene3d/frame_loop.h"
#include "scene3d/image_textures.h"
#include "scene3d/materials.h"
#include "scene3d/physics/physics_world.h"
#include "scene3d/scenes.h"
#include "scene3d/warm_up.h"
#include "ui/ui_store.h"
#include "viewer/creator_gl_view.h"

namespace talvero {

namespace {

constexpr int kWarmAttempts = 201;
constexpr double kWarmRetry = 0.1;
constexpr double kWarmPoll = 0.05;

bool holdsFeature(const ScriptValue& features, const std::string& name) {
  if (!features.isArray()) return false;
  for (const NativeValue& feature : features.toArray()) {
    if (feature.isString() && feature.asString() == name) return true;
  }
  return false;
}

// A slot keeps only functions; anything else empties it.
ScriptValue functionOrEmpty(ScriptValue value) {
  return value.isFunction() ? std::move(value) : ScriptValue();
}

void clearIfOf(ScriptValue& slot, const ScriptContext& context) {
  if (!slot.empty() && slot.belongsTo(context)) slot = ScriptValue();
}

}  // namespace

CreatorGLHandler::~CreatorGLHandler() {
  *alive_ = false;
  scene3d::setUpdateFuncs(nullptr, nullptr);
  scene3d::setPhysicsEventFunc(nullptr);
}

std::string CreatorGLHandler::rendererBackend() {
  return scene3d::backendName();
}

void CreatorGLHandler::registerARController(const std::string& name, ARControllerFactory factory) {
  controllerFactory[name] = std::move(factory);
}

void CreatorGLHandler::createEngine(const ScriptValue& features) {
  materialMap.clear();
  scene3d::init();
  if (holdsFeature(features, "uberarchive")) {
    logLine(
        "[creator-gl] createEngine: GLB support is not built in this version; "
        "\"uberarchive\" is not loaded");
  }
  creatorUIStore.glCaptureSupport = holdsFeature(features, "capture");
}

void CreatorGLHandler::openScene(uint32_t scene) {
  currentSceneContext = ScriptContext::current().state();
  if (currentSceneId && *currentSceneId != scene) {
    if (auto found = arControllers.find(*currentSceneId); found != arControllers.end()) {
      found->second->stop();
    }
  }
  scene3d::openScene(scene);
  creatorUIStore.renderPaused = false;
  if (creatorUIStore.onOpenScene) creatorUIStore.onOpenScene();
  currentSceneId = scene;
}

void CreatorGLHandler::closeScene() {
  if (!currentSceneId) return;
  if (auto found = arControllers.find(*currentSceneId); found != arControllers.end()) {
    found->second->stop();
  }
  if (activeARController && activeARController->sceneId == *currentSceneId) {
    activeARController.reset();
  }
  scene3d::closeScene();
  currentSceneId.reset();
  currentSceneContext.reset();
  creatorUIStore.readyToRender = false;
  if (creatorUIStore.onCloseScene) creatorUIStore.onCloseScene();
}

void CreatorGLHandler::warmRender(int64_t scene, ScriptValue onReady) {
  auto function = std::make_shared<ScriptValue>(std::move(onReady));
  std::weak_ptr<bool> alive = alive_;
  dispatch::post([this, alive, scene, function] {
    if (alive.lock()) warmStep(scene, function, 0, false);
  });
}

void CreatorGLHandler::warmStep(int64_t scene, std::shared_ptr<ScriptValue> onReady, int attempts,
                                bool warmed) {
  if (attempts >= kWarmAttempts) {
    onReady->call();
    return;
  }
  std::weak_ptr<bool> alive = alive_;
  const auto retry = [&](double seconds, bool nowWarmed) {
    warmSteps.after(seconds, [this, alive, scene, onReady, attempts, nowWarmed] {
      if (alive.lock()) warmStep(scene, onReady, attempts + 1, nowWarmed);
    });
  };
  if (!warmed) {
    if (warmSteps.warm(scene)) {
      retry(kWarmPoll, true);
    } else {
      retry(kWarmRetry, false);
    }
    return;
  }
  if (warmSteps.ready()) {
    onReady->call();
    return;
  }
  retry(kWarmPoll, true);
}

void CreatorGLHandler::captureImage(ScriptValue resolve, ScriptValue reject) {
  const std::shared_ptr<toolkit::View> view =
      creatorUIStore.onGetGLView ? creatorUIStore.onGetGLView() : nullptr;
  auto* glView = dynamic_cast<CreatorGLView*>(view.get());
  if (!glView) {
    call_reject(reject, "Scene did not open");
    return;
  }
  glView->captureImageCallback = [resolve, reject](std::optional<std::vector<uint8_t>> png) {
    if (!png) {
      call_reject(reject, "Failed to capture image");
      return;
    }
    const size_t size = png->size();
    const int64_t id =
        Buffers::putBuffer(std::make_shared<const std::vector<uint8_t>>(std::move(*png)));
    resolve.call({id, "image.png", size});
  };
}

int64_t CreatorGLHandler::createMaterial(int64_t bufferId) {
  if (auto known = materialMap.find(bufferId); known != materialMap.end()) {
    return scene3d_rows::handleOf(scene3d::createMaterialInstance(known->second));
  }
  const Bytes bytes = Buffers::get(bufferId);
  if (!bytes) {
    logLine("[Buffers] createMaterial: stale id " + std::to_string(bufferId));
    return 0;
  }
  const int64_t material = scene3d::createMaterial(bytes->data(), bytes->size());
  if (material < 0) return 0;
  materialMap[bufferId] = material;
  return scene3d_rows::handleOf(scene3d::createMaterialInstance(material));
}

void CreatorGLHandler::createTexture(int64_t bufferId, ScriptValue resolve, ScriptValue reject) {
  static constexpr const char* kFailed = "Failed to create texture";
  Bytes bytes = Buffers::get(bufferId);
  if (!bytes) {
    logLine("[Buffers] createTexture: stale id " + std::to_string(bufferId));
    call_reject(reject, kFailed);
    return;
  }
  scene3d::createTexture(
      std::move(bytes),
      [resolve](int64_t texture, uint32_t width, uint32_t height) {
        resolve.call({texture, width, height});
      },
      [reject](const std::string& reason) {
        logLine("[creator-gl] createTexture: " + reason);
        call_reject(reject, kFailed);
      });
}

int64_t CreatorGLHandler::createTextureFromCanvas(int64_t surface) {
  return canvasUploads.createFrom(canvas, surface).value_or(-1);
}

void CreatorGLHandler::updateTextureFromCanvas(int64_t texture, int64_t surface) {
  canvasUploads.updateFrom(canvas, texture, surface);
}

void CreatorGLHandler::setEarlyUpdate(ScriptValue function) {
  earlyUpdateFunction_ = functionOrEmpty(std::move(function));
  installUpdateFunctions();
}

void CreatorGLHandler::setLateUpdate(ScriptValue function) {
  lateUpdateFunction_ = functionOrEmpty(std::move(function));
  installUpdateFunctions();
}

void CreatorGLHandler::installUpdateFunctions() {
  // The bridges read their slot at each frame; the copy keeps a function alive while it
  // replaces itself.
  const auto bridge = [](ScriptValue& slot) -> scene3d::UpdateFunction {
    if (slot.empty()) return nullptr;
    return [&slot](float dt) {
      const ScriptValue function = slot;
      if (!function.empty()) function.call({dt});
    };
  };
  scene3d::setUpdateFuncs(bridge(earlyUpdateFunction_), bridge(lateUpdateFunction_));
}

void CreatorGLHandler::setOnPhysicsEvent(ScriptValue function) {
  physicsEventFunction_ = functionOrEmpty(std::move(function));
  installPhysicsEventFunction();
}

void CreatorGLHandler::installPhysicsEventFunction() {
  if (physicsEventFunction_.empty()) {
    scene3d::setPhysicsEventFunc(nullptr);
    return;
  }
  // As the update bridges: the slot is read at each event, through a copy.
  scene3d::setPhysicsEventFunc([this](uint32_t first, uint32_t second, int type) {
    const ScriptValue function = physicsEventFunction_;
    if (!function.empty()) function.call({first, second, type});
  });
}

void CreatorGLHandler::traverse(uint32_t entity, ScriptValue function) {
  traverseFunction_ = functionOrEmpty(std::move(function));
  scene3d::traverse(entity, [this](uint32_t each) {
    const ScriptValue function = traverseFunction_;
    if (!function.empty()) function.call({each});
  });
}

void CreatorGLHandler::requestCamera(ScriptValue resolve, ScriptValue reject) {
  // Script values stay on the main thread: the background block only carries them through.
  auto answer =
      std::make_shared<std::pair<ScriptValue, ScriptValue>>(std::move(resolve), std::move(reject));
  dispatch::BackgroundQueue::global().post([probe = cameraProbe, answer]() mutable {
    const bool available = probe();
    dispatch::post([answer = std::move(answer), available] {
      if (available) {
        answer->first.call();
      } else {
        call_reject(answer->second, "Camera is not available");
      }
    });
  });
}

void CreatorGLHandler::createARController(uint32_t scene, uint32_t camera, const std::string& name,
                                          ScriptValue onAnchor) {
  const auto factory = controllerFactory.find(name);
  if (factory == controllerFactory.end()) return;
  std::shared_ptr<ARController> controller = factory->second();
  if (!controller) return;
  controller->sceneId = scene;
  controller->cameraEntity = camera;
  controller->anchorCallback = [onAnchor](uint32_t entity, bool tracked) {
    onAnchor.call({entity, tracked});
  };
  arControllers[scene] = std::move(controller);
  arContexts[scene] = onAnchor.state();
}

uint32_t CreatorGLHandler::createRootAnchor(uint32_t scene) {
  const uint32_t entity = scene3d::createEntity();
  scene3d::addEntityToScene(scene, entity);
  if (auto found = arControllers.find(scene); found != arControllers.end()) {
    found->second->setRootAnchor(entity);
  }
  scene3d::setVisible(entity, false);
  return entity;
}

uint32_t CreatorGLHandler::createAnchor(uint32_t scene, float width, int64_t bufferId) {
  const uint32_t entity = scene3d::createEntity();
  scene3d::addEntityToScene(scene, entity);
  Bytes image = Buffers::get(bufferId);
  if (!image) {
    logLine("[Buffers] createAnchor: stale id " + std::to_string(bufferId));
    return entity;
  }
  if (auto found = arControllers.find(scene); found != arControllers.end()) {
    found->second->addImageAnchor(entity, std::move(image), width);
  }
  scene3d::setVisible(entity, false);
  return entity;
}

uint32_t CreatorGLHandler::getSceneMaterial(uint32_t scene) {
  const auto found = arControllers.find(scene);
  if (found == arControllers.end()) return 0;
  return found->second->sceneMaterial().value_or(0);
}

void CreatorGLHandler::launchAR(uint32_t scene, ScriptValue resolve, ScriptValue reject) {
  const auto found = arControllers.find(scene);
  if (found == arControllers.end()) return;
  std::weak_ptr<bool> alive = alive_;
  std::weak_ptr<ARController> launched = found->second;
  found->second->launch(
      [this, alive, launched, resolve] {
        if (!alive.lock()) return;
        activeARController = launched.lock();
        resolve.call();
      },
      [reject](const std::string& message) { call_reject(reject, message); });
}

void CreatorGLHandler::stopAR() {
  if (!activeARController) return;
  activeARController->stop();
  activeARController.reset();
}

void CreatorGLHandler::release(const ScriptContext& context) {
  std::vector<uint32_t> scenes;
  for (const auto& [scene, owner] : arContexts) {
    if (owner.lock() == context.state()) scenes.push_back(scene);
  }
  for (uint32_t scene : scenes) {
    if (activeARController && activeARController->sceneId == scene) activeARController.reset();
  }
  for (uint32_t scene : scenes) {
    if (auto found = arControllers.find(scene); found != arControllers.end()) {
      found->second->stop();
      arControllers.erase(found);
    }
    arContexts.erase(scene);
  }
  clearIfOf(traverseFunction_, context);
  clearIfOf(earlyUpdateFunction_, context);
  clearIfOf(lateUpdateFunction_, context);
  installUpdateFunctions();
  clearIfOf(physicsEventFunction_, context);
  installPhysicsEventFunction();
  if (!context.empty() && currentSceneContext.lock() == context.state()) closeScene();
}

}  // namespace talvero
