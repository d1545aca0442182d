#include <box2d/box2d.h>

#include <algorithm>
#include <cmath>

#include "scene2d/internal/physics_state.h"
#include "scene2d/scene2d.h"

using namespace talvero::scene2d;

namespace {

constexpr float kPointHalfSize = 0.01f;

int32_t entityOf(b2Fixture* fixture) {
  return g_physics.shapes[fixture->GetUserData().pointer].entity;
}

// Keeps the nearest hit by clipping the ray to it; sensors count.
class ClosestHit : public b2RayCastCallback {
 public:
  float ReportFixture(b2Fixture* fixture, const b2Vec2& point, const b2Vec2& normal,
                      float fraction) override {
    hit = true;
    entity = entityOf(fixture);
    this->point = point;
    this->normal = normal;
    this->fraction = fraction;
    return fraction;
  }

  bool hit = false;
  int32_t entity = 0;
  b2Vec2 point{0, 0}, normal{0, 0};
  float fraction = 0;
};

class PointQuery : public b2QueryCallback {
 public:
  explicit PointQuery(b2Vec2 point) : point_(point) {}

  bool ReportFixture(b2Fixture* fixture) override {
    if (!fixture->TestPoint(point_)) return true;
    entity = entityOf(fixture);
    return false;
  }

  int32_t entity = 0;

 private:
  b2Vec2 point_;
};

}  // namespace

void c2dPhysicsRaycastClosest(float x1, float y1, float x2, float y2, float out[7]) {
  std::fill(out, out + 7, 0.0f);
  const PhysicsWorld& p = g_physics;
  if (!p.world || !finiteNumbers({x1, y1, x2, y2})) return;
  const b2Vec2 from(x1 / p.units, y1 / p.units), to(x2 / p.units, y2 / p.units);
  // Box2D asserts on a ray of no length, measured as it measures it.
  if (!((to - from).LengthSquared() > 0.0f)) return;
  ClosestHit closest;
  p.world->RayCast(&closest, from, to);
  if (!closest.hit) return;
  out[0] = 1;
  out[1] = static_cast<float>(closest.entity);
  out[2] = closest.point.x * p.units;
  out[3] = closest.point.y * p.units;
  out[4] = closest.normal.x;
  out[5] = closest.normal.y;
  out[6] = closest.fraction;
}

int32_t c2dPhysicsOverlapPoint(float x, float y) {
  const PhysicsWorld& p = g_physics;
  if (!p.world || !finiteNumbers({x, y})) return 0;
  const b2Vec2 point(x / p.units, y / p.units);
  const float half = kPointHalfSize / p.units;
  b2AABB box;
  box.lowerBound = point - b2Vec2(half, half);
  box.upperBound = point + b2Vec2(half, half);
  PointQuery query(point);
  p.world->QueryAABB(&query, box);
  return query.entity;
}
