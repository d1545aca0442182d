#include <btBulletDynamicsCommon.h>

#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "scene3d/physics/physics_state.h"
#include "scene3d/physics/physics_world.h"

namespace talvero::scene3d {

namespace physics {

namespace {

struct ContactEvent {
  uint32_t first = 0, second = 0;
  int type = 0;  // 0 added, 1 removed
};

// A pair of bodies that has touched: how many of its manifolds hold points now, and whether the
// script was last told they touch.
struct Pair {
  uint32_t low = 0, high = 0;  // the two ids, lower first
  int touchingManifolds = 0;
  bool reported = false;
  bool marked = false;
};

struct Tracking {
  std::unordered_map<uint64_t, Pair> pairs;
  std::vector<uint64_t> marked;              // in marking order
  std::unordered_set<uint64_t> sensorPairs;  // pairs with a static sensor
  std::vector<ContactEvent> pending;
  PhysicsEventFunction onEvent;
};

Tracking& tracking() {
  static Tracking t;
  return t;
}

uint64_t keyOf(uint32_t a, uint32_t b) {
  return a < b ? (uint64_t(a) << 32) | b : (uint64_t(b) << 32) | a;
}

void mark(uint64_t key, Pair& pair) {
  if (pair.marked) return;
  pair.marked = true;
  tracking().marked.push_back(key);
}

bool isStaticSensor(const BodyRecord& record) {
  return record.sensor && record.motion == kMotionStatic;
}

// Only marks: the step is under way, so what the pair's state means is decided after it.
void manifoldChanged(btPersistentManifold* const& manifold, int change) {
  const BodyRecord* a = recordOf(manifold->getBody0());
  const BodyRecord* b = recordOf(manifold->getBody1());
  if (!a || !b) return;
  const uint64_t key = keyOf(a->id, b->id);
  auto [found, made] = tracking().pairs.try_emplace(key);
  Pair& pair = found->second;
  if (made) {
    pair.low = std::min(a->id, b->id);
    pair.high = std::max(a->id, b->id);
    if (isStaticSensor(*a) || isStaticSensor(*b)) tracking().sensorPairs.insert(key);
  }
  pair.touchingManifolds = std::max(0, pair.touchingManifolds + change);
  mark(key, pair);
}

void contactStarted(btPersistentManifold* const& manifold) {
  manifoldChanged(manifold, 1);
}
void contactEnded(btPersistentManifold* const& manifold) {
  manifoldChanged(manifold, -1);
}

bool asleep(const BodyRecord& record) {
  if (record.motion == kMotionKinematic) {
    const Vec3& v = record.kinematicVelocity;
    if (v.x != 0 || v.y != 0 || v.z != 0) return false;
  }
  return !record.body->isActive();
}

// A static sensor loses a body while it sleeps; every other contact lasts through sleep.
bool touching(const Pair& pair) {
  if (pair.touchingManifolds == 0) return false;
  const BodyRecord* a = bodyRecord(pair.low);
  const BodyRecord* b = bodyRecord(pair.high);
  if (!a || !b) return false;
  if (isStaticSensor(*a)) return !asleep(*b);
  if (isStaticSensor(*b)) return !asleep(*a);
  return true;
}

// The body of the greater motion type first, dynamic before kinematic before static; between
// equal types the lower id first.
ContactEvent eventOf(const Pair& pair, int type) {
  const BodyRecord* a = bodyRecord(pair.low);
  const BodyRecord* b = bodyRecord(pair.high);
  if (a && b && b->motion > a->motion) return {pair.high, pair.low, type};
  return {pair.low, pair.high, type};
}

// Pairs holding a static sensor whose other body may have fallen asleep or woken.
void markSensorPairs() {
  Tracking& t = tracking();
  for (const uint64_t key : t.sensorPairs) mark(key, t.pairs.at(key));
}

}  // namespace

void installContactTracking() {
  gContactStartedCallback = &contactStarted;
  gContactEndedCallback = &contactEnded;
}

void collectContactEvents() {
  Tracking& t = tracking();
  markSensorPairs();
  std::vector<ContactEvent> removed;
  for (const uint64_t key : t.marked) {
    const auto found = t.pairs.find(key);
    if (found == t.pairs.end()) continue;
    Pair& pair = found->second;
    pair.marked = false;
    const bool now = touching(pair);
    if (now != pair.reported) {
      if (now) {
        t.pending.push_back(eventOf(pair, 0));
      } else {
        removed.push_back(eventOf(pair, 1));
      }
      pair.reported = now;
    }
    if (pair.touchingManifolds == 0 && !pair.reported) {
      t.sensorPairs.erase(key);
      t.pairs.erase(found);
    }
  }
  t.marked.clear();
  t.pending.insert(t.pending.end(), removed.begin(), removed.end());
}

void deliverContactEvents() {
  Tracking& t = tracking();
  // Taken out first: a callback may add or remove bodies, and their events wait for the next
  // frame.
  std::vector<ContactEvent> events;
  events.swap(t.pending);
  const uint64_t generation = worldGeneration();
  for (const ContactEvent& event : events) {
    // A callback that rebuilt the world leaves the rest naming bodies of the old one.
    if (worldGeneration() != generation) return;
    const BodyRecord* a = bodyRecord(event.first);
    const BodyRecord* b = bodyRecord(event.second);
    if (!a || !b || !t.onEvent) continue;
    // A copy: the callback may replace the function it runs in.
    const PhysicsEventFunction onEvent = t.onEvent;
    onEvent(a->entity, b->entity, event.type);
  }
}

void clearContactEvents() {
  Tracking& t = tracking();
  t.pairs.clear();
  t.sensorPairs.clear();
  t.marked.clear();
  t.pending.clear();
}

}  // namespace physics

void setPhysicsEventFunc(PhysicsEventFunction function) {
  physics::tracking().onEvent = std::move(function);
}

}  // namespace talvero::scene3d
