#include <btBulletDynamicsCommon.h>

#include <algorithm>
#include <cmath>
#include <string>

#include "scene3d/physics/physics_state.h"
#include "scene3d/physics/physics_world.h"
#include "scene3d/report.h"

namespace talvero::scene3d {

using namespace physics;

namespace {

constexpr float kFriction = 0.2f;
constexpr float kDamping = 0.05f;
// Speeds below which a body counts as at rest and may fall asleep.
constexpr float kSleepLinearSpeed = 0.05f;
constexpr float kSleepAngularSpeed = 0.05f;

// The record of a live body, or one "unknown body" line for the row and id.
BodyRecord* liveBody(const char* row, uint32_t id) {
  if (!world()) return nullptr;
  BodyRecord* record = bodyRecord(id);
  if (!record) reportOnce(row, id, "unknown body " + std::to_string(id));
  return record;
}

btRigidBody* newBody(const Shape& shape, int motion, float mass, const Pose& pose) {
  btScalar bodyMass = 0;
  btVector3 inertia(0, 0, 0);
  if (motion == kMotionDynamic) {
    const MassProperties properties = solidMassProperties(shape.size, mass);
    bodyMass = static_cast<btScalar>(properties.mass);
    inertia = btVector3(static_cast<btScalar>(properties.inertia[0]),
                        static_cast<btScalar>(properties.inertia[1]),
                        static_cast<btScalar>(properties.inertia[2]));
  }
  btRigidBody::btRigidBodyConstructionInfo info(bodyMass, nullptr, shape.shape.get(), inertia);
  info.m_startWorldTransform =
      btTransform(btQuaternion(pose.rotation.x, pose.rotation.y, pose.rotation.z, pose.rotation.w),
                  btVector3(pose.position.x, pose.position.y, pose.position.z));
  info.m_friction = kFriction;
  info.m_restitution = 0;
  info.m_linearDamping = kDamping;
  info.m_angularDamping = kDamping;
  info.m_linearSleepingThreshold = kSleepLinearSpeed;
  info.m_angularSleepingThreshold = kSleepAngularSpeed;
  auto* body = new btRigidBody(info);
  if (motion == kMotionKinematic) {
    body->setCollisionFlags((body->getCollisionFlags() & ~btCollisionObject::CF_STATIC_OBJECT) |
                            btCollisionObject::CF_KINEMATIC_OBJECT);
  }
  return body;
}

uint32_t createBodyWithShape(const char* row, uint32_t entity, const Shape& shape, int motion,
                             float mass, bool sensor, bool queryOnly) {
  if (motion < kMotionStatic || motion > kMotionDynamic) {
    reportOnce(row, motion, "motion type " + std::to_string(motion) + " is not 0, 1 or 2");
    return 0;
  }
  if (!std::isfinite(mass)) {
    reportOnce(row, entity, "mass must be finite");
    return 0;
  }
  physicsInit();
  World* w = world();
  if (!w) return 0;
  const uint32_t id = w->ids.allocate();
  if (id == 0) {
    reportOnce("physics", w->ids.capacity(),
               "body limit " + std::to_string(w->ids.capacity()) + " reached");
    return 0;
  }
  if (queryOnly) motion = kMotionStatic;
  const Pose pose = entityPose(entity);
  if (!finitePose(pose)) {
    w->ids.release(id);
    reportOnce(row, entity, "entity " + std::to_string(entity) + " has a pose that is not finite");
    return 0;
  }
  const uint32_t slot = *w->ids.slotOf(id);
  if (slot >= w->records.size()) w->records.resize(slot + 1);
  BodyRecord& record = w->records[slot];
  record = BodyRecord{};
  record.id = id;
  record.entity = entity;
  record.motion = motion;
  record.sensor = sensor;
  record.queryOnly = queryOnly;
  record.body = newBody(shape, motion, mass, pose);
  record.shape = shape;
  btRigidBody* body = record.body;
  body->setUserIndex(static_cast<int>(id));
  if (sensor) {
    body->setCollisionFlags(body->getCollisionFlags() | btCollisionObject::CF_NO_CONTACT_RESPONSE);
  }
  const int group = queryOnly                 ? kGroupQueryOnly
                    : motion == kMotionStatic ? kGroupStatic
                                              : kGroupMoving;
  const int mask = queryOnly                 ? 0
                   : motion == kMotionStatic ? kGroupMoving
                                             : kGroupStatic | kGroupMoving;
  w->dynamics->addRigidBody(body, group, mask);
  if (motion == kMotionKinematic) w->kinematicIds.push_back(id);
  BodyEntry& entry = w->bodies[entity];
  entry = BodyEntry{id,
                    pose.scale,
                    motion != kMotionStatic,
                    pose.position,
                    pose.position,
                    pose.rotation,
                    pose.rotation};
  w->optimizeBroadphase = true;
  return id;
}

uint32_t createWithTemporaryShape(const char* row, uint32_t entity, const PhysicsShapeSize& size,
                                  int motion, float mass) {
  const auto shape = makeShape(row, size);
  return shape ? createBodyWithShape(row, entity, *shape, motion, mass, false, false) : 0;
}

}  // namespace

uint32_t physicsCreateBody(uint32_t entity, uint32_t shape, int motionType, float mass, bool sensor,
                           bool queryOnly) {
  const Shape* found = shapeById(shape);
  if (!found) {
    reportOnce("physicsCreateBody", shape, "unknown shape " + std::to_string(shape));
    return 0;
  }
  // A copy: the body keeps the shape even if the table lets it go.
  const Shape kept = *found;
  return createBodyWithShape("physicsCreateBody", entity, kept, motionType, mass, sensor,
                             queryOnly);
}

uint32_t physicsCreateBox(uint32_t entity, float halfX, float halfY, float halfZ, int motionType,
                          float mass) {
  return createWithTemporaryShape(
      "physicsCreateBox", entity,
      {.kind = PhysicsShapeKind::box, .halfX = halfX, .halfY = halfY, .halfZ = halfZ}, motionType,
      mass);
}

uint32_t physicsCreateSphere(uint32_t entity, float radius, int motionType, float mass) {
  return createWithTemporaryShape("physicsCreateSphere", entity,
                                  {.kind = PhysicsShapeKind::sphere, .radius = radius}, motionType,
                                  mass);
}

uint32_t physicsCreateCylinder(uint32_t entity, float halfHeight, float radius, int motionType,
                               float mass) {
  return createWithTemporaryShape(
      "physicsCreateCylinder", entity,
      {.kind = PhysicsShapeKind::cylinder, .radius = radius, .halfHeight = halfHeight}, motionType,
      mass);
}

void physicsSetPickable(uint32_t body, bool pickable) {
  if (BodyRecord* record = liveBody("physicsSetPickable", body)) record->pickable = pickable;
}

void physicsSetLinearVelocity(uint32_t body, float x, float y, float z) {
  BodyRecord* record = liveBody("physicsSetLinearVelocity", body);
  if (!record) return;
  if (!allFinite({x, y, z})) {
    reportOnce("physicsSetLinearVelocity", body, "velocity must be finite");
    return;
  }
  if (record->motion == kMotionStatic) return;  // a static body keeps still
  btVector3 velocity(x, y, z);
  const btScalar speed2 = velocity.length2();
  if (speed2 > kMaxLinearSpeed * kMaxLinearSpeed) {
    velocity *= kMaxLinearSpeed / std::sqrt(speed2);
  }
  if (record->motion == kMotionKinematic) {
    record->kinematicVelocity = {velocity.x(), velocity.y(), velocity.z()};
  } else {
    record->body->setLinearVelocity(velocity);
  }
  // Stopping a body does not wake it.
  if (speed2 > 0) record->body->activate(true);
}

void physicsGetLinearVelocity(uint32_t body, float* out3) {
  out3[0] = out3[1] = out3[2] = 0;
  BodyRecord* record = liveBody("physicsGetLinearVelocity", body);
  if (!record) return;
  if (record->motion == kMotionKinematic) {
    out3[0] = record->kinematicVelocity.x;
    out3[1] = record->kinematicVelocity.y;
    out3[2] = record->kinematicVelocity.z;
  } else if (record->motion == kMotionDynamic) {
    const btVector3& v = record->body->getLinearVelocity();
    out3[0] = v.x();
    out3[1] = v.y();
    out3[2] = v.z();
  }
}

void physicsApplyImpulse(uint32_t body, float x, float y, float z) {
  BodyRecord* record = liveBody("physicsApplyImpulse", body);
  if (!record || record->motion != kMotionDynamic) return;
  if (!allFinite({x, y, z})) {
    reportOnce("physicsApplyImpulse", body, "impulse must be finite");
    return;
  }
  record->body->applyCentralImpulse(btVector3(x, y, z));
  record->body->activate(true);
}

void physicsSetBodyPosition(uint32_t body, float x, float y, float z) {
  BodyRecord* record = liveBody("physicsSetBodyPosition", body);
  if (!record) return;
  if (!allFinite({x, y, z})) {
    reportOnce("physicsSetBodyPosition", body, "position must be finite");
    return;
  }
  btRigidBody* rigid = record->body;
  btTransform transform = rigid->getWorldTransform();
  transform.setOrigin(btVector3(x, y, z));
  // Both transforms, so the move is a teleport and no velocity comes of it.
  rigid->setWorldTransform(transform);
  rigid->setInterpolationWorldTransform(transform);
  world()->dynamics->updateSingleAabb(rigid);
  if (record->motion != kMotionStatic) rigid->activate(true);
}

void physicsRemoveBody(uint32_t body) {
  BodyRecord* record = liveBody("physicsRemoveBody", body);
  if (!record) return;
  World* w = world();
  // Removing ends the body's contacts while its record still names it.
  w->dynamics->removeRigidBody(record->body);
  delete record->body;
  w->bodies.erase(record->entity);
  std::erase(w->kinematicIds, body);
  *record = BodyRecord{};
  w->ids.release(body);
}

}  // namespace talvero::scene3d
