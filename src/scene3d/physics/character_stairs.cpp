// After its move, a character held up by the ground keeps to it: it is put back on a floor it
// has just left by a small drop or a slope, and lifted onto a step too steep to slide up.
#include <btBulletDynamicsCommon.h>

#include <algorithm>

#include "scene3d/physics/character_state.h"

namespace talvero::scene3d::physics {

namespace {

const btVector3 kUp(0, 1, 0);
const btVector3 kStickToFloorStepDown(0, -0.5f, 0);
const btVector3 kStairsStepUp(0, 0.4f, 0);
constexpr float kMinStepForward = 0.02f;
constexpr float kStepForwardTest = 0.15f;
// How far from the way forward the slope under the character may turn before the floor beyond
// a step is looked for straight ahead instead: 75°.
constexpr float kCosAngleForwardContact = 0.258819f;
constexpr float kFlatGroundLean = 1.0e-3f;

btVector3 horizontal(const btVector3& v) {
  return v - v.dot(kUp) * kUp;
}

void stickToFloor(CharacterRecord& character) {
  const btVector3 from = toBullet(character.position);
  const auto floor = sweepCharacter(character, from, kStickToFloorStepDown);
  if (!floor) return;
  character.position = toVec3(from + kStickToFloorStepDown * floor->fraction);
  refreshContacts(character);
}

// Pushing into a contact too steep to walk while held up.
bool canWalkStairs(const CharacterRecord& character, const btVector3& velocity) {
  if (!isSupported(character)) return false;
  const btVector3 flat = horizontal(velocity);
  if (flat.fuzzyZero()) return false;
  return std::any_of(
      character.contacts.begin(), character.contacts.end(), [&](const CharacterContact& c) {
        return c.hadCollision && toBullet(c.normal).dot(flat - toBullet(c.velocity)) < 0 &&
               isSlopeTooSteep(character, c.normal);
      });
}

// Up, forward, then down onto the step. A landing too steep to stand on is accepted only when
// the floor a little further on is walkable: a short step forward may end on the step's edge.
bool walkStairs(CharacterRecord& character, float dt, const btVector3& stepForward,
                const btVector3& stepForwardTest) {
  const btVector3 start = toBullet(character.position);
  btVector3 up = kStairsStepUp;
  if (const auto ceiling = sweepCharacter(character, start, up)) {
    if (ceiling->fraction < 1.0e-6f) return false;
    up *= ceiling->fraction;
  }
  const btVector3 upPosition = start + up;

  btVector3 forward = upPosition;
  moveShape(character, forward, stepForward / dt, dt, nullptr, false);
  const float moved2 = (forward - upPosition).length2();
  if (moved2 < 1.0e-8f) return false;

  const btVector3 down = -up;
  const auto landing = sweepCharacter(character, forward, down);
  if (!landing) return false;
  if (isSlopeTooSteep(character, landing->normal)) {
    btVector3 further = upPosition;
    moveShape(character, further, stepForwardTest / dt, dt, nullptr, false);
    if ((further - upPosition).length2() <= moved2 + 1.0e-8f) return false;
    const auto testLanding = sweepCharacter(character, further, down);
    if (!testLanding || isSlopeTooSteep(character, testLanding->normal)) return false;
  }
  character.position = toVec3(forward + down * landing->fraction);
  refreshContacts(character);
  return true;
}

void climbIfBlocked(CharacterRecord& character, float dt, const btVector3& velocity,
                    const btVector3& start) {
  const btVector3 desired = horizontal(velocity * dt);
  const float desiredLength = desired.length();
  if (desiredLength <= 0) return;
  const btVector3 direction = desired / desiredLength;
  // Only headway counts: sliding sideways down a slope is no progress up a step.
  const float achieved =
      std::max(0.0f, horizontal(toBullet(character.position) - start).dot(direction));
  if (achieved + 1.0e-4f >= desiredLength || !canWalkStairs(character, velocity)) return;
  const btVector3 stepForward = direction * std::max(kMinStepForward, desiredLength - achieved);
  // The floor further on is looked for up the slope the character stands on. Ground flat to
  // within a few hundredths of a degree has no way up: what its normal leans by is rounding.
  btVector3 test = horizontal(-toBullet(character.groundNormal));
  test = test.length2() < kFlatGroundLean * kFlatGroundLean ? direction : test.normalized();
  if (test.dot(direction) < kCosAngleForwardContact) test = direction;
  walkStairs(character, dt, stepForward, test * kStepForwardTest);
}

}  // namespace

void extendedUpdateCharacter(CharacterRecord& character, float dt) {
  const btVector3 velocity = toBullet(character.velocity);
  const btVector3 start = toBullet(character.position);
  const bool wasSupported = isSupported(character);
  updateCharacter(character, dt);
  if (wasSupported && !isSupported(character)) {
    const float rise = (toBullet(character.position) - start).dot(kUp) / dt;
    if (rise <= 1.0e-6f) stickToFloor(character);
  }
  climbIfBlocked(character, dt, velocity, start);
}

}  // namespace talvero::scene3d::physics
