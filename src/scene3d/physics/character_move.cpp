// A character's move: the contacts around it become planes it may not cross, its velocity is
// bent along them, a sweep confirms the way, and what it ends up touching gives its ground
// state.
#include <btBulletDynamicsCommon.h>

#include <algorithm>
#include <cfloat>

#include "scene3d/physics/character.h"
#include "scene3d/physics/character_state.h"
#include "scene3d/physics/physics_world.h"

namespace talvero::scene3d::physics {

namespace {

const btVector3 kUp(0, 1, 0);
// Contacts within 85° of up count toward the ground's normal.
constexpr float kCosUpwardFacing = 0.08f;

struct Constraint {
  size_t contact = 0;  // index in the contacts
  btVector3 normal;
  float planeDistance = 0;
  btVector3 velocity;  // of the plane
  float projectedVelocity = 0;
  float toi = 0;
  bool steep = false;
};

float signedDistance(const Constraint& c, const btVector3& point) {
  return c.normal.dot(point) + c.planeDistance;
}

// Each contact is a plane at its distance; a slope too steep to climb also gets a vertical
// plane, so sliding along it never takes the character up. A contact closer than the padding
// pushes the character out within the step.
std::vector<Constraint> planesOf(const CharacterRecord& character,
                                 const std::vector<CharacterContact>& contacts, float dt) {
  std::vector<Constraint> constraints;
  constraints.reserve(contacts.size() * 2);
  for (size_t i = 0; i < contacts.size(); ++i) {
    const CharacterContact& contact = contacts[i];
    const btVector3 normal = toBullet(contact.normal);
    btVector3 velocity = toBullet(contact.velocity);
    if (contact.distance < 0) {
      velocity -= normal * (contact.distance * kPenetrationRecoverySpeed / dt);
    }
    Constraint plane{
        i, normal, contact.distance, velocity, 0, 0, isSlopeTooSteep(character, contact.normal)};
    constraints.push_back(plane);
    const float up = normal.dot(kUp);
    if (plane.steep && up > 1.0e-3f) {
      const btVector3 horizontal = (normal - up * kUp).normalized();
      constraints.push_back({i, horizontal, contact.distance / horizontal.dot(normal),
                             velocity.dot(horizontal) * horizontal, 0, 0, true});
    }
  }
  std::stable_sort(
      constraints.begin(), constraints.end(),
      [](const Constraint& a, const Constraint& b) { return a.planeDistance < b.planeDistance; });
  return constraints;
}

// Moves a dynamic body the character runs into: toward the character's speed along the
// normal, with no more than the character's strength, and never downward (its weight is
// added apart).
void pushBody(const CharacterContact& contact, const btVector3& velocity, float dt) {
  BodyRecord* record = bodyRecord(contact.bodyId);
  if (!record || record->motion != kMotionDynamic) return;
  constexpr float kDamping = 0.9f;
  constexpr float kPenetrationResolution = 0.4f;
  const btVector3 normal = toBullet(contact.normal);
  const float approach = (velocity - toBullet(contact.velocity)).dot(normal);
  const float deltaVelocity =
      -approach * kDamping - std::min(contact.distance, 0.0f) * kPenetrationResolution / dt;
  if (deltaVelocity < 0) return;
  btRigidBody* body = record->body;
  const btVector3 arm = toBullet(contact.position) - body->getCenterOfMassPosition();
  const btVector3 jacobian = arm.cross(normal);
  const float inverseEffectiveMass =
      (body->getInvInertiaTensorWorld() * jacobian).dot(jacobian) + body->getInvMass();
  if (inverseEffectiveMass <= 0) return;
  const float impulse = std::min(deltaVelocity / inverseEffectiveMass, kCharacterMaxStrength * dt);
  btVector3 worldImpulse = -impulse * normal;
  const float down = worldImpulse.dot(kUp);
  if (down < 0) worldImpulse -= down * kUp;
  body->applyImpulse(worldImpulse, arm);
  body->activate(true);
}

struct Solution {
  btVector3 displacement{0, 0, 0};
  float timeSimulated = 0;
};

// How far the velocity takes the character in `timeLeft` without crossing a plane: it slides
// along the first plane it meets, along the crease of two, and stops against a third.
Solution solveConstraints(std::vector<Constraint>& constraints,
                          std::vector<CharacterContact>& contacts, btVector3 velocity, float dt,
                          float timeLeft, bool push) {
  Solution out;
  if (constraints.empty()) {
    out.displacement = velocity * timeLeft;
    out.timeSimulated = timeLeft;
    return out;
  }
  std::vector<Constraint*> sorted;
  for (Constraint& c : constraints) sorted.push_back(&c);
  std::vector<Constraint*> previous;
  btVector3 lastVelocity = velocity;
  for (int iteration = 0; iteration < kConstraintIterations; ++iteration) {
    for (Constraint& c : constraints) {
      c.projectedVelocity = c.normal.dot(c.velocity - velocity);
      if (c.projectedVelocity < 1.0e-6f) {
        c.toi = FLT_MAX;
        continue;
      }
      const float distance = signedDistance(c, out.displacement);
      // Too little penetration by the end of the step to bother with.
      c.toi = distance - c.projectedVelocity * timeLeft > -1.0e-4f
                  ? FLT_MAX
                  : std::max(0.0f, distance / c.projectedVelocity);
    }
    std::stable_sort(sorted.begin(), sorted.end(), [&](const Constraint* a, const Constraint* b) {
      // Of planes met at once, the one pushing furthest first.
      if (a->toi <= 0 && b->toi <= 0) {
        return signedDistance(*a, out.displacement) < signedDistance(*b, out.displacement);
      }
      return a->toi < b->toi;
    });
    Constraint* hit = sorted.front()->toi < timeLeft ? sorted.front() : nullptr;
    if (!hit) {
      out.displacement += velocity * timeLeft;
      out.timeSimulated += timeLeft;
      return out;
    }
    CharacterContact& contact = contacts[hit->contact];
    if (!contact.hadCollision) {
      contact.hadCollision = true;
      if (push) pushBody(contact, velocity, dt);
    }
    out.displacement += velocity * hit->toi;
    timeLeft -= hit->toi;
    out.timeSimulated += hit->toi;
    if (timeLeft < kMinTimeRemaining) return out;
    if (hit->toi > 1.0e-4f) previous.clear();

    const btVector3 normal = hit->normal;
    if (hit->steep) {
      // Velocity into the slope goes first, or it would slide up it a little.
      const btVector3 vertical = normal - normal.dot(kUp) * kUp;
      const float into = (velocity - hit->velocity).dot(vertical);
      if (vertical.length2() > 0 && into < 0) {
        velocity -= into * vertical / vertical.length2();
      }
    }
    btVector3 newVelocity = velocity - (velocity - hit->velocity).dot(normal) * normal;

    // The earlier plane this direction would cross most: then slide along their crease.
    Constraint* other = nullptr;
    float deepest = 0;
    for (Constraint* c : previous) {
      if (c == hit) continue;
      const float penetration = (c->velocity - newVelocity).dot(c->normal);
      const float cosine = c->normal.dot(normal);
      if (penetration > deepest && cosine < 0.984f && cosine > -0.984f) {
        deepest = penetration;
        other = c;
      }
    }
    if (other) {
      const btVector3 slide = normal.cross(other->normal).normalized();
      const btVector3 along = newVelocity.dot(slide) * slide;
      hit->velocity -= std::min(0.0f, hit->velocity.dot(other->normal)) * other->normal;
      other->velocity -= std::min(0.0f, other->velocity.dot(normal)) * normal;
      newVelocity = along + (hit->velocity - hit->velocity.dot(slide) * slide) +
                    (other->velocity - other->velocity.dot(slide) * slide);
    }
    velocity = newVelocity;
    previous.push_back(hit);
    if (hit->projectedVelocity < 1.0e-8f && velocity.length2() < 1.0e-8f) return out;
    // A plane that does not move cannot turn the character back the way it came.
    if (!hit->velocity.fuzzyZero()) {
      lastVelocity = hit->velocity;
    } else if (velocity.dot(lastVelocity) < 0) {
      return out;
    }
  }
  return out;
}

float dot(const Vec3& a, const btVector3& b) {
  return a.x * b.x() + a.y * b.y() + a.z * b.z();
}

// A contact within the tolerance that the character is not leaving holds it too.
void markTouching(CharacterRecord& character, bool anyVelocity) {
  const btVector3 velocity = toBullet(character.velocity);
  for (CharacterContact& c : character.contacts) {
    if (c.hadCollision || c.distance >= kCollisionTolerance) continue;
    if (anyVelocity || dot(c.normal, velocity - toBullet(c.velocity)) <= 1.0e-4f) {
      c.hadCollision = true;
    }
  }
}

// Whether steep contacts alone hold the character: a step straight down goes nowhere.
bool heldBySteepContacts(CharacterRecord& character) {
  std::vector<CharacterContact> touching;
  for (const CharacterContact& c : character.contacts) {
    if (c.hadCollision) touching.push_back(c);
  }
  std::vector<Constraint> constraints = planesOf(character, touching, character.lastDeltaTime);
  const Solution fall = solveConstraints(constraints, touching, -kUp, 1, 1, false);
  const float required = 0.6f * character.lastDeltaTime;
  return fall.timeSimulated < 0.001f || fall.displacement.length2() < required * required;
}

void updateGroundState(CharacterRecord& character, bool anyVelocity) {
  markTouching(character, anyVelocity);
  const CharacterContact* best = nullptr;  // the most upward, walkable or not
  const CharacterContact* deepest = nullptr;
  bool walkable = false, upwardSteep = false;
  // The ground's normal is the mean of every contact's that faces up at all: a floor alone
  // reads as flat whatever the last bits of its normal say, and a step's edge beside it tilts
  // the mean toward the step, the way up.
  btVector3 normalSum(0, 0, 0);
  for (const CharacterContact& c : character.contacts) {
    if (!c.hadCollision) continue;
    if (!deepest || c.distance < deepest->distance) deepest = &c;
    if (!best || c.normal.y > best->normal.y) best = &c;
    if (c.normal.y >= kCosUpwardFacing) normalSum += toBullet(c.normal);
    if (!isSlopeTooSteep(character, c.normal)) {
      walkable = true;
    } else if (c.normal.y > 1.0e-3f) {
      upwardSteep = true;
    }
  }
  character.groundBody = best ? best->bodyId : 0;
  character.groundPosition = best ? best->position : Vec3{};
  character.groundNormal = !normalSum.fuzzyZero() ? toVec3(normalSum.normalized())
                           : best                 ? best->normal
                                                  : Vec3{};
  if (walkable) {
    character.groundState = kOnGround;
  } else if (upwardSteep &&
             (toBullet(character.velocity) - toBullet(deepest->velocity)).dot(kUp) <= 1.0e-4f) {
    character.groundState = heldBySteepContacts(character) ? kOnGround : kOnSteepGround;
  } else {
    character.groundState = best ? kNotSupported : kInAir;
  }
}

}  // namespace

bool isSlopeTooSteep(const CharacterRecord& character, const Vec3& normal) {
  return normal.y < character.cosMaxSlope;
}

bool isSupported(const CharacterRecord& character) {
  return character.groundState == kOnGround || character.groundState == kOnSteepGround;
}

void moveShape(CharacterRecord& character, btVector3& position, const btVector3& velocity, float dt,
               std::vector<CharacterContact>* activeContacts, bool push) {
  float timeLeft = dt;
  for (int iteration = 0; iteration < kCollisionIterations && timeLeft >= kMinTimeRemaining;
       ++iteration) {
    std::vector<CharacterContact> contacts = gatherContacts(character, position);
    std::vector<Constraint> constraints = planesOf(character, contacts, character.lastDeltaTime);
    Solution step = solveConstraints(constraints, contacts, velocity, dt, timeLeft, push);
    if (activeContacts) *activeContacts = contacts;
    if (const auto hit = sweepCharacter(character, position, step.displacement)) {
      step.displacement *= hit->fraction;
      step.timeSimulated *= hit->fraction;
    }
    position += step.displacement;
    timeLeft -= step.timeSimulated;
    if (step.displacement.length2() < 1.0e-8f) break;
  }
}

void updateCharacter(CharacterRecord& character, float dt) {
  character.lastDeltaTime = dt;
  btVector3 position = toBullet(character.position);
  moveShape(character, position, toBullet(character.velocity), dt, &character.contacts, true);
  character.position = toVec3(position);
  updateGroundState(character, false);

  // What holds the character bears its weight.
  BodyRecord* ground = bodyRecord(character.groundBody);
  if (!ground || ground->motion != kMotionDynamic) return;
  const btVector3 g = toBullet(gravity());
  const float normalDotGravity = toBullet(character.groundNormal).dot(g);
  if (normalDotGravity >= 0 || g.length2() == 0) return;
  const btVector3 impulse = -(kCharacterMass * normalDotGravity / g.length() * dt) * g;
  ground->body->applyImpulse(
      impulse, toBullet(character.groundPosition) - ground->body->getCenterOfMassPosition());
  ground->body->activate(true);
}

void refreshContacts(CharacterRecord& character) {
  character.contacts = gatherContacts(character, toBullet(character.position));
  updateGroundState(character, true);
}

}  // namespace talvero::scene3d::physics
