#pragma once

// The characters' table and the steps of their update, shared by the character files only.
// Bullet's types are named here, never included.

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "scene3d/physics/physics_state.h"

class btVector3;

namespace talvero::scene3d::physics {

// How a character meets the world.
inline constexpr float kCharacterMass = 70;
inline constexpr float kCharacterMaxStrength = 100;  // newtons a character pushes with
inline constexpr float kPredictiveDistance = 0.1f;
inline constexpr float kCharacterPadding = 0.02f;
inline constexpr float kCollisionTolerance = 0.001f;
inline constexpr float kPenetrationRecoverySpeed = 1;
inline constexpr int kCollisionIterations = 5;
inline constexpr int kConstraintIterations = 15;
inline constexpr float kMinTimeRemaining = 0.0001f;
inline constexpr size_t kMaxContacts = 256;
inline constexpr float kContactMergeCosine = 0.999f;

// A body the character touches, or could within the predictive distance.
struct CharacterContact {
  uint32_t bodyId = 0;
  Vec3 position;              // on the body
  Vec3 normal;                // unit, from the body toward the character
  Vec3 velocity;              // of the body at `position`
  float distance = 0;         // gap less the padding: below 0 when closer than the padding
  bool hadCollision = false;  // the move ran into it, or it holds the character
};

struct CharacterRecord {
  uint32_t entity = 0;
  Vec3 scale{1, 1, 1};
  Quat rotation;
  Vec3 position;
  Vec3 velocity;
  float cosMaxSlope = 0;
  int32_t groundState = 3;
  uint32_t groundBody = 0;
  Vec3 groundPosition;
  Vec3 groundNormal;
  float lastDeltaTime = kStep;
  std::vector<CharacterContact> contacts;  // of the last move
  std::shared_ptr<btCollisionShape> shape;
  btCollisionObject* probe = nullptr;  // the shape's stand-in for queries, never in the world
};

btVector3 toBullet(const Vec3& v);
Vec3 toVec3(const btVector3& v);

// Characters by id, in id order so updates run in a fixed order.
std::map<uint32_t, CharacterRecord>& characters();

// The first blocking hit of a sweep, its fraction already shortened to keep the padding.
struct SweepHit {
  float fraction = 1;
  Vec3 normal;
};

// The bodies around the character's shape at `position`, nearest first, at most kMaxContacts.
std::vector<CharacterContact> gatherContacts(CharacterRecord& character, const btVector3& position);
// The first body the shape would meet moving by `displacement` from `from`; touching bodies
// at the start and bodies it moves away from are passed through.
std::optional<SweepHit> sweepCharacter(CharacterRecord& character, const btVector3& from,
                                       const btVector3& displacement);

bool isSlopeTooSteep(const CharacterRecord& character, const Vec3& normal);
bool isSupported(const CharacterRecord& character);

// Slides the shape from `position` by `velocity` for `dt` over the world, leaving the contacts
// met in `activeContacts` when given. Dynamic bodies in the way are pushed when `push`.
void moveShape(CharacterRecord& character, btVector3& position, const btVector3& velocity, float dt,
               std::vector<CharacterContact>* activeContacts, bool push);
// The move by the character's velocity, its ground state and its weight on what holds it.
void updateCharacter(CharacterRecord& character, float dt);
// The ground state from the contacts at the present position, every contact within the
// tolerance counting.
void refreshContacts(CharacterRecord& character);
// The move, then sticking to the floor and walking up steps.
void extendedUpdateCharacter(CharacterRecord& character, float dt);

}  // namespace talvero::scene3d::physics
