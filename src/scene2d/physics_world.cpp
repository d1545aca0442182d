#include <box2d/box2d.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>

#include "runtime/log.h"
#include "scene2d/internal/physics_state.h"
#include "scene2d/internal/tables.h"
#include "scene2d/scene2d.h"

namespace talvero::scene2d {

PhysicsWorld g_physics;

namespace {

// Beyond this many metres Box2D's squared lengths would overflow a float.
constexpr float kMaxLength = 1e17f;
// Iterations grow with sub-steps; past this they buy nothing but time.
constexpr int32_t kMaxSubSteps = 500;

// Writes a body's pose into its entity: through the parent's inverse when it has a live
// parent, so the entity's world pose is the body's whatever its parent did.
void writeEntityWorld(int32_t id, float x, float y, float angle) {
  Entity2D& e = g_entities[id];
  if (liveEntity(e.parent)) {
    const Mat23 parent = entityWorldMatrix(e.parent);
    const Mat23 inv = inverse(parent);
    e.x = inv.a * x + inv.c * y + inv.tx;
    e.y = inv.b * x + inv.d * y + inv.ty;
    e.rotation = angle - std::atan2(parent.b, parent.a);
  } else {
    e.x = x;
    e.y = y;
    e.rotation = angle;
  }
  ++e.localVersion;
}

// Finite, and at most `metres` once divided by the world's units.
bool allWithin(std::initializer_list<float> values, float metres) {
  return std::all_of(values.begin(), values.end(), [metres](float v) {
    return std::isfinite(v) && std::fabs(v / g_physics.units) <= metres;
  });
}

void destroyWorld() {
  delete g_physics.world;
  g_physics.world = nullptr;
  g_physics.bodies.assign(1, PhysBody{});
  g_physics.freeBodies.clear();
  g_physics.shapes.clear();
  g_physics.freeShapes.clear();
  g_physics.sensors.clear();
  g_physics.pairs.clear();
  g_physics.changedPairs.clear();
  g_physics.events.clear();
}

void takeStep() {
  PhysicsWorld& p = g_physics;
  for (PhysBody& body : p.bodies) {
    if (!body.alive || !body.moves) continue;
    body.prevX = body.currX;
    body.prevY = body.currY;
    body.prevAngle = body.currAngle;
  }
  p.world->Step(kPhysicsStep, 2 * std::min(p.subSteps, kMaxSubSteps), 3);
  collectStepEvents();
  for (PhysBody& body : p.bodies) {
    if (body.alive && body.moves) readBodyPose(body, &body.currX, &body.currY, &body.currAngle);
  }
}

}  // namespace

PhysBody* livePhysBody(int32_t slot) {
  if (!g_physics.world || slot < 1 || static_cast<size_t>(slot) >= g_physics.bodies.size()) {
    return nullptr;
  }
  PhysBody& body = g_physics.bodies[slot];
  return body.alive ? &body : nullptr;
}

void resetPhysicsWorld() {
  destroyWorld();
  g_physics = PhysicsWorld{};
}

bool finiteNumbers(std::initializer_list<float> values) {
  return allWithin(values, kMaxLength);
}

bool withinReach(std::initializer_list<float> values) {
  return allWithin(values, kMaxReach);
}

void physicsLine(const char* op, const char* why) {
  logLine(std::string("[creator-2d] ") + op + ": " + why);
}

void readBodyPose(const PhysBody& body, float* x, float* y, float* angle) {
  const b2Transform& xf = body.body->GetTransform();
  *x = xf.p.x * g_physics.units;
  *y = xf.p.y * g_physics.units;
  // The rotation's own angle, in (-π, π]: GetAngle() would be the unwrapped sweep.
  *angle = std::atan2(xf.q.s, xf.q.c);
}

}  // namespace talvero::scene2d

using namespace talvero::scene2d;

int32_t c2dPhysicsHasSupport() {
  return 1;
}

void c2dPhysicsConfigure(int32_t subSteps, float gravityX, float gravityY, float unitsPerMetre) {
  PhysicsWorld& p = g_physics;
  destroyWorld();
  p.units = unitsPerMetre > 0 && std::isfinite(unitsPerMetre) ? unitsPerMetre : 1;
  if (!std::isfinite(gravityX) || !std::isfinite(gravityY)) {
    physicsLine("physicsConfigure", "gravity is not finite; the world has none");
    gravityX = gravityY = 0;
  }
  p.world = makePhysicsWorld(gravityX / p.units, gravityY / p.units);
  p.subSteps = subSteps < 1 ? 4 : subSteps;
  p.accumulator = 0;
  p.alpha = 0;
}

void c2dSetPhysicsEventCallback(C2DPhysicsEventCallback callback) {
  g_physics.callback = callback;
}

void c2d_physicsStep(float dt) {
  PhysicsWorld& p = g_physics;
  if (!p.world) return;
  if (!(dt > 0) || !std::isfinite(dt)) dt = 0;
  p.accumulator = std::min(p.accumulator + dt, kAccumulatorCap);
  while (p.accumulator >= kPhysicsStep) {
    takeStep();
    p.accumulator -= kPhysicsStep;
  }
  p.alpha = p.accumulator / kPhysicsStep;
}

void c2d_physicsSyncForRender() {
  const PhysicsWorld& p = g_physics;
  if (!p.world) return;
  const float alpha = p.alpha;
  constexpr float kTurn = 2 * std::numbers::pi_v<float>;
  for (const PhysBody& body : p.bodies) {
    if (!body.alive || !body.moves || !liveEntity(body.entity)) continue;
    const float x = body.prevX + (body.currX - body.prevX) * alpha;
    const float y = body.prevY + (body.currY - body.prevY) * alpha;
    // The remainder takes the short way round, so a turn across ±π does not spin back.
    const float angle =
        body.prevAngle + alpha * std::remainder(body.currAngle - body.prevAngle, kTurn);
    writeEntityWorld(body.entity, x, y, angle);
  }
}

void c2d_flushPhysicsEvents() {
  PhysicsWorld& p = g_physics;
  if (p.events.empty()) return;
  // Taken out first: the script may remove bodies or reconfigure the world, and what that
  // raises is delivered next frame.
  std::vector<PhysEvent> delivering;
  delivering.swap(p.events);
  for (const PhysEvent& event : delivering) {
    // Read anew for each event: a handler may clear it.
    if (C2DPhysicsEventCallback callback = p.callback) {
      callback(event.entityA, event.entityB, event.type);
    }
  }
  // Keep the storage for the next frame when nothing new came in meanwhile.
  if (p.events.empty()) {
    delivering.clear();
    p.events.swap(delivering);
  }
}
