// What a character's shape meets: the bodies near it and the first one on its way. The shape
// is queried through a collision object of its own that is never added to the world, so
// bodies, rays and other characters never see it.
#include <btBulletDynamicsCommon.h>

#include <algorithm>
#include <cmath>

#include "scene3d/physics/character_state.h"
#include "scene3d/physics/physics_world.h"

namespace talvero::scene3d::physics {

namespace {

// Static and moving bodies stop a character; sensors and query-only bodies do not.
const BodyRecord* blockingBody(const btCollisionObject* object) {
  const BodyRecord* record = recordOf(object);
  return record && !record->sensor && !record->queryOnly ? record : nullptr;
}

btVector3 surfaceVelocity(const BodyRecord& record, const btVector3& point) {
  switch (record.motion) {
    case kMotionKinematic:
      return toBullet(record.kinematicVelocity);
    case kMotionDynamic:
      return record.body->getVelocityInLocalPoint(point - record.body->getCenterOfMassPosition());
    default:
      return btVector3(0, 0, 0);
  }
}

void placeProbe(CharacterRecord& character, const btVector3& position) {
  const Quat& q = character.rotation;
  character.probe->setWorldTransform(btTransform(btQuaternion(q.x, q.y, q.z, q.w), position));
}

// The deepest point between the probe and one body, within the predictive distance.
struct ClosestPoint : btCollisionWorld::ContactResultCallback {
  explicit ClosestPoint(const btCollisionObject* probeObject) : probe(probeObject) {
    m_closestDistanceThreshold = kPredictiveDistance;
  }
  btScalar addSingleResult(btManifoldPoint& point, const btCollisionObjectWrapper* first, int, int,
                           const btCollisionObjectWrapper*, int, int) override {
    if (found && point.getDistance() >= distance) return 0;
    // The normal points toward the first object of the point.
    const bool probeFirst = first->getCollisionObject() == probe;
    normal = probeFirst ? point.m_normalWorldOnB : -point.m_normalWorldOnB;
    position = probeFirst ? point.m_positionWorldOnB : point.m_positionWorldOnA;
    distance = point.getDistance();
    found = true;
    return 0;
  }
  const btCollisionObject* probe;
  bool found = false;
  btVector3 normal, position;
  btScalar distance = 0;
};

struct NearbyBodies : btBroadphaseAabbCallback {
  NearbyBodies(World& w, btCollisionObject* probeObject) : world(w), probe(probeObject) {}
  bool process(const btBroadphaseProxy* proxy) override {
    auto* object = static_cast<btCollisionObject*>(proxy->m_clientObject);
    const BodyRecord* record = blockingBody(object);
    if (!record) return true;
    ClosestPoint closest(probe);
    world.dynamics->contactPairTest(probe, object, closest);
    if (!closest.found || closest.distance > kPredictiveDistance) return true;
    const btVector3 normal =
        closest.normal.length2() > 0 ? closest.normal.normalized() : btVector3(0, 1, 0);
    contacts.push_back({record->id, toVec3(closest.position), toVec3(normal),
                        toVec3(surfaceVelocity(*record, closest.position)),
                        closest.distance - kCharacterPadding, false});
    return true;
  }
  World& world;
  btCollisionObject* probe;
  std::vector<CharacterContact> contacts;
};

float dot(const Vec3& a, const Vec3& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

// Of the contacts of one body whose normals agree, only the deepest is kept.
void mergeAlikeContacts(std::vector<CharacterContact>& contacts) {
  std::vector<CharacterContact> kept;
  for (const CharacterContact& contact : contacts) {
    auto alike = std::find_if(kept.begin(), kept.end(), [&](const CharacterContact& other) {
      return other.bodyId == contact.bodyId &&
             dot(other.normal, contact.normal) > kContactMergeCosine;
    });
    if (alike == kept.end()) {
      kept.push_back(contact);
    } else if (contact.distance < alike->distance) {
      *alike = contact;
    }
  }
  contacts = std::move(kept);
}

struct FirstBlockingHit : btCollisionWorld::ClosestConvexResultCallback {
  FirstBlockingHit(const btVector3& from, const btVector3& move)
      : ClosestConvexResultCallback(from, from + move), displacement(move) {}
  bool needsCollision(btBroadphaseProxy* proxy) const override {
    return blockingBody(static_cast<const btCollisionObject*>(proxy->m_clientObject));
  }
  btScalar addSingleResult(btCollisionWorld::LocalConvexResult& result,
                           bool normalInWorldSpace) override {
    const btVector3 normal =
        normalInWorldSpace
            ? result.m_hitNormalLocal
            : result.m_hitCollisionObject->getWorldTransform().getBasis() * result.m_hitNormalLocal;
    // A body touched at the start is the contacts' business, and one moved away from is no
    // obstacle.
    if (result.m_hitFraction <= 0 || normal.dot(displacement) >= 0) return m_closestHitFraction;
    return ClosestConvexResultCallback::addSingleResult(result, normalInWorldSpace);
  }
  btVector3 displacement;
};

}  // namespace

btVector3 toBullet(const Vec3& v) {
  return btVector3(v.x, v.y, v.z);
}

Vec3 toVec3(const btVector3& v) {
  return {v.x(), v.y(), v.z()};
}

std::vector<CharacterContact> gatherContacts(CharacterRecord& character,
                                             const btVector3& position) {
  World* w = world();
  if (!w) return {};
  placeProbe(character, position);
  btVector3 low, high;
  character.shape->getAabb(character.probe->getWorldTransform(), low, high);
  const btVector3 reach(kPredictiveDistance, kPredictiveDistance, kPredictiveDistance);
  NearbyBodies nearby(*w, character.probe);
  w->broadphase->aabbTest(low - reach, high + reach, nearby);
  std::vector<CharacterContact>& contacts = nearby.contacts;
  mergeAlikeContacts(contacts);
  std::stable_sort(
      contacts.begin(), contacts.end(),
      [](const CharacterContact& a, const CharacterContact& b) { return a.distance < b.distance; });
  if (contacts.size() > kMaxContacts) contacts.resize(kMaxContacts);
  return std::move(contacts);
}

std::optional<SweepHit> sweepCharacter(CharacterRecord& character, const btVector3& from,
                                       const btVector3& displacement) {
  World* w = world();
  if (!w || displacement.length2() == 0) return std::nullopt;
  const Quat& q = character.rotation;
  const btQuaternion rotation(q.x, q.y, q.z, q.w);
  // The sweep reaches the padding past the end: a body the shape would end up closer to than
  // the padding stops it short, and a step down onto a floor just that far below finds it.
  const float reach = 1 + kCharacterPadding / displacement.length();
  FirstBlockingHit hit(from, displacement);
  w->dynamics->convexSweepTest(static_cast<const btConvexShape*>(character.shape.get()),
                               btTransform(rotation, from),
                               btTransform(rotation, from + displacement * reach), hit);
  if (!hit.hasHit()) return std::nullopt;
  btVector3 normal = hit.m_hitNormalWorld.normalized();
  // Back along the way until the padding is kept along the normal. Bullet's sweeps stop a
  // little short of the surface, and a curved one falls away faster than its normal says, so
  // the gap is measured and the fraction corrected until it is the padding.
  float fraction = hit.m_closestHitFraction * reach;
  btScalar gap = 0;
  for (int attempt = 0; attempt < 4; ++attempt) {
    fraction = std::max(0.0f, fraction + (kCharacterPadding - gap) / normal.dot(displacement));
    placeProbe(character, from + displacement * fraction);
    ClosestPoint closest(character.probe);
    w->dynamics->contactPairTest(character.probe,
                                 const_cast<btCollisionObject*>(hit.m_hitCollisionObject), closest);
    if (!closest.found || closest.normal.dot(displacement) >= 0) break;
    gap = closest.distance;
    normal = closest.normal.normalized();
    if (std::fabs(gap - kCharacterPadding) < 1.0e-4f) break;
  }
  // Only the padding's worth past the end was met, and no closer than the padding: no hit.
  if (fraction >= 1) return std::nullopt;
  return SweepHit{fraction, toVec3(normal)};
}

}  // namespace talvero::scene3d::physics
