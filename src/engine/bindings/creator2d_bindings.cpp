#include "engine/bindings/creator2d_bindings.h"

#include <algorithm>
#include <cstdint>

#include "runtime/log.h"
#include "scene2d/scene2d.h"

namespace talvero {

namespace {

using Array = NativeValue::Array;

// The elements of a typed array of `kind`, from the view's own offset, or null with the row's
// line.
template <class T>
const T* elementsIn(const char* row, const ScriptValue& value, TypedArrayKind kind,
                    const char* kindName, size_t* length) {
  const auto view = value.typedArray();
  if (!view || view->kind != kind || (!view->data && view->length > 0)) {
    logLine(std::string("[creator-2d] ") + row + ": expected " + kindName);
    return nullptr;
  }
  *length = view->length;
  return static_cast<const T*>(view->data);
}

// Getters that fill `N` floats, as fresh script arrays: of an id, and of an id and a point.
template <size_t N>
auto floatsRow(void (*getter)(int32_t, float*)) {
  return [getter](int32_t id) {
    float out[N] = {};
    getter(id, out);
    return NativeValue(Array(out, out + N));
  };
}

auto pointRow(void (*getter)(int32_t, float, float, float*)) {
  return [getter](int32_t id, float x, float y) {
    float out[2] = {};
    getter(id, x, y, out);
    return NativeValue(Array(out, out + 2));
  };
}

void addSceneRows(ExportTable& exports, Creator2DHandler& handler) {
  Creator2DHandler* h = &handler;
  exports.addProperty("backend", [h] { return h->backend; })
      .add("version", [] { return creator2dVersion(); })
      // The view draws at its own frames; a script has nothing to ask for.
      .add("render", [](double) {})
      .add("onUpdate", [h](ScriptValue fn) { h->onUpdate(std::move(fn)); })
      .add("offUpdate", [h](ScriptValue fn) { h->offUpdate(fn); })
      .add("setOnAnimEvent", [h](ScriptValue fn) { h->setOnAnimEvent(std::move(fn)); })
      .add("setOnPointer", [h](ScriptValue fn) { h->setOnPointer(std::move(fn)); })
      .add("setClearColor", &c2dSetClearColor)
      .add("createScene", &c2dCreateScene)
      .add("destroyScene", &c2dDestroyScene)
      .add("openScene", [h](int32_t scene) { h->openScene(scene); })
      .add("closeScene", [h] { h->closeScene(); })
      .add("sceneSetClearColor", &c2dSceneSetClearColor)
      .add("addEntityToScene", &c2dAddEntityToScene)
      .add("removeEntityFromScene", &c2dRemoveEntityFromScene)
      .add("setLayerYSort", &c2dSetLayerYSort)
      .add("cameraSetPosition", &c2dCameraSetPosition)
      .add("cameraSetZoom", &c2dCameraSetZoom)
      .add("cameraSetRotation", &c2dCameraSetRotation)
      .add("cameraScreenToWorld", pointRow(&c2dCameraScreenToWorld))
      .add("cameraWorldToScreen", pointRow(&c2dCameraWorldToScreen));
}

void addEntityRows(ExportTable& exports) {
  exports.add("createEntity", &c2dCreateEntity)
      .add("destroyEntity", &c2dDestroyEntity)
      .add("setPosition", &c2dSetPosition)
      .add("setRotation", &c2dSetRotation)
      .add("setScale", &c2dSetScale)
      .add("setLayer", &c2dSetLayer)
      .add("setZ", &c2dSetZ)
      .add("setVisible", &c2dSetVisible)
      .add("getPosition", floatsRow<2>(&c2dGetPosition))
      .add("setParent", &c2dSetParent)
      .add("getParent", &c2dGetParent)
      .add("getChildCount", &c2dGetChildCount)
      .add("getChild", &c2dGetChild)
      .add("getWorldPosition", floatsRow<2>(&c2dGetWorldPosition))
      .add("getWorldMatrix", floatsRow<6>(&c2dGetWorldMatrix))
      .add("worldToLocal", pointRow(&c2dWorldToLocal))
      .add("localToWorld", pointRow(&c2dLocalToWorld))
      .add("getLocalTransform", floatsRow<5>(&c2dGetLocalTransform));
}

void addSpriteRows(ExportTable& exports, Creator2DHandler& handler) {
  Creator2DHandler* h = &handler;
  exports.add("setSprite", &c2dSetSprite)
      .add("setSpriteFrame", &c2dSetSpriteFrame)
      .add("setSpriteFramePx", &c2dSetSpriteFramePx)
      .add("setSpriteSize", &c2dSetSpriteSize)
      .add("setSpriteAnchor", &c2dSetSpriteAnchor)
      .add("setSpriteColor", &c2dSetSpriteColor)
      .add("setSpriteOpacity", &c2dSetSpriteOpacity)
      .add("setSpriteFlip", &c2dSetSpriteFlip)
      .add("createTexture",
           [h](int64_t buffer, ScriptValue resolve, ScriptValue reject) {
             h->createTexture(buffer, std::move(resolve), std::move(reject));
           })
      .add("getTextureWidth", &c2dGetTextureWidth)
      .add("getTextureHeight", &c2dGetTextureHeight)
      .add("destroyTexture", &c2dDestroyTexture)
      .add("createTextureFromCanvas",
           [h](int64_t surface) { return h->createTextureFromCanvas(surface); })
      .add("updateTextureFromCanvas",
           [h](int32_t texture, int64_t surface) { h->updateTextureFromCanvas(texture, surface); })
      .add("setDefaultFilter", &c2dSetDefaultFilter);
}

void addClipRows(ExportTable& exports) {
  exports
      .add("defineAnimation",
           [](int32_t entity, ScriptValue frames, float fps, bool loop) -> int32_t {
             size_t length = 0;
             const float* floats = elementsIn<float>(
                 "defineAnimation", frames, TypedArrayKind::Float32, "a Float32Array", &length);
             if (!floats) return -1;
             const auto count = static_cast<int32_t>(std::min<size_t>(length / 4, INT32_MAX));
             return c2dDefineAnimation(entity, floats, count, loop, fps);
           })
      .add("playAnimation", &c2dPlayAnimation)
      .add("stopAnimation", &c2dStopAnimation)
      .add("setAnimationSpeed", &c2dSetAnimationSpeed)
      .add("getAnimationFrame", &c2dGetAnimationFrame)
      .add("createTilemap",
           [](int32_t texture, int32_t cols, int32_t rows, float tileW, float tileH,
              int32_t atlasCols, int32_t atlasRows, ScriptValue tiles) -> int32_t {
             // Left as is by a refusal. An empty array has no data pointer but is no refusal:
             // the core says how many cells it lacks.
             size_t length = SIZE_MAX;
             const int32_t* cells = elementsIn<int32_t>(
                 "createTilemap", tiles, TypedArrayKind::Int32, "an Int32Array", &length);
             if (length == SIZE_MAX) return 0;
             return c2dCreateTilemap(texture, cols, rows, atlasCols, atlasRows, cells, length,
                                     tileW, tileH);
           })
      .add("setTile", &c2dSetTile)
      .add("bulkSetPositions", [](ScriptValue ids, ScriptValue positions, int32_t count) {
        size_t idCount = 0;
        size_t floatCount = 0;
        const int32_t* idData = elementsIn<int32_t>("bulkSetPositions", ids, TypedArrayKind::Int32,
                                                    "an Int32Array", &idCount);
        if (!idData) return;
        const float* floatData = elementsIn<float>(
            "bulkSetPositions", positions, TypedArrayKind::Float32, "a Float32Array", &floatCount);
        if (!floatData) return;
        const size_t held = std::min(idCount, floatCount / 2);
        const auto clamped = static_cast<int32_t>(
            std::min<size_t>(std::max<int32_t>(count, 0), std::min<size_t>(held, INT32_MAX)));
        c2dBulkSetPositions(idData, floatData, clamped);
      });
}

// The script's orders put the sensor flag last and the sub-steps after the world's sizes.
void addPhysicsRows(ExportTable& exports, Creator2DHandler& handler) {
  Creator2DHandler* h = &handler;
  exports.add("physicsHasSupport", [] { return c2dPhysicsHasSupport() != 0; })
      .add("physicsConfigure",
           [](float gx, float gy, float units, int32_t subSteps) {
             c2dPhysicsConfigure(subSteps, gx, gy, units);
           })
      .add("setOnPhysicsEvent", [h](ScriptValue fn) { h->setOnPhysicsEvent(std::move(fn)); })
      .add("physicsCreateBody", &c2dPhysicsCreateBody)
      .add("physicsRemoveBody", &c2dPhysicsRemoveBody)
      .add("physicsAddBox",
           [](int32_t body, float hw, float hh, float cx, float cy, float density, float friction,
              float restitution, bool sensor) {
             c2dPhysicsAddBox(body, sensor, hw, hh, cx, cy, density, friction, restitution);
           })
      .add("physicsAddCircle",
           [](int32_t body, float radius, float cx, float cy, float density, float friction,
              float restitution, bool sensor) {
             c2dPhysicsAddCircle(body, sensor, radius, cx, cy, density, friction, restitution);
           })
      .add("physicsAddCapsule",
           [](int32_t body, float x1, float y1, float x2, float y2, float radius, float density,
              float friction, float restitution, bool sensor) {
             c2dPhysicsAddCapsule(body, sensor, x1, y1, x2, y2, radius, density, friction,
                                  restitution);
           })
      .add("physicsAddSegment", &c2dPhysicsAddSegment)
      .add("physicsAddPolygon",
           [](int32_t body, ScriptValue vertices, int32_t count, float density, float friction,
              float restitution, bool sensor) {
             size_t length = 0;
             const float* floats = elementsIn<float>(
                 "physicsAddPolygon", vertices, TypedArrayKind::Float32, "a Float32Array", &length);
             if (!floats) return;
             c2dPhysicsAddPolygon(body, floats, length, count, sensor, density, friction,
                                  restitution);
           })
      .add("physicsSetLinearVelocity", &c2dPhysicsSetLinearVelocity)
      .add("physicsGetLinearVelocity", floatsRow<2>(&c2dPhysicsGetLinearVelocity))
      .add("physicsSetAngularVelocity", &c2dPhysicsSetAngularVelocity)
      .add("physicsApplyLinearImpulse", &c2dPhysicsApplyLinearImpulse)
      .add("physicsApplyForce", &c2dPhysicsApplyForce)
      .add("physicsSetTransform", &c2dPhysicsSetTransform)
      .add("physicsSetFixedRotation", &c2dPhysicsSetFixedRotation)
      .add("physicsSetGravityScale", &c2dPhysicsSetGravityScale)
      .add("physicsSetLinearDamping", &c2dPhysicsSetLinearDamping)
      .add("physicsSetBullet", &c2dPhysicsSetBullet)
      .add("physicsSetEnabled", &c2dPhysicsSetEnabled)
      .add("physicsRaycastClosest",
           [](float x1, float y1, float x2, float y2) {
             float out[7] = {};
             c2dPhysicsRaycastClosest(x1, y1, x2, y2, out);
             return NativeValue(Array(out, out + 7));
           })
      .add("physicsOverlapPoint", &c2dPhysicsOverlapPoint);
}

}  // namespace

// `pickSprite` closes the table.
Creator2DHandler::Creator2DHandler(CreatorUIStore& store)
    : ScriptHandler("_creator2d"), creatorUIStore(store) {
  canvasUploads = {&c2dCreateTextureFromRGBA, &c2dUpdateTextureFromRGBA};
  c2dInitGL();
  addSceneRows(exports_, *this);
  addEntityRows(exports_);
  addSpriteRows(exports_, *this);
  addClipRows(exports_);
  addPhysicsRows(exports_, *this);
  exports_.add("pickSprite", &c2dPickSprite);
}

}  // namespace talvero
