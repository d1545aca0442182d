#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/gpu/gfx.h"

// The 2D layer: scenes of entities with a parent hierarchy and a camera, sprites and frame
// clips, drawn by one batch renderer. Flat functions over process-wide tables; world space is
// y-up in points, the screen y-down in points. Every id is checked: an id that is not live does
// nothing and gives the neutral result noted, silently. Main thread only.

// Scenes and camera.
int32_t c2dCreateScene();
void c2dDestroyScene(int32_t scene);
void c2dOpenScene(int32_t scene);
void c2dCloseScene();
int32_t c2dActiveScene();
void c2dSceneSetClearColor(int32_t scene, float r, float g, float b, float a);
void c2dAddEntityToScene(int32_t scene, int32_t entity);
void c2dRemoveEntityFromScene(int32_t scene, int32_t entity);
void c2dSetLayerYSort(int32_t scene, int32_t layer, bool on);
void c2dCameraSetPosition(int32_t scene, float x, float y);
void c2dCameraSetZoom(int32_t scene, float zoom);
void c2dCameraSetRotation(int32_t scene, float degrees);
// (0, 0) for a bad scene.
void c2dCameraScreenToWorld(int32_t scene, float x, float y, float out[2]);
void c2dCameraWorldToScreen(int32_t scene, float x, float y, float out[2]);

// Entities and hierarchy.
int32_t c2dCreateEntity();
void c2dDestroyEntity(int32_t entity);
void c2dSetPosition(int32_t entity, float x, float y);
void c2dSetRotation(int32_t entity, float degrees);
void c2dSetScale(int32_t entity, float x, float y);
void c2dSetLayer(int32_t entity, int32_t layer);
void c2dSetZ(int32_t entity, float z);
void c2dSetVisible(int32_t entity, bool visible);
void c2dGetPosition(int32_t entity, float out[2]);
void c2dSetParent(int32_t entity, int32_t parent, bool keepWorld);
int32_t c2dGetParent(int32_t entity);
int32_t c2dGetChildCount(int32_t entity);
int32_t c2dGetChild(int32_t entity, int32_t index);
void c2dGetWorldPosition(int32_t entity, float out[2]);
void c2dGetWorldMatrix(int32_t entity, float out[6]);
void c2dWorldToLocal(int32_t entity, float x, float y, float out[2]);
void c2dLocalToWorld(int32_t entity, float x, float y, float out[2]);
void c2dGetLocalTransform(int32_t entity, float out[5]);
int32_t c2dPickSprite(int32_t scene, float x, float y);
void c2dBulkSetPositions(const int32_t* ids, const float* positions, int32_t count);

// Textures and sprites.
int32_t c2dCreateTexture(const uint8_t* bytes, size_t length);
int32_t c2dCreateTextureFromRGBA(const uint8_t* rgba, int32_t width, int32_t height);
void c2dUpdateTextureFromRGBA(int32_t texture, const uint8_t* rgba, int32_t width, int32_t height);
int32_t c2dGetTextureWidth(int32_t texture);
int32_t c2dGetTextureHeight(int32_t texture);
void c2dDestroyTexture(int32_t texture);
void c2dSetSprite(int32_t entity, int32_t texture);
void c2dSetSpriteFrame(int32_t entity, float u0, float v0, float u1, float v1);
void c2dSetSpriteFramePx(int32_t entity, float x, float y, float w, float h);
void c2dSetSpriteSize(int32_t entity, float width, float height);
void c2dSetSpriteAnchor(int32_t entity, float x, float y);
void c2dSetSpriteColor(int32_t entity, float r, float g, float b);
void c2dSetSpriteOpacity(int32_t entity, float a);
void c2dSetSpriteFlip(int32_t entity, bool x, bool y);

// Frame clips. Frames are 4 floats each (u0, v0, u1, v1); -1 for a dead entity or no frame.
int32_t c2dDefineAnimation(int32_t entity, const float* frames, int32_t count, bool loop,
                           float fps);
void c2dPlayAnimation(int32_t entity, int32_t clip);
void c2dStopAnimation(int32_t entity);
void c2dSetAnimationSpeed(int32_t entity, float speed);
int32_t c2dGetAnimationFrame(int32_t entity);
// kind 0: the clip wrapped round; 1: it ended. Null drops the events.
using C2DAnimEventCallback = void (*)(int32_t entity, int32_t clip, int32_t kind);
void c2dSetAnimEventCallback(C2DAnimEventCallback callback);

// Tilemaps: an entity of kind 2 drawing a grid of cells from an atlas. `tiles` holds cols ×
// rows atlas indexes, row 0 at the top; a negative cell is empty. 0 for a grid of no cells, a
// tile size that is not finite or not above 0, more than 16,777,216 cells, or fewer than
// cols × rows values in `tileCount` (those three with a line).
int32_t c2dCreateTilemap(int32_t texture, int32_t cols, int32_t rows, int32_t atlasCols,
                         int32_t atlasRows, const int32_t* tiles, size_t tileCount, float tileW,
                         float tileH);
void c2dSetTile(int32_t entity, int32_t x, int32_t y, int32_t tile);

// 2D physics: one world for the process, in the script's length units, stepped by the frame.
// Bodies are slots counted from 1; a bad slot or no world does nothing and gives the neutral
// result, silently. Shapes that would break the solver are refused with a line.
int32_t c2dPhysicsHasSupport();
void c2dPhysicsConfigure(int32_t subSteps, float gravityX, float gravityY, float unitsPerMetre);
// type 2 dynamic, 1 kinematic, anything else static. 0 with no world or a dead entity.
int32_t c2dPhysicsCreateBody(int32_t entity, int32_t type);
void c2dPhysicsRemoveBody(int32_t slot);
void c2dPhysicsAddBox(int32_t slot, bool sensor, float halfWidth, float halfHeight, float centreX,
                      float centreY, float density, float friction, float restitution);
void c2dPhysicsAddCircle(int32_t slot, bool sensor, float radius, float centreX, float centreY,
                         float density, float friction, float restitution);
void c2dPhysicsAddCapsule(int32_t slot, bool sensor, float x1, float y1, float x2, float y2,
                          float radius, float density, float friction, float restitution);
void c2dPhysicsAddSegment(int32_t slot, float x1, float y1, float x2, float y2, float friction,
                          float restitution);
// `vertices` holds `floatCount` floats; the polygon takes the first `count` pairs (3 to 8).
void c2dPhysicsAddPolygon(int32_t slot, const float* vertices, size_t floatCount, int32_t count,
                          bool sensor, float density, float friction, float restitution);
void c2dPhysicsSetLinearVelocity(int32_t slot, float x, float y);
void c2dPhysicsSetAngularVelocity(int32_t slot, float radiansPerSecond);
void c2dPhysicsGetLinearVelocity(int32_t slot, float out[2]);
void c2dPhysicsApplyLinearImpulse(int32_t slot, float x, float y);
void c2dPhysicsApplyForce(int32_t slot, float x, float y);
void c2dPhysicsSetTransform(int32_t slot, float x, float y, float degrees);
void c2dPhysicsSetFixedRotation(int32_t slot, bool on);
void c2dPhysicsSetGravityScale(int32_t slot, float scale);
void c2dPhysicsSetLinearDamping(int32_t slot, float damping);
void c2dPhysicsSetBullet(int32_t slot, bool on);
void c2dPhysicsSetEnabled(int32_t slot, bool on);
// out: hit (1 or 0), entity, point x, point y, normal x, normal y, fraction; all 0 for no hit.
void c2dPhysicsRaycastClosest(float x1, float y1, float x2, float y2, float out[7]);
// The entity of the first shape holding the point, or 0.
int32_t c2dPhysicsOverlapPoint(float x, float y);
// type 0 contact begins, 1 contact ends, 2 sensor overlap begins, 3 ends (sensor first). Null
// drops the events.
using C2DPhysicsEventCallback = void (*)(int32_t entityA, int32_t entityB, int32_t type);
void c2dSetPhysicsEventCallback(C2DPhysicsEventCallback callback);

// Renderer and frame.
void c2dInitGL();
void c2dSetViewport(int32_t width, int32_t height);
void c2dSetDensity(float density);
void c2dSetClearColor(float r, float g, float b, float a);
void c2dSetDefaultFilter(bool linear);
// One frame into `target` at `timeMs`: physics, clips, one pass, commit, then the events. Does
// nothing before c2dInitGL. Without a device, or with a bad target, the frame still steps and
// delivers its events but draws nothing.
void c2dRenderGL(talvero::gpu::Target target, double timeMs);
void c2dRender(double timeMs);
int32_t creator2dVersion();

// What the last frame drew, for tests and benchmarks.
struct C2DFrameStats {
  int32_t quads = 0;
  int32_t batches = 0;
  int32_t draws = 0;
  int32_t capacity = 0;
  bool uploaded = false;
  // Main-thread CPU seconds of the frame: building the draw list, then the GL calls.
  double buildSeconds = 0;
  double glSeconds = 0;
};
const C2DFrameStats& c2dLastFrameStats();

// The frame's physics: fixed steps for dt, then the entities of moving bodies posed between
// the last two steps; the queued events go to the callback after the frame is submitted.
void c2d_physicsStep(float dt);
void c2d_physicsSyncForRender();
void c2d_flushPhysicsEvents();
