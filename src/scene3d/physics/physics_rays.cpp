#include <btBulletDynamicsCommon.h>
#include <filament/Camera.h>
#include <math/mat4.h>

#include <cmath>

#include "runtime/log.h"
#include "scene3d/engine_state.h"
#include "scene3d/physics/physics_state.h"
#include "scene3d/physics/physics_world.h"
#include "scene3d/scene_struct.h"
#include "scene3d/scenes.h"

namespace talvero::scene3d {

using namespace physics;

namespace {

constexpr float kPickRange = 1000;

struct Hit {
  const BodyRecord* record = nullptr;
  btVector3 normal;
  float fraction = 0;
};

bool pickable(const btCollisionObject* object) {
  const BodyRecord* record = recordOf(object);
  return record && record->pickable;
}

// The closest pickable body; groups and masks are not looked at, so query-only bodies are
// found too.
struct ClosestPickable : btCollisionWorld::ClosestRayResultCallback {
  using ClosestRayResultCallback::ClosestRayResultCallback;
  bool needsCollision(btBroadphaseProxy* proxy) const override {
    return pickable(static_cast<const btCollisionObject*>(proxy->m_clientObject));
  }
};

float sign(float v) {
  return v < 0 ? -1.0f : 1.0f;
}

// Whether the local point is inside the shape, and the outward normal of the surface
// nearest to it.
bool insideShape(const PhysicsShapeSize& s, const btVector3& p, btVector3& normal) {
  switch (s.kind) {
    case PhysicsShapeKind::box: {
      const float gaps[3] = {s.halfX - std::fabs(p.x()), s.halfY - std::fabs(p.y()),
                             s.halfZ - std::fabs(p.z())};
      if (gaps[0] < 0 || gaps[1] < 0 || gaps[2] < 0) return false;
      int axis = 0;
      for (int i = 1; i < 3; ++i) {
        if (gaps[i] < gaps[axis]) axis = i;
      }
      normal = btVector3(0, 0, 0);
      normal[axis] = sign(p[axis]);
      return true;
    }
    case PhysicsShapeKind::sphere: {
      if (p.length2() > s.radius * s.radius) return false;
      normal = p.length2() > 0 ? p.normalized() : btVector3(0, 1, 0);
      return true;
    }
    case PhysicsShapeKind::cylinder: {
      const float radial = std::sqrt(p.x() * p.x() + p.z() * p.z());
      const float capGap = s.halfHeight - std::fabs(p.y());
      const float sideGap = s.radius - radial;
      if (capGap < 0 || sideGap < 0) return false;
      normal = sideGap < capGap && radial > 0 ? btVector3(p.x() / radial, 0, p.z() / radial)
                                              : btVector3(0, sign(p.y()), 0);
      return true;
    }
    case PhysicsShapeKind::capsule: {
      const float axisY = std::fmax(-s.halfHeight, std::fmin(s.halfHeight, p.y()));
      const btVector3 away = p - btVector3(0, axisY, 0);
      if (away.length2() > s.radius * s.radius) return false;
      normal = away.length2() > 0 ? away.normalized() : btVector3(1, 0, 0);
      return true;
    }
  }
  return false;
}

// A ray starting inside a body hits it at once; Bullet's ray sees only surfaces it enters. Of
// several bodies holding the origin, the lowest id.
struct OriginInside : btBroadphaseAabbCallback {
  explicit OriginInside(const btVector3& point) : origin(point) {}
  bool process(const btBroadphaseProxy* proxy) override {
    const auto* object = static_cast<const btCollisionObject*>(proxy->m_clientObject);
    const BodyRecord* record = recordOf(object);
    if (!record || !record->pickable || (hit.record && hit.record->id < record->id)) return true;
    const btTransform& transform = object->getWorldTransform();
    btVector3 normal;
    if (insideShape(record->shape.size, transform.invXform(origin), normal)) {
      hit = {record, transform.getBasis() * normal, 0};
    }
    return true;
  }
  btVector3 origin;
  Hit hit;
};

Hit castRay(World& w, const btVector3& from, const btVector3& to) {
  OriginInside inside(from);
  w.broadphase->aabbTest(from, from, inside);
  if (inside.hit.record) return inside.hit;
  ClosestPickable closest(from, to);
  w.dynamics->rayTest(from, to, closest);
  if (!closest.hasHit()) return {};
  return {recordOf(closest.m_collisionObject), closest.m_hitNormalWorld,
          closest.m_closestHitFraction};
}

}  // namespace

uint32_t physicsRaycast(float ox, float oy, float oz, float dx, float dy, float dz,
                        float maxDistance, float* out7) {
  World* w = world();
  if (!w) return 0;
  if (!allFinite({ox, oy, oz, dx, dy, dz, maxDistance})) {
    logLine("[creator-gl] physicsRaycast: origin, direction and distance must be finite");
    return 0;
  }
  const btVector3 from(ox, oy, oz);
  const btVector3 ray = btVector3(dx, dy, dz) * maxDistance;
  if (ray.length2() == 0) return 0;
  const Hit hit = castRay(*w, from, from + ray);
  if (!hit.record) return 0;
  if (out7) {
    const btVector3 point = from + ray * hit.fraction;
    const btVector3 normal = hit.normal.length2() > 0 ? hit.normal.normalized() : hit.normal;
    const float values[7] = {point.x(),  point.y(),  point.z(),   normal.x(),
                             normal.y(), normal.z(), hit.fraction};
    std::copy(values, values + 7, out7);
  }
  return hit.record->entity;
}

uint32_t raycastView(float x, float y) {
  const SceneStruct* scene = state().currentScene;
  if (!scene || !scene->camera || !world()) return 0;
  float direction[3] = {0, 0, 0};
  getCameraViewDirection(openSceneId(), x, y, direction);
  const auto origin = scene->camera->getModelMatrix()[3];
  return physicsRaycast(static_cast<float>(origin.x), static_cast<float>(origin.y),
                        static_cast<float>(origin.z), direction[0], direction[1], direction[2],
                        kPickRange, nullptr);
}

}  // namespace talvero::scene3d
