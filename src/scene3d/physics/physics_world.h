#pragma once

#include <cstdint>
#include <functional>

namespace talvero::scene3d {

// The one 3D physics world of the process. Bodies are numbered (sequence << 23) | slot, 0 for
// none; shapes and characters have their own counters from 1. Main thread only. A dead body
// id logs one "[creator-gl] <row>: unknown body <id>" line per row and id and gives the
// neutral result; refused shapes and numbers that are not finite log a line and give 0.

// Motion types as scripts number them.
inline constexpr int kMotionStatic = 0;
inline constexpr int kMotionKinematic = 1;
inline constexpr int kMotionDynamic = 2;

// Builds the world when there is none (with the stored maximum and gravity).
void physicsInit();
// Bodies, shapes, characters and pending events all go with the world.
void physicsShutdown();
bool hasPhysicsWorld();
// Stores gravity and, when `maxBodies` is not 0, the maximum; a world with no body is rebuilt
// at once with the new maximum, else the maximum waits for the next rebuild. Gravity that is
// not finite is ignored with a line.
void physicsConfigure(uint32_t maxBodies, float gx, float gy, float gz);
// Runs whole fixed steps of 1/60 s from the time carried over, at most 4 (the rest is then
// dropped), captures the moving bodies' poses once, moves the characters by `dt` and hands the
// contact events to the event function.
void physicsStep(float dt);
// Writes the moving bodies' poses to their entities: interpolated between the last two steps,
// or, with interpolation off, as they are after a frame that stepped.
void physicsSyncForRender();
void setPhysicsInterpolation(bool interpolate);
// 1: this build simulates 3D physics.
int creatorHasPhysics();
// Whether the last `physicsStep` ran a step, and the fraction of a step carried over.
bool physicsTicked();
float physicsAlpha();

// Shapes kept for `physicsCreateBody` and `characterCreate`; 0 when refused. A cylinder or
// capsule stands along y; a capsule's half height is that of its cylinder part.
uint32_t physicsBuildBox(float halfX, float halfY, float halfZ);
uint32_t physicsBuildSphere(float radius);
uint32_t physicsBuildCylinder(float halfHeight, float radius);
uint32_t physicsBuildCapsule(float halfHeight, float radius);
// Bodies and characters made from the shape keep it.
void physicsDestroyShape(uint32_t shape);

// A body at the entity's world pose (the origin without a transform), pickable, the entity's
// entry of interpolated poses made or replaced. A dynamic body with no mass above 0 weighs
// 1000 per cubic metre. 0 for an unknown shape, a bad motion type or a full world.
uint32_t physicsCreateBody(uint32_t entity, uint32_t shape, int motionType, float mass, bool sensor,
                           bool queryOnly);
uint32_t physicsCreateBox(uint32_t entity, float halfX, float halfY, float halfZ, int motionType,
                          float mass);
uint32_t physicsCreateSphere(uint32_t entity, float radius, int motionType, float mass);
uint32_t physicsCreateCylinder(uint32_t entity, float halfHeight, float radius, int motionType,
                               float mass);
void physicsSetPickable(uint32_t body, bool pickable);
// A kinematic body moves by its velocity at each step; a static one keeps still.
void physicsSetLinearVelocity(uint32_t body, float x, float y, float z);
void physicsGetLinearVelocity(uint32_t body, float* out3);
void physicsApplyImpulse(uint32_t body, float x, float y, float z);
// A teleport: no velocity comes of it, and the body wakes.
void physicsSetBodyPosition(uint32_t body, float x, float y, float z);
// Harmless for a body already removed. Its entity's entry goes too.
void physicsRemoveBody(uint32_t body);

// The entity of the closest pickable body on the ray from the origin along direction ×
// distance (the direction as given, not normalised); 0 for none. A ray starting inside a body
// hits it at once. `out7`, when given: hit point, unit normal, fraction of the ray.
uint32_t physicsRaycast(float ox, float oy, float oz, float dx, float dy, float dz,
                        float maxDistance, float* out7);
// The entity picked at the view point (x, y), in points from the top left, by a ray of 1000
// from the open scene's camera; 0 with no open scene, camera or world.
uint32_t raycastView(float x, float y);

// Called after the steps with (entity, entity, 0 added or 1 removed), once per contact change
// of a body pair; events of bodies removed since are dropped.
using PhysicsEventFunction = std::function<void(uint32_t, uint32_t, int)>;
void setPhysicsEventFunc(PhysicsEventFunction function);

}  // namespace talvero::scene3d
