#pragma once

// The physics world's tables, shared by the files of src/scene3d/physics only. Bullet's types
// are named here, never included: its headers stay in those files' sources.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <initializer_list>
#include <memory>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

#include "scene3d/physics/body_ids.h"
#include "scene3d/physics/shape_rules.h"

class btBroadphaseInterface;
class btCollisionConfiguration;
class btCollisionDispatcher;
class btCollisionObject;
class btCollisionShape;
class btConstraintSolver;
class btDiscreteDynamicsWorld;
class btRigidBody;
struct btOverlapFilterCallback;
namespace filament {
class TransformManager;
}

namespace talvero::scene3d::physics {

// Collision groups: static bodies meet moving ones, moving bodies meet both, query-only
// bodies meet nothing (rays still find them).
inline constexpr int kGroupStatic = 1;
inline constexpr int kGroupMoving = 2;
inline constexpr int kGroupQueryOnly = 4;

// The fixed step.
inline constexpr float kStep = 1.0f / 60.0f;
// No body goes faster.
inline constexpr float kMaxLinearSpeed = 500;

struct Vec3 {
  float x = 0, y = 0, z = 0;
};
struct Quat {
  float x = 0, y = 0, z = 0, w = 1;
};

// An entity's world matrix split into its parts.
struct Pose {
  Vec3 position;
  Quat rotation;
  Vec3 scale{1, 1, 1};
};

struct Shape {
  std::shared_ptr<btCollisionShape> shape;
  PhysicsShapeSize size;
};

struct BodyRecord {
  uint32_t id = 0;  // 0: the slot is free
  uint32_t entity = 0;
  int motion = 0;
  bool sensor = false;
  bool queryOnly = false;
  bool pickable = true;
  Vec3 kinematicVelocity;  // what moves a kinematic body
  btRigidBody* body = nullptr;
  Shape shape;
};

// The interpolated poses of an entity's body.
struct BodyEntry {
  uint32_t bodyId = 0;
  Vec3 scale{1, 1, 1};
  bool moves = false;
  Vec3 prevPosition, currPosition;
  Quat prevRotation, currRotation;
};

// The entries by entity, kept in an array so the passes once a frame walk memory in order.
class BodyEntries {
 public:
  struct Item {
    uint32_t entity;
    BodyEntry entry;
  };
  BodyEntry* find(uint32_t entity) {
    const auto found = index_.find(entity);
    return found == index_.end() ? nullptr : &items_[found->second].entry;
  }
  // The entity's entry, made when it has none.
  BodyEntry& operator[](uint32_t entity) {
    const auto [found, made] = index_.try_emplace(entity, static_cast<uint32_t>(items_.size()));
    if (made) items_.push_back({entity, {}});
    return items_[found->second].entry;
  }
  void erase(uint32_t entity) {
    const auto found = index_.find(entity);
    if (found == index_.end()) return;
    const uint32_t at = found->second;
    index_.erase(found);
    if (at + 1 != items_.size()) {
      items_[at] = items_.back();
      index_[items_[at].entity] = at;
    }
    items_.pop_back();
  }
  bool empty() const { return items_.empty(); }
  std::vector<Item>::iterator begin() { return items_.begin(); }
  std::vector<Item>::iterator end() { return items_.end(); }

 private:
  std::vector<Item> items_;
  std::unordered_map<uint32_t, uint32_t> index_;  // entity → place in items_
};

struct World {
  explicit World(uint32_t maxBodies) : ids(maxBodies) {}
  btCollisionConfiguration* configuration = nullptr;
  btCollisionDispatcher* dispatcher = nullptr;
  btBroadphaseInterface* broadphase = nullptr;
  btConstraintSolver* solver = nullptr;
  btOverlapFilterCallback* pairFilter = nullptr;
  btDiscreteDynamicsWorld* dynamics = nullptr;
  BodyIdTable ids;
  // By slot, grown as slots are first used (a large maximum costs nothing until it is
  // reached); a deque, so a record stays where it is while others are added.
  std::deque<BodyRecord> records;
  BodyEntries bodies;
  std::vector<uint32_t> kinematicIds;  // kinematic bodies, moved by their velocity
  // A frame's interpolation, kept for its memory: the poses, and the rotations that turned,
  // blended together, with the places of their poses.
  std::vector<std::pair<uint32_t, Pose>> interpolatedPoses;
  std::vector<Quat> turnedFrom, turnedTo, turned;
  std::vector<size_t> turnedAt;
  float accumulator = 0;
  bool optimizeBroadphase = false;
};

// The world, null when there is none.
World* world();
// Counts the worlds built, so a pass that calls out can tell its world was replaced meanwhile.
uint64_t worldGeneration();
Vec3 gravity();
// The record of a live body id, or null.
BodyRecord* bodyRecord(uint32_t id);
// The record of a body's collision object, or null for anything else (a character's probe).
BodyRecord* recordOf(const btCollisionObject* object);
// A shape of the table, or null.
const Shape* shapeById(uint32_t id);
// A new shape, unless refused (with a line for the row).
std::optional<Shape> makeShape(const char* row, const PhysicsShapeSize& size);
void clearShapes();

// Contact events: the pairs whose contact began or ended are noted during a step; after it,
// each pair whose touching differs from what was last reported gives one event.
void installContactTracking();
void collectContactEvents();
void deliverContactEvents();
void clearContactEvents();

// The entity's world pose; the origin, unrotated and unscaled without a transform.
Pose entityPose(uint32_t entity);
inline bool allFinite(std::initializer_list<float> values) {
  for (const float v : values) {
    if (!std::isfinite(v)) return false;
  }
  return true;
}

// Whether every number of the pose is finite: a body or character is refused otherwise.
bool finitePose(const Pose& pose);
// The renderer's transforms; null with no engine.
filament::TransformManager* transformsOrNull();
// Writes rotation × scale and position as the entity's world matrix, through its parent; no
// effect without a transform.
void writeWorldTransform(filament::TransformManager& transforms, uint32_t entity, const Pose& pose);
void writeWorldTransform(uint32_t entity, const Pose& pose);

inline float dot(const Quat& a, const Quat& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w;
}

// The rotation of a matrix with unit columns, indexed m[column][row], by the largest-diagonal
// method: the biggest of w, x, y, z is taken from the trace first, so
// no division is by a small number.
template <class Columns>
Quat quaternionOf(const Columns& m) {
  const float trace = m[0][0] + m[1][1] + m[2][2];
  Quat q;
  if (trace > 0) {
    const float s = std::sqrt(trace + 1) * 2;
    q = {(m[1][2] - m[2][1]) / s, (m[2][0] - m[0][2]) / s, (m[0][1] - m[1][0]) / s, s / 4};
  } else if (m[0][0] > m[1][1] && m[0][0] > m[2][2]) {
    const float s = std::sqrt(1 + m[0][0] - m[1][1] - m[2][2]) * 2;
    q = {s / 4, (m[1][0] + m[0][1]) / s, (m[2][0] + m[0][2]) / s, (m[1][2] - m[2][1]) / s};
  } else if (m[1][1] > m[2][2]) {
    const float s = std::sqrt(1 + m[1][1] - m[0][0] - m[2][2]) * 2;
    q = {(m[1][0] + m[0][1]) / s, s / 4, (m[2][1] + m[1][2]) / s, (m[2][0] - m[0][2]) / s};
  } else {
    const float s = std::sqrt(1 + m[2][2] - m[0][0] - m[1][1]) * 2;
    q = {(m[2][0] + m[0][2]) / s, (m[2][1] + m[1][2]) / s, s / 4, (m[0][1] - m[1][0]) / s};
  }
  if (!std::isfinite(q.x + q.y + q.z + q.w)) return {};
  return q;
}

// From a towards b by t along the shorter arc, normalised; a straight blend when they nearly
// agree. `slerpMany` blends `count` pairs by the same t into `out`, several at a time.
Quat slerp(const Quat& a, const Quat& b, float t);
void slerpMany(const Quat* from, const Quat* to, size_t count, float t, Quat* out);

// Called by the world at its steps and its end.
void updateCharacters(float dt);
void destroyCharacters();

}  // namespace talvero::scene3d::physics
