#include <box2d/box2d.h>

#include <algorithm>
#include <iterator>

#include "scene2d/internal/physics_state.h"

// Contact and sensor events. Box2D reports contacts per fixture pair while it steps; the
// listener only counts them per pair of our shapes, and the events are made after the step, so
// a capsule of three fixtures lands once and nothing calls into a locked world. Sensor fixtures
// never make contacts: their overlaps come from our own pass after each step, which sees
// bodies of every type, awake or asleep.
namespace talvero::scene2d {

namespace {

int32_t shapeOf(const b2Fixture* fixture) {
  // Box2D 2.4 has no const getter of user data; nothing is written through it.
  return static_cast<int32_t>(const_cast<b2Fixture*>(fixture)->GetUserData().pointer);
}

void countContact(b2Contact* contact, int32_t delta) {
  PhysicsWorld& p = g_physics;
  if (p.quietListener) return;
  const int32_t a = shapeOf(contact->GetFixtureA());
  const int32_t b = shapeOf(contact->GetFixtureB());
  const uint64_t key = pairKey(a, b);
  auto [it, inserted] = p.pairs.try_emplace(key);
  ShapePair& pair = it->second;
  if (inserted) {
    if (delta < 0) {  // an end of a pair whose ends were already told
      p.pairs.erase(it);
      return;
    }
    pair.shapeA = a;
    pair.shapeB = b;
  }
  if (!pair.changed) {
    pair.changed = true;
    pair.countBefore = pair.count;
    p.changedPairs.push_back(key);
  }
  pair.count += delta;
}

class ContactCounter : public b2ContactListener {
 public:
  void BeginContact(b2Contact* contact) override { countContact(contact, 1); }
  void EndContact(b2Contact* contact) override { countContact(contact, -1); }
};

class NoSensorContacts : public b2ContactFilter {
 public:
  bool ShouldCollide(b2Fixture* a, b2Fixture* b) override {
    if (a->IsSensor() || b->IsSensor()) return false;
    return b2ContactFilter::ShouldCollide(a, b);
  }
};

ContactCounter g_counter;
NoSensorContacts g_filter;

void queue(int32_t shapeA, int32_t shapeB, int32_t type) {
  const auto& shapes = g_physics.shapes;
  g_physics.events.push_back({shapes[shapeA].entity, shapes[shapeB].entity, type});
}

void collectContactEvents() {
  PhysicsWorld& p = g_physics;
  for (const uint64_t key : p.changedPairs) {
    const ShapePair& pair = p.pairs[key];
    if (pair.countBefore == 0 && pair.count > 0) queue(pair.shapeA, pair.shapeB, 0);
  }
  for (const uint64_t key : p.changedPairs) {
    const ShapePair& pair = p.pairs[key];
    if (pair.countBefore > 0 && pair.count <= 0) queue(pair.shapeA, pair.shapeB, 1);
  }
  for (const uint64_t key : p.changedPairs) {
    auto it = p.pairs.find(key);
    if (it == p.pairs.end()) continue;
    if (it->second.count <= 0) {
      p.pairs.erase(it);
    } else {
      it->second.changed = false;
    }
  }
  p.changedPairs.clear();
}

// The non-sensor shapes of other bodies that overlap one sensor shape.
class SensorQuery : public b2QueryCallback {
 public:
  SensorQuery(const PhysShape& sensor, std::vector<int32_t>& found)
      : sensor_(sensor), found_(found) {}

  bool ReportFixture(b2Fixture* fixture) override {
    const int32_t visitor = shapeOf(fixture);
    const PhysShape& shape = g_physics.shapes[visitor];
    if (shape.sensor || shape.slot == sensor_.slot) return true;
    if (!found_.empty() && found_.back() == visitor) return true;
    const b2Transform& visitorXf = fixture->GetBody()->GetTransform();
    for (const b2Fixture* own : sensor_.fixtures) {
      if (b2TestOverlap(own->GetShape(), 0, fixture->GetShape(), 0, own->GetBody()->GetTransform(),
                        visitorXf)) {
        found_.push_back(visitor);
        break;
      }
    }
    return true;
  }

 private:
  const PhysShape& sensor_;
  std::vector<int32_t>& found_;
};

void sensorPass() {
  PhysicsWorld& p = g_physics;
  static std::vector<PhysEvent> begins, ends;
  static std::vector<int32_t> found, difference;
  begins.clear();
  ends.clear();
  for (const int32_t id : p.sensors) {
    PhysShape& sensor = p.shapes[id];
    const b2Body* body = p.bodies[sensor.slot].body;
    if (!body->IsEnabled()) continue;
    b2AABB box;
    for (size_t i = 0; i < sensor.fixtures.size(); ++i) {
      b2AABB part;
      sensor.fixtures[i]->GetShape()->ComputeAABB(&part, body->GetTransform(), 0);
      if (i == 0) {
        box = part;
      } else {
        box.Combine(part);
      }
    }
    found.clear();
    SensorQuery query(sensor, found);
    p.world->QueryAABB(&query, box);
    std::sort(found.begin(), found.end());
    found.erase(std::unique(found.begin(), found.end()), found.end());
    difference.clear();
    std::set_difference(found.begin(), found.end(), sensor.visitors.begin(), sensor.visitors.end(),
                        std::back_inserter(difference));
    for (const int32_t v : difference) begins.push_back({sensor.entity, p.shapes[v].entity, 2});
    difference.clear();
    std::set_difference(sensor.visitors.begin(), sensor.visitors.end(), found.begin(), found.end(),
                        std::back_inserter(difference));
    for (const int32_t v : difference) ends.push_back({sensor.entity, p.shapes[v].entity, 3});
    sensor.visitors.swap(found);
  }
  p.events.insert(p.events.end(), begins.begin(), begins.end());
  p.events.insert(p.events.end(), ends.begin(), ends.end());
}

}  // namespace

uint64_t pairKey(int32_t shapeA, int32_t shapeB) {
  const auto low = static_cast<uint32_t>(std::min(shapeA, shapeB));
  const auto high = static_cast<uint32_t>(std::max(shapeA, shapeB));
  return (static_cast<uint64_t>(high) << 32) | low;
}

b2World* makePhysicsWorld(float gravityX, float gravityY) {
  auto* world = new b2World(b2Vec2(gravityX, gravityY));
  world->SetContactListener(&g_counter);
  world->SetContactFilter(&g_filter);
  return world;
}

void collectStepEvents() {
  collectContactEvents();
  if (!g_physics.sensors.empty()) sensorPass();
}

void endBodyEvents(int32_t slot) {
  PhysicsWorld& p = g_physics;
  for (b2ContactEdge* edge = p.bodies[slot].body->GetContactList(); edge; edge = edge->next) {
    const b2Contact* contact = edge->contact;
    if (!contact->IsTouching()) continue;
    auto it =
        p.pairs.find(pairKey(shapeOf(contact->GetFixtureA()), shapeOf(contact->GetFixtureB())));
    if (it == p.pairs.end()) continue;
    if (it->second.count > 0) queue(it->second.shapeA, it->second.shapeB, 1);
    p.pairs.erase(it);
  }
  for (const int32_t id : p.sensors) {
    PhysShape& sensor = p.shapes[id];
    std::erase_if(sensor.visitors, [&](int32_t v) {
      if (sensor.slot != slot && p.shapes[v].slot != slot) return false;
      queue(id, v, 3);
      return true;
    });
  }
}

void forgetShapesOf(int32_t slot) {
  PhysicsWorld& p = g_physics;
  for (const b2Fixture* f = p.bodies[slot].body->GetFixtureList(); f; f = f->GetNext()) {
    PhysShape& shape = p.shapes[shapeOf(f)];
    if (!shape.alive) continue;
    shape = PhysShape{};
    p.freeShapes.push_back(shapeOf(f));
  }
  std::erase_if(p.sensors, [&](int32_t id) { return !p.shapes[id].alive; });
}

}  // namespace talvero::scene2d
