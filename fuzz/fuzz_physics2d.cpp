#include <algorithm>
#include <cstdint>
#include <vector>

#include "fuzz_input.h"
#include "scene2d/internal/physics_state.h"
#include "scene2d/scene2d.h"
#include "scene2d_program.h"

namespace {

using namespace talvero::scene2d;
using talvero::fuzz::require;
using talvero::fuzz::Scene2DProgram;

// Bounds that keep one input well under a second: ids stay few enough to collide, and the
// solver's work is counted in sub-steps taken.
constexpr int32_t kMostEntities = 48;
constexpr int32_t kMostBodies = 32;
constexpr int32_t kMostShapes = 96;
constexpr int32_t kMostOps = 400;
constexpr int64_t kSubStepBudget = 20000;
constexpr int32_t kStepsPerCall = 15;  // the accumulator's cap over the fixed step
constexpr int32_t kMostSubStepsCounted = 500;

Scene2DProgram* g_program = nullptr;

int32_t liveBodies() {
  return static_cast<int32_t>(g_physics.bodies.size()) - 1 -
         static_cast<int32_t>(g_physics.freeBodies.size());
}

int32_t liveShapes() {
  return static_cast<int32_t>(g_physics.shapes.size()) -
         static_cast<int32_t>(g_physics.freeShapes.size());
}

int32_t entity(Scene2DProgram& in) {
  return in.id(kMostEntities);
}

int32_t slot(Scene2DProgram& in) {
  return in.id(kMostBodies);
}

void onEvent(int32_t entityA, int32_t entityB, int32_t type);

void checkRay(const float out[7]) {
  require(out[0] == 0 || out[0] == 1);
  if (out[0] == 0) {
    require(std::all_of(out, out + 7, [](float v) { return v == 0; }));
  } else {
    require(out[1] >= 1);
    require(out[6] >= 0 && out[6] <= 1);
  }
}

// One call a script can make: a physics call, or an entity call that moves, re-parents or
// destroys a body's owner.
void scriptOp(Scene2DProgram& in, uint8_t op) {
  const auto n = [&in] { return in.number(); };
  const auto flag = [&in] { return (in.byte() & 1) != 0; };
  switch (op % 28) {
    case 0: {
      const int32_t subSteps = in.byte() & 0x80 ? in.smallInt() * 8 : in.smallInt();
      const float gx = n(), gy = n(), units = n();
      c2dPhysicsConfigure(subSteps, gx, gy, units);
      break;
    }
    case 1:
      if (static_cast<int32_t>(g_entities.size()) <= kMostEntities) c2dCreateEntity();
      break;
    case 2:
      c2dDestroyEntity(entity(in));
      break;
    case 3:
    case 4:
    case 5:
    case 6:
      talvero::fuzz::moveEntity(in, kMostEntities, op % 28 - 3);
      break;
    case 7: {
      const int32_t e = entity(in), type = in.smallInt();
      if (liveBodies() < kMostBodies) {
        const int32_t made = c2dPhysicsCreateBody(e, type);
        require(made == 0 || livePhysBody(made));
      }
      break;
    }
    case 8:
      c2dPhysicsRemoveBody(slot(in));
      break;
    case 9: {
      const int32_t s = slot(in);
      const bool sensor = flag();
      const float hw = n(), hh = n(), cx = n(), cy = n(), d = n(), f = n(), r = n();
      if (liveShapes() < kMostShapes) c2dPhysicsAddBox(s, sensor, hw, hh, cx, cy, d, f, r);
      break;
    }
    case 10: {
      const int32_t s = slot(in);
      const bool sensor = flag();
      const float radius = n(), cx = n(), cy = n(), d = n(), f = n(), r = n();
      if (liveShapes() < kMostShapes) c2dPhysicsAddCircle(s, sensor, radius, cx, cy, d, f, r);
      break;
    }
    case 11: {
      const int32_t s = slot(in);
      const bool sensor = flag();
      const float x1 = n(), y1 = n(), x2 = n(), y2 = n(), radius = n(), d = n(), f = n(), r = n();
      if (liveShapes() < kMostShapes) {
        c2dPhysicsAddCapsule(s, sensor, x1, y1, x2, y2, radius, d, f, r);
      }
      break;
    }
    case 12: {
      const int32_t s = slot(in);
      const float x1 = n(), y1 = n(), x2 = n(), y2 = n(), f = n(), r = n();
      if (liveShapes() < kMostShapes) c2dPhysicsAddSegment(s, x1, y1, x2, y2, f, r);
      break;
    }
    case 13: {
      const int32_t s = slot(in);
      const int32_t count = in.smallInt();
      const uint8_t shape = in.byte();
      std::vector<float> vertices(shape % 20);
      for (float& v : vertices) v = n();
      const bool sensor = flag();
      const float d = n(), f = n(), r = n();
      // A script's array may be empty; the binding then passes no storage at all.
      const float* storage = shape & 0x80 ? nullptr : vertices.data();
      if (liveShapes() < kMostShapes) {
        c2dPhysicsAddPolygon(s, storage, vertices.size(), count, sensor, d, f, r);
      }
      break;
    }
    case 14: {
      const int32_t s = slot(in);
      const float x = n(), y = n();
      c2dPhysicsSetLinearVelocity(s, x, y);
      break;
    }
    case 15: {
      const int32_t s = slot(in);
      c2dPhysicsSetAngularVelocity(s, n());
      break;
    }
    case 16: {
      float out[2] = {7, 7};
      const int32_t s = slot(in);
      c2dPhysicsGetLinearVelocity(s, out);
      if (!livePhysBody(s)) require(out[0] == 0 && out[1] == 0);
      break;
    }
    case 17: {
      const int32_t s = slot(in);
      const float x = n(), y = n();
      c2dPhysicsApplyLinearImpulse(s, x, y);
      break;
    }
    case 18: {
      const int32_t s = slot(in);
      const float x = n(), y = n();
      c2dPhysicsApplyForce(s, x, y);
      break;
    }
    case 19: {
      const int32_t s = slot(in);
      const float x = n(), y = n(), degrees = n();
      c2dPhysicsSetTransform(s, x, y, degrees);
      break;
    }
    case 20: {
      const int32_t s = slot(in);
      c2dPhysicsSetFixedRotation(s, flag());
      break;
    }
    case 21: {
      const int32_t s = slot(in);
      c2dPhysicsSetGravityScale(s, n());
      break;
    }
    case 22: {
      const int32_t s = slot(in);
      c2dPhysicsSetLinearDamping(s, n());
      break;
    }
    case 23: {
      const int32_t s = slot(in);
      c2dPhysicsSetBullet(s, flag());
      break;
    }
    case 24: {
      const int32_t s = slot(in);
      c2dPhysicsSetEnabled(s, flag());
      break;
    }
    case 25: {
      float out[7] = {9, 9, 9, 9, 9, 9, 9};
      const float x1 = n(), y1 = n(), x2 = n(), y2 = n();
      c2dPhysicsRaycastClosest(x1, y1, x2, y2, out);
      checkRay(out);
      break;
    }
    case 26: {
      const float x = n(), y = n();
      require(c2dPhysicsOverlapPoint(x, y) >= 0);
      break;
    }
    default:
      c2dSetPhysicsEventCallback(flag() ? &onEvent : nullptr);
      break;
  }
}

// The script's handler: each event takes one op from the input, so a handler may remove the
// bodies it hears of, reconfigure the world or destroy the entities while events are delivered.
void onEvent(int32_t entityA, int32_t entityB, int32_t type) {
  require(type >= 0 && type <= 3);
  require(entityA >= 1 && entityB >= 1);
  Scene2DProgram& in = *g_program;
  if (in.done()) return;
  const uint8_t reaction = in.byte();
  switch (reaction % 4) {
    case 0:
      return;
    case 1:
      c2dDestroyEntity(reaction & 0x10 ? entityA : entityB);
      return;
    case 2:
      for (size_t s = 1; s < g_physics.bodies.size(); ++s) {
        const PhysBody& body = g_physics.bodies[s];
        if (body.alive && (body.entity == entityA || body.entity == entityB)) {
          c2dPhysicsRemoveBody(static_cast<int32_t>(s));
          break;
        }
      }
      return;
    default:
      scriptOp(in, in.byte());
      return;
  }
}

// What the tables must hold after any sequence: every live shape belongs to a live body of the
// same entity, and every listed sensor is a live sensor shape.
void checkTables() {
  const PhysicsWorld& p = g_physics;
  for (const PhysShape& shape : p.shapes) {
    if (!shape.alive) continue;
    require(shape.slot >= 1 && static_cast<size_t>(shape.slot) < p.bodies.size());
    const PhysBody& body = p.bodies[shape.slot];
    require(body.alive && body.entity == shape.entity);
    require(!shape.fixtures.empty());
  }
  for (const int32_t id : p.sensors) {
    require(id >= 0 && static_cast<size_t>(id) < p.shapes.size());
    require(p.shapes[id].alive && p.shapes[id].sensor);
  }
}

}  // namespace

// The input is a program of ops, each an op byte and its arguments: every physics call of the
// 2D layer, the entity calls that move or re-parent a body's owner, and the frame's step, sync
// and flush. Whatever it holds, the process neither aborts in Box2D nor reports a sanitizer
// fault, and the physics tables stay consistent.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  talvero::fuzz::resetScene2DTables();
  Scene2DProgram in(data, size);
  g_program = &in;
  c2dSetPhysicsEventCallback(&onEvent);
  int64_t subSteps = 0;
  for (int32_t ops = 0; ops < kMostOps && !in.done(); ++ops) {
    const uint8_t op = in.byte();
    if (op < 200) {
      scriptOp(in, op);
      continue;
    }
    switch (op % 4) {
      case 0: {
        const float dt = in.number();
        const int64_t cost =
            kStepsPerCall * std::clamp(g_physics.subSteps, 1, kMostSubStepsCounted);
        if (subSteps + cost > kSubStepBudget) break;
        subSteps += cost;
        c2d_physicsStep(dt);
        break;
      }
      case 1:
        c2d_physicsSyncForRender();
        break;
      case 2:
        c2d_flushPhysicsEvents();
        break;
      default:
        checkTables();
        break;
    }
  }
  checkTables();
  c2d_flushPhysicsEvents();
  g_program = nullptr;
  talvero::fuzz::resetScene2DTables();
  return 0;
}
