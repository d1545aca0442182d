#include <box2d/box2d.h>

#include <cmath>

#include "scene2d/internal/physics_state.h"
#include "scene2d/internal/tables.h"
#include "scene2d/scene2d.h"

using namespace talvero::scene2d;

namespace {

constexpr float kRadiansPerDegree = 0.017453292f;

b2Body* liveBox2DBody(int32_t slot) {
  PhysBody* body = livePhysBody(slot);
  return body ? body->body : nullptr;
}

// A setter's values, or false with a line when one is not finite or so large that the solver's
// squares would overflow.
bool finiteValue(const char* op, std::initializer_list<float> values) {
  if (finiteNumbers(values)) return true;
  physicsLine(op, "the value is not finite or beyond 1e17; ignored");
  return false;
}

// A velocity, force or impulse of the script, in metres.
b2Vec2 toMetres(float x, float y) {
  return b2Vec2(x / g_physics.units, y / g_physics.units);
}

}  // namespace

namespace talvero::scene2d {

bool physicsBodyAwake(int32_t slot) {
  const b2Body* body = liveBox2DBody(slot);
  return body && body->IsAwake();
}

float physicsBodyMass(int32_t slot) {
  const b2Body* body = liveBox2DBody(slot);
  return body ? body->GetMass() : 0;
}

}  // namespace talvero::scene2d

int32_t c2dPhysicsCreateBody(int32_t entity, int32_t type) {
  PhysicsWorld& p = g_physics;
  if (!p.world || !liveEntity(entity)) return 0;
  const Mat23 m = entityWorldMatrix(entity);
  const float angle = std::atan2(m.b, m.a);
  if (!withinReach({m.tx, m.ty}) || !std::isfinite(angle)) {
    physicsLine("physicsCreateBody",
                "the entity's world position is not finite or beyond 100000 metres");
    return 0;
  }
  b2BodyDef def;
  def.type = type == 2 ? b2_dynamicBody : type == 1 ? b2_kinematicBody : b2_staticBody;
  def.position = toMetres(m.tx, m.ty);
  def.angle = angle;
  const int32_t slot = takeSlot(p.bodies, p.freeBodies);
  def.userData.pointer = static_cast<uintptr_t>(slot);
  PhysBody& body = p.bodies[slot];
  body.body = p.world->CreateBody(&def);
  body.entity = entity;
  body.alive = true;
  body.moves = def.type != b2_staticBody;
  readBodyPose(body, &body.currX, &body.currY, &body.currAngle);
  body.prevX = body.currX;
  body.prevY = body.currY;
  body.prevAngle = body.currAngle;
  return slot;
}

void c2dPhysicsRemoveBody(int32_t slot) {
  PhysBody* body = livePhysBody(slot);
  if (!body) return;
  PhysicsWorld& p = g_physics;
  endBodyEvents(slot);
  forgetShapesOf(slot);
  // Box2D ends the contacts once more as it destroys them; those ends were queued above.
  p.quietListener = true;
  p.world->DestroyBody(body->body);
  p.quietListener = false;
  *body = PhysBody{};
  p.freeBodies.push_back(slot);
}

void c2dPhysicsSetLinearVelocity(int32_t slot, float x, float y) {
  if (b2Body* body = liveBox2DBody(slot); body && finiteValue("physicsSetLinearVelocity", {x, y})) {
    body->SetLinearVelocity(toMetres(x, y));
  }
}

void c2dPhysicsSetAngularVelocity(int32_t slot, float radiansPerSecond) {
  if (b2Body* body = liveBox2DBody(slot);
      body && finiteValue("physicsSetAngularVelocity", {radiansPerSecond})) {
    body->SetAngularVelocity(radiansPerSecond);
  }
}

void c2dPhysicsGetLinearVelocity(int32_t slot, float out[2]) {
  out[0] = out[1] = 0;
  if (const b2Body* body = liveBox2DBody(slot)) {
    const b2Vec2 v = body->GetLinearVelocity();
    out[0] = v.x * g_physics.units;
    out[1] = v.y * g_physics.units;
  }
}

void c2dPhysicsApplyLinearImpulse(int32_t slot, float x, float y) {
  if (b2Body* body = liveBox2DBody(slot);
      body && finiteValue("physicsApplyLinearImpulse", {x, y})) {
    body->ApplyLinearImpulseToCenter(toMetres(x, y), true);
  }
}

void c2dPhysicsApplyForce(int32_t slot, float x, float y) {
  if (b2Body* body = liveBox2DBody(slot); body && finiteValue("physicsApplyForce", {x, y})) {
    body->ApplyForceToCenter(toMetres(x, y), true);
  }
}

void c2dPhysicsSetTransform(int32_t slot, float x, float y, float degrees) {
  PhysBody* body = livePhysBody(slot);
  if (!body) return;
  const float angle = degrees * kRadiansPerDegree;
  if (!withinReach({x, y}) || !std::isfinite(angle)) {
    physicsLine("physicsSetTransform", "the pose is not finite or beyond 100000 metres; ignored");
    return;
  }
  body->body->SetTransform(toMetres(x, y), angle);
  // Awake, so that a body moved off its rest falls and leaves its old contacts.
  body->body->SetAwake(true);
  // A teleport: both poses are the new one, so drawing does not slide across the jump.
  readBodyPose(*body, &body->currX, &body->currY, &body->currAngle);
  body->prevX = body->currX;
  body->prevY = body->currY;
  body->prevAngle = body->currAngle;
}

void c2dPhysicsSetFixedRotation(int32_t slot, bool on) {
  if (b2Body* body = liveBox2DBody(slot)) body->SetFixedRotation(on);
}

void c2dPhysicsSetGravityScale(int32_t slot, float scale) {
  if (b2Body* body = liveBox2DBody(slot); body && finiteValue("physicsSetGravityScale", {scale})) {
    body->SetGravityScale(scale);
  }
}

void c2dPhysicsSetLinearDamping(int32_t slot, float damping) {
  if (b2Body* body = liveBox2DBody(slot);
      body && finiteValue("physicsSetLinearDamping", {damping})) {
    body->SetLinearDamping(damping);
  }
}

void c2dPhysicsSetBullet(int32_t slot, bool on) {
  if (b2Body* body = liveBox2DBody(slot)) body->SetBullet(on);
}

void c2dPhysicsSetEnabled(int32_t slot, bool on) {
  b2Body* body = liveBox2DBody(slot);
  if (!body || body->IsEnabled() == on) return;
  if (!on) endBodyEvents(slot);
  g_physics.quietListener = !on;
  body->SetEnabled(on);
  g_physics.quietListener = false;
}
