#include "engine/bindings/creator_gl_bindings.h"

#include <algorithm>
#include <vector>

#include "engine/bindings/scene3d_rows.h"
#include "platform/desktop/camera_probe.h"
#include "platform/dispatch/timer_source.h"
#include "scene3d/colliders.h"
#include "scene3d/frame_loop.h"
#include "scene3d/materials.h"
#include "scene3d/physics/character.h"
#include "scene3d/physics/physics_world.h"
#include "scene3d/scenes.h"
#include "scene3d/textures.h"
#include "scene3d/warm_up.h"
#include "ui/ui_store.h"

namespace talvero {

namespace {

using scene3d_rows::floatsIn;
using scene3d_rows::floatsOut;
using scene3d_rows::handleOf;
using scene3d_rows::needsEngine;

// Native primitive indexes are unsigned; a negative one is out of every renderable's range.
uint32_t primitiveIndex(int64_t primitive) {
  return primitive < 0 ? UINT32_MAX
                       : static_cast<uint32_t>(std::min<int64_t>(primitive, UINT32_MAX));
}

// An out row: the native getter fills the script's array of at least `count` floats.
template <void (*Getter)(uint32_t, float*)>
auto outRow(const char* row, size_t count) {
  return needsEngine(row, [row, count](uint32_t id, ScriptValue out) {
    if (float* floats = floatsOut(row, id, out, count)) Getter(id, floats);
  });
}

// A uniform row: instance, parameter name, value.
template <class T, void (*Setter)(int64_t, const std::string&, T)>
auto uniformRow(const char* row) {
  return needsEngine(
      row, [](uint32_t instance, std::string name, T value) { Setter(instance, name, value); });
}

void addEngineRows(ExportTable& exports, CreatorGLHandler& handler) {
  CreatorGLHandler* gl = &handler;
  exports.add("createEngine", [gl](ScriptValue features) { gl->createEngine(features); })
      .add("createGLView", [] {})
      .add("getDisplaySize",
           [gl] {
             return NativeValue(NativeValue::Array{gl->creatorUIStore.displayWidth,
                                                   gl->creatorUIStore.displayHeight});
           })
      .add("warmRender", needsEngine("warmRender",
                                     [gl](uint32_t scene, ScriptValue onReady) {
                                       gl->warmRender(scene, std::move(onReady));
                                     }))
      // The first argument has no meaning: the view's next frame is captured.
      .add("captureImage", [gl](ScriptValue, ScriptValue resolve, ScriptValue reject) {
        gl->captureImage(std::move(resolve), std::move(reject));
      });
}

void addSceneRows(ExportTable& exports, CreatorGLHandler& handler) {
  CreatorGLHandler* gl = &handler;
  exports.add("createEntity", needsEngine("createEntity", [] { return scene3d::createEntity(); }))
      .add("cloneEntity", needsEngine("cloneEntity", &scene3d::cloneEntity))
      .add("destroyEntity", needsEngine("destroyEntity", &scene3d::destoryEntity))
      .add("createScene",
           needsEngine("createScene", [] { return handleOf(scene3d::createScene()); }))
      .add("attachCameraToAR", needsEngine("attachCameraToAR",
                                           [](uint32_t scene, uint32_t entity) {
                                             scene3d::attachCameraToScene(scene, entity);
                                           }))
      .add("addEntityToScene", needsEngine("addEntityToScene",
                                           [](uint32_t scene, uint32_t entity) {
                                             scene3d::addEntityToScene(scene, entity);
                                           }))
      // The scene id is not read: the entity leaves the scene it is in.
      .add("removeEntityFromScene",
           needsEngine("removeEntityFromScene",
                       [](uint32_t, uint32_t entity) { scene3d::removeEntityFromScene(entity); }))
      .add("openScene", needsEngine("openScene", [gl](uint32_t scene) { gl->openScene(scene); }))
      .add("closeScene", needsEngine("closeScene", [gl] { gl->closeScene(); }))
      .add("setVisible", needsEngine("setVisible", &scene3d::setVisible))
      .add("isVisible", needsEngine("isVisible", &scene3d::isVisible))
      .add("setPosition", needsEngine("setPosition", &scene3d::setPosition))
      .add("setQuaternion", needsEngine("setQuaternion", &scene3d::setQuaternion))
      .add("setEulerAngles",
           needsEngine("setEulerAngles",
                       [](uint32_t entity, float x, float y, float z, uint8_t order) {
                         scene3d::setEulerAngles(entity, x, y, z, order);
                       }))
      .add("setScale", needsEngine("setScale", &scene3d::setScale))
      .add("setMatrix",
           needsEngine("setMatrix",
                       [](uint32_t entity, ScriptValue matrix) {
                         if (const float* floats = floatsIn("setMatrix", entity, matrix, 16)) {
                           scene3d::setMatrix(entity, floats);
                         }
                       }))
      .add("getMatrix", outRow<&scene3d::getMatrix>("getMatrix", 16))
      .add("getWorldMatrix", outRow<&scene3d::getWorldMatrix>("getWorldMatrix", 16))
      .add("getWorldPosition", outRow<&scene3d::getWorldPosition>("getWorldPosition", 3))
      .add("getWorldDirection",
           needsEngine("getWorldDirection",
                       [](uint32_t entity, uint8_t axis, ScriptValue out) {
                         if (float* floats = floatsOut("getWorldDirection", entity, out, 3)) {
                           scene3d::getWorldDirection(entity, axis, floats);
                         }
                       }))
      .add("getWorldMatrixInverse",
           outRow<&scene3d::getWorldMatrixInverse>("getWorldMatrixInverse", 16))
      .add("getCameraViewDirection",
           needsEngine("getCameraViewDirection",
                       [](uint32_t scene, float x, float y, ScriptValue out) {
                         if (float* floats = floatsOut("getCameraViewDirection", scene, out, 3)) {
                           scene3d::getCameraViewDirection(scene, x, y, floats);
                         }
                       }))
      .add("setParent", needsEngine("setParent", &scene3d::setParent))
      .add("setParentNull", needsEngine("setParentNull", &scene3d::setParentNull))
      .add("getParent", needsEngine("getParent", &scene3d::getParent))
      .add("getChildCount", needsEngine("getChildCount", &scene3d::getChildCount))
      .add("getChild",
           needsEngine("getChild", [](uint32_t entity,
                                      uint16_t index) { return scene3d::getChild(entity, index); }))
      .add("getChildren",
           needsEngine("getChildren",
                       [](uint32_t entity) {
                         std::vector<uint32_t> children(scene3d::getChildCount(entity));
                         children.resize(scene3d::getChildrenIter(
                             entity, children.data(), 0, static_cast<uint32_t>(children.size())));
                         return NativeValue(NativeValue::Array(children.begin(), children.end()));
                       }))
      .add("getName", needsEngine("getName", &scene3d::getName))
      .add("setName",
           needsEngine("setName",
                       [](uint32_t entity, std::string name) { scene3d::setName(entity, name); }))
      .add("traverse", needsEngine("traverse", [gl](uint32_t entity, ScriptValue function) {
             gl->traverse(entity, std::move(function));
           }));
}

void addMaterialRows(ExportTable& exports, CreatorGLHandler& handler) {
  CreatorGLHandler* gl = &handler;
  exports
      .add("createMaterial",
           needsEngine("createMaterial",
                       [gl](int64_t buffer) { return gl->createMaterial(buffer); }))
      .add("setMaterial", needsEngine("setMaterial",
                                      [](uint32_t entity, uint32_t instance, int64_t primitive) {
                                        scene3d::setMaterial(entity, instance,
                                                             primitiveIndex(primitive));
                                      }))
      .add("getMaterial",
           needsEngine("getMaterial",
                       [](uint32_t entity, int64_t primitive) {
                         return handleOf(scene3d::getMaterial(entity, primitiveIndex(primitive)));
                       }))
      .add("setUniformColor", uniformRow<uint32_t, &scene3d::setUniformRgb>("setUniformColor"))
      .add("setUniformRgb", uniformRow<uint32_t, &scene3d::setUniformRgb>("setUniformRgb"))
      .add("setUniformRgba", uniformRow<uint32_t, &scene3d::setUniformRgba>("setUniformRgba"))
      .add("setUniformFloat", uniformRow<float, &scene3d::setUniformFloat>("setUniformFloat"))
      .add("setUniformBoolean", uniformRow<bool, &scene3d::setUniformBoolean>("setUniformBoolean"))
      .add("setUniformArray",
           needsEngine("setUniformArray",
                       [](uint32_t instance, std::string name, ScriptValue values) {
                         // An ArrayBuffer counts as floats, four bytes each.
                         if (const auto bytes = values.arrayBuffer()) {
                           scene3d::setUniformArray(instance, name,
                                                    static_cast<const float*>(bytes->data),
                                                    bytes->byteLength / 4);
                         } else if (size_t length = 0;
                                    const float* floats =
                                        floatsIn("setUniformArray", instance, values, 0, &length)) {
                           scene3d::setUniformArray(instance, name, floats, length);
                         }
                       }))
      .add("setUniformTexture", needsEngine("setUniformTexture",
                                            [](uint32_t instance, std::string name,
                                               uint32_t texture, uint8_t wrapS, uint8_t wrapT) {
                                              scene3d::setUniformTexture(instance, name.c_str(),
                                                                         texture, wrapS, wrapT);
                                            }))
      .add("createTexture",
           needsEngine("createTexture",
                       [gl](int64_t buffer, ScriptValue resolve, ScriptValue reject) {
                         gl->createTexture(buffer, std::move(resolve), std::move(reject));
                       }))
      .add("createTextureFromCanvas",
           needsEngine(
               "createTextureFromCanvas",
               [gl](int64_t surface) { return handleOf(gl->createTextureFromCanvas(surface)); }))
      .add("updateTextureFromCanvas", needsEngine("updateTextureFromCanvas",
                                                  [gl](uint32_t texture, int64_t surface) {
                                                    gl->updateTextureFromCanvas(texture, surface);
                                                  }))
      .add("setCulling", needsEngine("setCulling", &scene3d::setCulling))
      .add("setReceiveShadows", needsEngine("setReceiveShadows", &scene3d::setReceiveShadows))
      .add("setCastShadows", needsEngine("setCastShadows", &scene3d::setCastShadows))
      .add("hasMesh", needsEngine("hasMesh", &scene3d::hasMesh))
      .add("setMesh",
           needsEngine("setMesh", [](uint32_t entity, uint32_t instance, ScriptValue positions,
                                     ScriptValue normals, ScriptValue indices, ScriptValue uvs,
                                     uint8_t primitive) {
             size_t positionCount = 0, normalCount = 0, indexCount = 0, uvCount = 0;
             const float* p = floatsIn("setMesh", entity, positions, 0, &positionCount);
             const float* n = p ? floatsIn("setMesh", entity, normals, 0, &normalCount) : nullptr;
             const uint16_t* i =
                 n ? scene3d_rows::indicesIn("setMesh", entity, indices, &indexCount) : nullptr;
             const float* uv = i ? floatsIn("setMesh", entity, uvs, 0, &uvCount) : nullptr;
             if (!uv) return;
             scene3d::createMesh(entity, instance, p, positionCount, n, normalCount, i, indexCount,
                                 uv, uvCount, primitive);
           }));
}

void addUpdateRows(ExportTable& exports, CreatorGLHandler& handler) {
  CreatorGLHandler* gl = &handler;
  exports.add("setEarlyUpdate", [gl](ScriptValue function) { gl->setEarlyUpdate(function); })
      .add("setLateUpdate", [gl](ScriptValue function) { gl->setLateUpdate(function); });
}

void addPhysicsRows(ExportTable& exports, CreatorGLHandler& handler) {
  CreatorGLHandler* gl = &handler;
  // Answers before any engine: scripts ask it to choose how to build their scene.
  exports.add("physicsHasSupport", [] { return scene3d::creatorHasPhysics() != 0; })
      .add("physicsConfigure", needsEngine("physicsConfigure",
                                           [](float gx, float gy, float gz, uint32_t maxBodies) {
                                             scene3d::physicsConfigure(maxBodies, gx, gy, gz);
                                           }))
      .add("physicsCreateBox", needsEngine("physicsCreateBox", &scene3d::physicsCreateBox))
      .add("physicsCreateSphere", needsEngine("physicsCreateSphere", &scene3d::physicsCreateSphere))
      .add("physicsCreateCylinder",
           needsEngine("physicsCreateCylinder", &scene3d::physicsCreateCylinder))
      .add("physicsBuildBox", needsEngine("physicsBuildBox", &scene3d::physicsBuildBox))
      .add("physicsBuildSphere", needsEngine("physicsBuildSphere", &scene3d::physicsBuildSphere))
      .add("physicsBuildCylinder",
           needsEngine("physicsBuildCylinder", &scene3d::physicsBuildCylinder))
      .add("physicsBuildCapsule", needsEngine("physicsBuildCapsule", &scene3d::physicsBuildCapsule))
      .add("physicsDestroyShape", needsEngine("physicsDestroyShape", &scene3d::physicsDestroyShape))
      .add("physicsCreateBody", needsEngine("physicsCreateBody", &scene3d::physicsCreateBody))
      .add("physicsSetPickable", needsEngine("physicsSetPickable", &scene3d::physicsSetPickable))
      .add("physicsSetLinearVelocity",
           needsEngine("physicsSetLinearVelocity", &scene3d::physicsSetLinearVelocity))
      .add("physicsGetLinearVelocity",
           outRow<&scene3d::physicsGetLinearVelocity>("physicsGetLinearVelocity", 3))
      .add("physicsApplyImpulse", needsEngine("physicsApplyImpulse", &scene3d::physicsApplyImpulse))
      .add("physicsSetBodyPosition",
           needsEngine("physicsSetBodyPosition", &scene3d::physicsSetBodyPosition))
      .add("physicsRemoveBody", needsEngine("physicsRemoveBody", &scene3d::physicsRemoveBody))
      .add("setInterpolation", needsEngine("setInterpolation", &scene3d::setPhysicsInterpolation))
      // Without an out array (null, or left out) the ray still gives its entity.
      .add("physicsRaycast",
           needsEngine("physicsRaycast",
                       [](float ox, float oy, float oz, float dx, float dy, float dz,
                          float maxDistance, ScriptValue out) -> uint32_t {
                         float* hit = nullptr;
                         if (!out.isNull() && !out.isUndefined()) {
                           hit = floatsOut("physicsRaycast", 0, out, 7);
                           if (!hit) return 0;
                         }
                         return scene3d::physicsRaycast(ox, oy, oz, dx, dy, dz, maxDistance, hit);
                       }))
      .add("setOnPhysicsEvent", needsEngine("setOnPhysicsEvent", [gl](ScriptValue function) {
             gl->setOnPhysicsEvent(std::move(function));
           }));
}

void addCharacterRows(ExportTable& exports) {
  exports.add("characterCreate", needsEngine("characterCreate", &scene3d::characterCreate))
      .add("characterDestroy", needsEngine("characterDestroy", &scene3d::characterDestroy))
      .add("characterSetVelocity",
           needsEngine("characterSetVelocity", &scene3d::characterSetVelocity))
      .add("characterGetVelocity",
           outRow<&scene3d::characterGetVelocity>("characterGetVelocity", 3))
      .add("characterGetGroundState",
           needsEngine("characterGetGroundState", &scene3d::characterGetGroundState))
      .add("characterSetPosition",
           needsEngine("characterSetPosition", &scene3d::characterSetPosition))
      .add("setColliderFromMesh", needsEngine("setColliderFromMesh", &scene3d::setColliderFromMesh))
      .add("setColliderBox", needsEngine("setColliderBox", &scene3d::setColliderBox))
      .add("setColliderSphere", needsEngine("setColliderSphere", &scene3d::setColliderSphere))
      .add("raycastView", needsEngine("raycastView", &scene3d::raycastView));
}

void addARRows(ExportTable& exports, CreatorGLHandler& handler) {
  CreatorGLHandler* gl = &handler;
  exports
      .add("createARController",
           needsEngine("createARController",
                       [gl](uint32_t scene, uint32_t camera, std::string name, ScriptValue fn) {
                         gl->createARController(scene, camera, name, std::move(fn));
                       }))
      .add("createRootAnchor",
           needsEngine("createRootAnchor",
                       [gl](uint32_t scene) { return gl->createRootAnchor(scene); }))
      .add("createAnchor", needsEngine("createAnchor",
                                       [gl](uint32_t scene, float width, int64_t buffer) {
                                         return gl->createAnchor(scene, width, buffer);
                                       }))
      .add("getSceneMaterial",
           needsEngine("getSceneMaterial",
                       [gl](uint32_t scene) { return gl->getSceneMaterial(scene); }))
      .add("requestCamera",
           [gl](ScriptValue resolve, ScriptValue reject) {
             gl->requestCamera(std::move(resolve), std::move(reject));
           })
      .add("launchAR", needsEngine("launchAR",
                                   [gl](uint32_t scene, ScriptValue resolve, ScriptValue reject) {
                                     gl->launchAR(scene, std::move(resolve), std::move(reject));
                                   }))
      .add("stopAR", needsEngine("stopAR", [gl] { gl->stopAR(); }))
      .addProperty("backend", [gl] { return gl->backend; });
}

}  // namespace

// Rows of lights, GLB assets, particles, noise and media join the table in their places when
// those subsystems land; until then they are absent rather than answering.
CreatorGLHandler::CreatorGLHandler(CreatorUIStore& store)
    : ScriptHandler("_creator"), creatorUIStore(store) {
  warmSteps = {&scene3d::warmScene, &scene3d::warmSceneReady, &dispatch::postAfter};
  cameraProbe = [] { return desktop::hasCaptureCamera(); };
  // A surface is at least one pixel on a side, so its sizes stay positive as unsigned.
  canvasUploads = {[](const uint8_t* rgba, int32_t width, int32_t height) {
                     return scene3d::createTextureFromRGBA(rgba, static_cast<uint32_t>(width),
                                                           static_cast<uint32_t>(height));
                   },
                   [](int64_t texture, const uint8_t* rgba, int32_t width, int32_t height) {
                     scene3d::updateTextureFromRGBA(texture, rgba, static_cast<uint32_t>(width),
                                                    static_cast<uint32_t>(height));
                   }};
  addEngineRows(exports_, *this);
  addSceneRows(exports_, *this);
  addMaterialRows(exports_, *this);
  addUpdateRows(exports_, *this);
  addPhysicsRows(exports_, *this);
  addCharacterRows(exports_);
  addARRows(exports_, *this);
}

}  // namespace talvero
