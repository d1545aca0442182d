#pragma once

#include <cstdint>
#include <initializer_list>
#include <unordered_map>
#include <vector>

#include "scene2d/internal/tables.h"
#include "scene2d/scene2d.h"

// The 2D physics world's records, shared by the physics sources. Box2D's types are named by
// declaration only: its headers stay inside those sources.
class b2World;
class b2Body;
class b2Fixture;

namespace talvero::scene2d {

inline constexpr float kPhysicsStep = 1.0f / 60.0f;  // 0.016666668
inline constexpr float kAccumulatorCap = 0.25f;

struct PhysBody {
  b2Body* body = nullptr;
  int32_t entity = 0;
  bool alive = false;
  bool moves = false;  // dynamic or kinematic
  float prevX = 0, prevY = 0, prevAngle = 0;
  float currX = 0, currY = 0, currAngle = 0;
};

// One shape as the script sees it: a capsule is three fixtures, every other shape one. Fixture
// user data is the index of its shape in `shapes`.
struct PhysShape {
  bool alive = false;
  bool sensor = false;
  int32_t slot = 0;
  int32_t entity = 0;
  std::vector<b2Fixture*> fixtures;
  // For a sensor: the shapes overlapping it after the last step, sorted.
  std::vector<int32_t> visitors;
};

struct PhysEvent {
  int32_t entityA = 0, entityB = 0, type = 0;
};

// Fixture contacts between two shapes. Box2D reports each fixture pair, so a pair of shapes
// touches while its count is above 0.
struct ShapePair {
  int32_t shapeA = 0, shapeB = 0;  // in Box2D's order at the first contact
  int32_t count = 0;
  int32_t countBefore = 0;  // at the start of the step that first changed it
  bool changed = false;
};

struct PhysicsWorld {
  b2World* world = nullptr;
  float alpha = 0;
  float accumulator = 0;
  int32_t subSteps = 4;
  float units = 1;               // script units per metre
  std::vector<PhysBody> bodies;  // slot 0 reserved
  std::vector<int32_t> freeBodies;
  std::vector<PhysShape> shapes;
  std::vector<int32_t> freeShapes;
  std::vector<int32_t> sensors;  // sensor shapes in creation order
  std::unordered_map<uint64_t, ShapePair> pairs;
  std::vector<uint64_t> changedPairs;  // this step's, in the order Box2D reported them
  std::vector<PhysEvent> events;
  C2DPhysicsEventCallback callback = nullptr;
  // Set while Box2D ends contacts on our behalf (a body removed or disabled), whose events
  // were already queued.
  bool quietListener = false;
};

extern PhysicsWorld g_physics;

// The live body of a slot, or null.
PhysBody* livePhysBody(int32_t slot);
// Script values (lengths, speeds, forces) that are finite and within 1e17 once in metres, so
// that Box2D's squares of them stay finite.
bool finiteNumbers(std::initializer_list<float> values);
// Lengths of the script that place a body or a shape: finite and within kMaxReach metres of the
// origin. Farther out a float's spacing nears Box2D's slop, and its distance and time-of-impact
// solvers fail their own asserts.
inline constexpr float kMaxReach = 100000;
bool withinReach(std::initializer_list<float> values);
// One "[creator-2d] OP: WHY" line.
void physicsLine(const char* op, const char* why);

// Box2D's world with our contact listener and filter attached.
b2World* makePhysicsWorld(float gravityX, float gravityY);
// Contact events of the step just taken, then the sensor pass: onto `events`.
void collectStepEvents();
// Ends, queued at once, of every contact and sensor overlap of the slot's shapes.
void endBodyEvents(int32_t slot);
void forgetShapesOf(int32_t slot);
uint64_t pairKey(int32_t shapeA, int32_t shapeB);

// The pose (in script units, radians) a body has now.
void readBodyPose(const PhysBody& body, float* x, float* y, float* angle);

// For tests: no world, no callback, as at start.
void resetPhysicsWorld();
// For tests: whether the slot's body is awake, and its mass; false and 0 for a bad slot.
bool physicsBodyAwake(int32_t slot);
float physicsBodyMass(int32_t slot);

}  // namespace talvero::scene2d
