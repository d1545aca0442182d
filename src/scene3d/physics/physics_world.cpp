#include "scene3d/physics/physics_world.h"

#include <btBulletDynamicsCommon.h>

#include <algorithm>
#include <cmath>
#include <memory>

#include "runtime/log.h"
#include "scene3d/physics/character.h"
#include "scene3d/physics/physics_state.h"

namespace talvero::scene3d {

namespace physics {

namespace {

constexpr uint32_t kDefaultMaxBodies = 4096;
constexpr int kMaxStepsPerFrame = 4;
constexpr int kSolverIterations = 10;
constexpr float kSleepTime = 0.5f;

struct Settings {
  uint32_t maxBodies = kDefaultMaxBodies;
  Vec3 gravity{0, -9.81f, 0};
  bool interpolate = true;
  bool ticked = false;
  float alpha = 0;
  std::unique_ptr<World> world;
  uint64_t generation = 0;
};

Settings& settings() {
  static Settings s;
  return s;
}

// Friction combines as the geometric mean and restitution as the larger of the two, so a
// surface's numbers mean the same whatever touches it.
btScalar combinedFriction(const btCollisionObject* a, const btCollisionObject* b) {
  return std::sqrt(a->getFriction() * b->getFriction());
}
btScalar combinedRestitution(const btCollisionObject* a, const btCollisionObject* b) {
  return std::max(a->getRestitution(), b->getRestitution());
}

// Besides the groups, a pair touches only when one body is dynamic, or one is kinematic and
// the other a sensor: static and kinematic bodies pass through each other.
struct PairFilter : btOverlapFilterCallback {
  bool needBroadphaseCollision(btBroadphaseProxy* a, btBroadphaseProxy* b) const override {
    if (!(a->m_collisionFilterGroup & b->m_collisionFilterMask) ||
        !(b->m_collisionFilterGroup & a->m_collisionFilterMask)) {
      return false;
    }
    const BodyRecord* ra = recordOf(static_cast<const btCollisionObject*>(a->m_clientObject));
    const BodyRecord* rb = recordOf(static_cast<const btCollisionObject*>(b->m_clientObject));
    if (!ra || !rb) return true;
    return ra->motion == kMotionDynamic || rb->motion == kMotionDynamic ||
           (ra->motion == kMotionKinematic && rb->sensor) ||
           (rb->motion == kMotionKinematic && ra->sensor);
  }
};

void applyGravity(World& w) {
  const Vec3 g = settings().gravity;
  const btVector3 vector(g.x, g.y, g.z);
  w.dynamics->setGravity(vector);
  // The world gives its gravity to awake bodies only; sleeping ones must have it too.
  for (BodyRecord& record : w.records) {
    if (record.id && record.motion == kMotionDynamic) record.body->setGravity(vector);
  }
}

bool isZero(const Vec3& v) {
  return v.x == 0 && v.y == 0 && v.z == 0;
}

// Kinematic bodies move by their velocity: their transform is advanced before the step, the
// interpolation transform left behind, so the step sees them move at that velocity.
void moveKinematicBodies(World& w) {
  for (const uint32_t id : w.kinematicIds) {
    BodyRecord* record = bodyRecord(id);
    if (!record || isZero(record->kinematicVelocity)) continue;
    const Vec3& v = record->kinematicVelocity;
    btTransform transform = record->body->getWorldTransform();
    transform.setOrigin(transform.getOrigin() + btVector3(v.x, v.y, v.z) * kStep);
    record->body->setWorldTransform(transform);
    record->body->activate(true);
  }
}

void capSpeeds(World& w) {
  auto& moving = w.dynamics->getNonStaticRigidBodies();
  for (int i = 0; i < moving.size(); ++i) {
    btRigidBody* body = moving[i];
    const btVector3 v = body->getLinearVelocity();
    const btScalar speed2 = v.length2();
    if (speed2 > kMaxLinearSpeed * kMaxLinearSpeed) {
      body->setLinearVelocity(v * (kMaxLinearSpeed / std::sqrt(speed2)));
    }
  }
}

void runStep(World& w) {
  moveKinematicBodies(w);
  w.dynamics->stepSimulation(kStep, 0);
  capSpeeds(w);
  collectContactEvents();
}

Vec3 toVec(const btVector3& v) {
  return {v.x(), v.y(), v.z()};
}
Quat toQuat(const btQuaternion& q) {
  return {q.x(), q.y(), q.z(), q.w()};
}

void capturePoses(World& w) {
  for (auto& [entity, entry] : w.bodies) {
    if (!entry.moves) continue;
    const BodyRecord* record = bodyRecord(entry.bodyId);
    if (!record) continue;
    const btTransform& transform = record->body->getWorldTransform();
    entry.prevPosition = entry.currPosition;
    entry.prevRotation = entry.currRotation;
    entry.currPosition = toVec(transform.getOrigin());
    // Bullet's own conversion costs a call and branches at every body of every frame.
    entry.currRotation = quaternionOf(transform.getBasis().transpose());
  }
}

double squaredDistance(const Vec3& a, const Vec3& b) {
  const double x = a.x - b.x, y = a.y - b.y, z = a.z - b.z;
  return x * x + y * y + z * z;
}

Vec3 lerp(const Vec3& a, const Vec3& b, double t) {
  return {static_cast<float>(a.x + (double(b.x) - a.x) * t),
          static_cast<float>(a.y + (double(b.y) - a.y) * t),
          static_cast<float>(a.z + (double(b.z) - a.z) * t)};
}

bool same(const Quat& a, const Quat& b) {
  return a.x == b.x && a.y == b.y && a.z == b.z && a.w == b.w;
}

// The poses are worked out first, the rotations that turned blended together, then all are
// written: the arithmetic runs in long stretches with no call in between.
void writeInterpolated(World& w, float alpha) {
  filament::TransformManager* transforms = transformsOrNull();
  if (!transforms) return;
  auto& poses = w.interpolatedPoses;
  poses.clear();
  w.turnedFrom.clear();
  w.turnedTo.clear();
  w.turnedAt.clear();
  for (const auto& [entity, entry] : w.bodies) {
    if (!entry.moves) continue;
    // A body at rest does not touch its entity.
    if (squaredDistance(entry.prevPosition, entry.currPosition) < 1e-8 &&
        dot(entry.prevRotation, entry.currRotation) > 0.999999f) {
      continue;
    }
    // A body that did not turn keeps its rotation as it is, already of unit length.
    if (!same(entry.prevRotation, entry.currRotation)) {
      w.turnedAt.push_back(poses.size());
      w.turnedFrom.push_back(entry.prevRotation);
      w.turnedTo.push_back(entry.currRotation);
    }
    poses.emplace_back(entity, Pose{lerp(entry.prevPosition, entry.currPosition, alpha),
                                    entry.currRotation, entry.scale});
  }
  w.turned.resize(w.turnedAt.size());
  slerpMany(w.turnedFrom.data(), w.turnedTo.data(), w.turned.size(), alpha, w.turned.data());
  for (size_t i = 0; i < w.turned.size(); ++i) poses[w.turnedAt[i]].second.rotation = w.turned[i];
  for (const auto& [entity, pose] : poses) writeWorldTransform(*transforms, entity, pose);
}

// Awake bodies that move, as they are now; a kinematic body counts while it has a velocity.
void writeActive(World& w) {
  auto& moving = w.dynamics->getNonStaticRigidBodies();
  for (int i = 0; i < moving.size(); ++i) {
    const BodyRecord* record = recordOf(moving[i]);
    if (!record) continue;
    const bool active = record->motion == kMotionKinematic ? !isZero(record->kinematicVelocity)
                                                           : moving[i]->isActive();
    if (!active) continue;
    const BodyEntry* entry = w.bodies.find(record->entity);
    const btTransform& transform = moving[i]->getWorldTransform();
    writeWorldTransform(record->entity,
                        {toVec(transform.getOrigin()), toQuat(transform.getRotation()),
                         entry ? entry->scale : Vec3{1, 1, 1}});
  }
}

}  // namespace

World* world() {
  return settings().world.get();
}

uint64_t worldGeneration() {
  return settings().generation;
}

Vec3 gravity() {
  return settings().gravity;
}

BodyRecord* bodyRecord(uint32_t id) {
  World* w = world();
  if (!w) return nullptr;
  const auto slot = w->ids.slotOf(id);
  return slot ? &w->records[*slot] : nullptr;
}

BodyRecord* recordOf(const btCollisionObject* object) {
  const int id = object ? object->getUserIndex() : -1;
  return id > 0 ? bodyRecord(static_cast<uint32_t>(id)) : nullptr;
}

}  // namespace physics

using namespace physics;

void physicsInit() {
  Settings& s = settings();
  if (s.world) return;
  gCalculateCombinedFrictionCallback = &combinedFriction;
  gCalculateCombinedRestitutionCallback = &combinedRestitution;
  gDeactivationTime = kSleepTime;
  auto w = std::make_unique<World>(s.maxBodies);
  w->configuration = new btDefaultCollisionConfiguration();
  w->dispatcher = new btCollisionDispatcher(w->configuration);
  w->broadphase = new btDbvtBroadphase();
  w->solver = new btSequentialImpulseConstraintSolver();
  w->pairFilter = new PairFilter();
  w->dynamics =
      new btDiscreteDynamicsWorld(w->dispatcher, w->broadphase, w->solver, w->configuration);
  w->dynamics->getSolverInfo().m_numIterations = kSolverIterations;
  w->dynamics->getPairCache()->setOverlapFilterCallback(w->pairFilter);
  s.world = std::move(w);
  ++s.generation;
  applyGravity(*s.world);
  installContactTracking();
}

void physicsShutdown() {
  Settings& s = settings();
  if (!s.world) return;
  destroyCharacters();
  World& w = *s.world;
  // Events of the bodies going now would name nothing.
  for (BodyRecord& record : w.records) {
    if (!record.id) continue;
    w.dynamics->removeRigidBody(record.body);
    delete record.body;
  }
  delete w.dynamics;
  delete w.pairFilter;
  delete w.solver;
  delete w.broadphase;
  delete w.dispatcher;
  delete w.configuration;
  s.world.reset();
  clearShapes();
  clearContactEvents();
  s.ticked = false;
  s.alpha = 0;
}

bool hasPhysicsWorld() {
  return world() != nullptr;
}

void physicsConfigure(uint32_t maxBodies, float gx, float gy, float gz) {
  Settings& s = settings();
  if (allFinite({gx, gy, gz})) {
    s.gravity = {gx, gy, gz};
  } else {
    logLine("[creator-gl] physicsConfigure: gravity must be finite; kept");
  }
  if (maxBodies != 0) {
    s.maxBodies = std::min(maxBodies, BodyIdTable::kMaxSlots);
    if (s.world && s.world->bodies.empty()) {
      physicsShutdown();
      physicsInit();
      return;
    }
  }
  if (s.world) applyGravity(*s.world);
}

void physicsStep(float dt) {
  Settings& s = settings();
  World* w = s.world.get();
  if (!w) return;
  if (w->optimizeBroadphase) {
    static_cast<btDbvtBroadphase*>(w->broadphase)->optimize();
    w->optimizeBroadphase = false;
  }
  if (std::isfinite(dt) && dt > 0) w->accumulator += dt;
  int steps = 0;
  while (w->accumulator >= kStep && steps < kMaxStepsPerFrame) {
    runStep(*w);
    w->accumulator -= kStep;
    ++steps;
  }
  if (steps == kMaxStepsPerFrame) w->accumulator = 0;
  s.ticked = steps > 0;
  s.alpha = w->accumulator / kStep;
  if (s.ticked) capturePoses(*w);
  updateCharacters(dt);
  deliverContactEvents();
}

void physicsSyncForRender() {
  Settings& s = settings();
  if (!s.world) return;
  if (s.interpolate) {
    writeInterpolated(*s.world, s.alpha);
  } else if (s.ticked) {
    writeActive(*s.world);
  }
}

void setPhysicsInterpolation(bool interpolate) {
  settings().interpolate = interpolate;
}

int creatorHasPhysics() {
  return 1;
}

bool physicsTicked() {
  return settings().ticked;
}

float physicsAlpha() {
  return settings().alpha;
}

}  // namespace talvero::scene3d
