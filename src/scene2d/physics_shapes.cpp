#include <box2d/box2d.h>

#include <cmath>
#include <initializer_list>
#include <string>

#include "scene2d/internal/physics_state.h"
#include "scene2d/physics_hull.h"
#include "scene2d/scene2d.h"

// Shapes, checked before Box2D sees them: its asserts are live, and a degenerate polygon, a
// box of no area or a number that is not finite would end the process or poison the solver.
using namespace talvero::scene2d;

namespace {

// Half sizes below this give a polygon whose area Box2D refuses.
constexpr float kMinHalfSize = 0.5f * kLinearSlop;

struct Material {
  float density, friction, restitution;
};

float metres(float length) {
  return length / g_physics.units;
}

bool usableMaterial(const char* op, const Material& m) {
  if (!finiteNumbers({m.density, m.friction, m.restitution}) || m.friction < 0) {
    physicsLine(op, "density, friction and restitution must be finite, friction not below 0");
    return false;
  }
  return true;
}

// A shape of the body in `slot`, with no fixtures yet.
int32_t newShape(int32_t slot, bool sensor) {
  PhysicsWorld& p = g_physics;
  const int32_t id = takeSlot(p.shapes, p.freeShapes);
  PhysShape& shape = p.shapes[id];
  shape.alive = true;
  shape.sensor = sensor;
  shape.slot = slot;
  shape.entity = p.bodies[slot].entity;
  if (sensor) p.sensors.push_back(id);
  return id;
}

// `density` as the script gave it: not above 0 means 1, and it grows with the square of the
// units, so a body weighs the same whatever length the script measures in.
float fixtureDensity(const Material& m, float densityShare) {
  return (m.density > 0 ? m.density : 1) * g_physics.units * g_physics.units * densityShare;
}

struct NewFixture {
  const b2Shape* geometry;
  float densityShare;
};

// Box2D centres a moving body's inertia in floats, as the inertia about the origin less mass ×
// centre², each time a fixture is added: a shape small for its distance from the origin cancels
// that to 0 or below, a heavy one overflows it, and either ends in an assert. The sums are
// redone in double from Box2D's own figures for each shape, with room for their float rounding.
bool keepsMass(int32_t slot, std::initializer_list<NewFixture> added, const Material& m) {
  const b2Body* body = g_physics.bodies[slot].body;
  if (body->GetType() != b2_dynamicBody) return true;
  double mass = 0, centreX = 0, centreY = 0, inertia = 0;
  int32_t count = 0;
  const auto add = [&](const b2MassData& data, float density) {
    if (density == 0) return;  // Box2D skips a fixture whose density underflowed
    mass += data.mass;
    centreX += static_cast<double>(data.mass) * data.center.x;
    centreY += static_cast<double>(data.mass) * data.center.y;
    inertia += data.I;
    ++count;
  };
  for (const b2Fixture* f = body->GetFixtureList(); f; f = f->GetNext()) {
    b2MassData data;
    f->GetMassData(&data);
    add(data, f->GetDensity());
  }
  constexpr double kLargest = 1e37;      // well inside a float, so its sums cannot overflow
  constexpr double kSmallest = 1e-30;    // well above denormals, where precision is lost
  constexpr double kRounding = 0x1p-23;  // two units of a float's last place
  for (const NewFixture& fixture : added) {
    b2MassData data;
    const float density = fixtureDensity(m, fixture.densityShare);
    fixture.geometry->ComputeMass(&data, density);
    add(data, density);
    if (!(mass <= kLargest && inertia <= kLargest)) return false;
    if (mass > 0 && mass < kSmallest) return false;  // its inverse would overflow a float
    if (inertia == 0) continue;  // Box2D then leaves the body without turning inertia
    const double centred = mass > 0 ? inertia - (centreX * centreX + centreY * centreY) / mass : 0;
    if (!(centred > kSmallest && centred > (count + 8) * kRounding * inertia)) return false;
  }
  return true;
}

bool refusedForMass(const char* op, int32_t slot, std::initializer_list<NewFixture> added,
                    const Material& m) {
  if (keepsMass(slot, added, m)) return false;
  physicsLine(op,
              "the shape is too heavy, too light, or too small for its distance from the body's "
              "origin");
  return true;
}

void addFixture(int32_t shapeId, const b2Shape& geometry, const Material& m,
                float densityShare = 1) {
  PhysicsWorld& p = g_physics;
  PhysShape& shape = p.shapes[shapeId];
  b2FixtureDef def;
  def.shape = &geometry;
  def.density = fixtureDensity(m, densityShare);
  def.friction = m.friction;
  def.restitution = m.restitution;
  def.isSensor = shape.sensor;
  def.userData.pointer = static_cast<uintptr_t>(shapeId);
  shape.fixtures.push_back(p.bodies[shape.slot].body->CreateFixture(&def));
}

b2PolygonShape boxShape(float hw, float hh, b2Vec2 centre, float angle) {
  b2PolygonShape box;
  box.SetAsBox(hw, hh, centre, angle);
  return box;
}

// Far from the body's origin, or long and turned, a box's corners round in floats until Box2D
// finds no area between them and asserts.
bool keepsArea(const char* op, const b2PolygonShape& box) {
  HullPoint corners[4];
  for (int i = 0; i < 4; ++i) corners[i] = {box.m_vertices[i].x, box.m_vertices[i].y};
  if (areaSurvivesRounding(corners, 4, b2_epsilon)) return true;
  physicsLine(op, "the box is too thin for its length or its distance from the body's origin");
  return false;
}

}  // namespace

void c2dPhysicsAddBox(int32_t slot, bool sensor, float halfWidth, float halfHeight, float centreX,
                      float centreY, float density, float friction, float restitution) {
  if (!livePhysBody(slot)) return;
  const Material m{density, friction, restitution};
  if (!withinReach({halfWidth, halfHeight, centreX, centreY})) {
    physicsLine("physicsAddBox", "sizes and centre must be finite and within 100000 metres");
    return;
  }
  if (!(metres(halfWidth) >= kMinHalfSize && metres(halfHeight) >= kMinHalfSize)) {
    physicsLine("physicsAddBox", "half sizes must be above 0 and at least 0.0025 metres");
    return;
  }
  if (!usableMaterial("physicsAddBox", m)) return;
  const b2PolygonShape box =
      boxShape(metres(halfWidth), metres(halfHeight), b2Vec2(metres(centreX), metres(centreY)), 0);
  if (!keepsArea("physicsAddBox", box)) return;
  if (refusedForMass("physicsAddBox", slot, {{&box, 1}}, m)) return;
  addFixture(newShape(slot, sensor), box, m);
}

void c2dPhysicsAddCircle(int32_t slot, bool sensor, float radius, float centreX, float centreY,
                         float density, float friction, float restitution) {
  if (!livePhysBody(slot)) return;
  const Material m{density, friction, restitution};
  if (!withinReach({radius, centreX, centreY})) {
    physicsLine("physicsAddCircle", "radius and centre must be finite and within 100000 metres");
    return;
  }
  if (!(metres(radius) > 0)) {
    physicsLine("physicsAddCircle", "the radius must be above 0");
    return;
  }
  if (!usableMaterial("physicsAddCircle", m)) return;
  b2CircleShape circle;
  circle.m_radius = metres(radius);
  circle.m_p.Set(metres(centreX), metres(centreY));
  if (refusedForMass("physicsAddCircle", slot, {{&circle, 1}}, m)) return;
  addFixture(newShape(slot, sensor), circle, m);
}

void c2dPhysicsAddCapsule(int32_t slot, bool sensor, float x1, float y1, float x2, float y2,
                          float radius, float density, float friction, float restitution) {
  if (!livePhysBody(slot)) return;
  const Material m{density, friction, restitution};
  if (!withinReach({x1, y1, x2, y2, radius})) {
    physicsLine("physicsAddCapsule", "ends and radius must be finite and within 100000 metres");
    return;
  }
  const b2Vec2 a(metres(x1), metres(y1)), b(metres(x2), metres(y2));
  const float r = metres(radius);
  const float halfLength = 0.5f * (b - a).Length();
  const bool hasBody = halfLength >= kMinHalfSize;
  if (!(r > 0) || (hasBody && r < kMinHalfSize)) {
    physicsLine("physicsAddCapsule", "the radius must be above 0 and at least 0.0025 metres");
    return;
  }
  if (!usableMaterial("physicsAddCapsule", m)) return;
  // Two circles at half the density and the box between them weigh what the capsule does.
  b2CircleShape endA, endB;
  endA.m_radius = endB.m_radius = r;
  endA.m_p = a;
  endB.m_p = b;
  const b2Vec2 d = b - a;
  const b2PolygonShape box =
      hasBody ? boxShape(halfLength, r, 0.5f * (a + b), std::atan2(d.y, d.x)) : b2PolygonShape{};
  if (hasBody && !keepsArea("physicsAddCapsule", box)) return;
  if (refusedForMass(
          "physicsAddCapsule", slot,
          hasBody ? std::initializer_list<NewFixture>{{&endA, 0.5f}, {&endB, 0.5f}, {&box, 1}}
                  : std::initializer_list<NewFixture>{{&endA, 0.5f}, {&endB, 0.5f}},
          m)) {
    return;
  }
  const int32_t shape = newShape(slot, sensor);
  addFixture(shape, endA, m, 0.5f);
  addFixture(shape, endB, m, 0.5f);
  if (hasBody) addFixture(shape, box, m);
}

void c2dPhysicsAddSegment(int32_t slot, float x1, float y1, float x2, float y2, float friction,
                          float restitution) {
  if (!livePhysBody(slot)) return;
  const Material m{1, friction, restitution};
  if (!withinReach({x1, y1, x2, y2})) {
    physicsLine("physicsAddSegment", "the ends must be finite and within 100000 metres");
    return;
  }
  const b2Vec2 a(metres(x1), metres(y1)), b(metres(x2), metres(y2));
  if (!((b - a).Length() >= kLinearSlop)) {
    physicsLine("physicsAddSegment", "the segment is shorter than 0.005 metres");
    return;
  }
  if (!usableMaterial("physicsAddSegment", m)) return;
  b2EdgeShape edge;
  edge.SetTwoSided(a, b);
  addFixture(newShape(slot, false), edge, m);
}

void c2dPhysicsAddPolygon(int32_t slot, const float* vertices, size_t floatCount, int32_t count,
                          bool sensor, float density, float friction, float restitution) {
  if (!livePhysBody(slot) || count < 3 || count > b2_maxPolygonVertices) return;
  const Material m{density, friction, restitution};
  if (!vertices || floatCount < static_cast<size_t>(count) * 2) {
    physicsLine("physicsAddPolygon", ("the vertices hold " + std::to_string(floatCount) +
                                      " numbers, fewer than " + std::to_string(count * 2))
                                         .c_str());
    return;
  }
  HullPoint points[b2_maxPolygonVertices];
  for (int32_t i = 0; i < count; ++i) {
    if (!withinReach({vertices[2 * i], vertices[2 * i + 1]})) {
      physicsLine("physicsAddPolygon", "a vertex is not finite or beyond 100000 metres");
      return;
    }
    points[i] = {metres(vertices[2 * i]), metres(vertices[2 * i + 1])};
  }
  const std::vector<HullPoint> hull = convexHull(points, count, kLinearSlop);
  if (hull.size() < 3 ||
      !areaSurvivesRounding(hull.data(), static_cast<int>(hull.size()), b2_epsilon)) {
    physicsLine("physicsAddPolygon", "the points make no polygon: in a line or too close");
    return;
  }
  if (!usableMaterial("physicsAddPolygon", m)) return;
  b2Vec2 corners[b2_maxPolygonVertices];
  for (size_t i = 0; i < hull.size(); ++i) corners[i].Set(hull[i].x, hull[i].y);
  b2PolygonShape polygon;
  polygon.Set(corners, static_cast<int32>(hull.size()));
  if (refusedForMass("physicsAddPolygon", slot, {{&polygon, 1}}, m)) return;
  addFixture(newShape(slot, sensor), polygon, m);
}
