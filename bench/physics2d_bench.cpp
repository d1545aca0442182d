// What the 2D physics core costs over Box2D driven directly, in one process:
// - 5,000 bodies, boxes and balls in a checkerboard of 100 columns × 50 rows, dropped onto a
//   static ground segment: 600 frames of 1/60 s through `c2d_physicsStep` (one fixed step each),
//   against the same scene built with Box2D's own calls and stepped by Step(1/60, 8, 3) with a
//   contact listener that counts begins and ends. Only the step is in the ratio; ours also
//   delivers its events to a counting function after each frame, outside the time. The bodies'
//   mean height at the end shows that both sides simulate the same fall; the event counts
//   differ a little, as ours tells nothing of a pair that begins and ends within one step.
// - `c2d_physicsSyncForRender` for the 5,000 bodies in mid-fall at alpha 0.5 (interpolating),
//   against a loop that reads the 5,000 Box2D transforms and sets each entity's position and
//   rotation through `c2dSetPosition` and `c2dSetRotation`.
// Times are CPU time of the main thread (CLOCK_THREAD_CPUTIME_ID); each figure is the median of
// runs made alternately. No display is needed.

#include <box2d/box2d.h>

#include <cstdio>
#include <vector>

#include "bench_clock.h"
#include "scene2d/scene2d.h"

namespace {

using talvero::bench::median;
using talvero::bench::threadSeconds;

constexpr int kColumns = 100;
constexpr int kRows = 50;
constexpr int kBodies = kColumns * kRows;
constexpr int kFrames = 600;
constexpr int kDropRuns = 5;
constexpr int kSyncRuns = 9;
constexpr int kSyncCalls = 100;
// Half a second of fall: the lowest row has landed, the rest are in the air.
constexpr int kFallFrames = 30;
constexpr float kStep = 1.0f / 60.0f;
constexpr float kGravity = -10;
constexpr int kSubSteps = 4;  // the core's Step(h, 8, 3)
constexpr int kVelocityIterations = 8;
constexpr int kPositionIterations = 3;
constexpr float kHalf = 0.4f;  // a box's half side, a ball's radius
constexpr float kDensity = 1;
constexpr float kFriction = 0.6f;
constexpr float kRestitution = 0;
// Wide enough that the collapsing columns stay on it.
constexpr float kGroundHalfWidth = 500;
constexpr float kRadiansToDegrees = 57.29578f;

// Body i of the grid: 1 m apart, the lowest row 1 m above the ground at y 0.
b2Vec2 gridPosition(int i) {
  return {float(i % kColumns) - (kColumns - 1) / 2.0f, float(i / kColumns) + 1};
}

bool isBall(int i) {
  return (i % kColumns + i / kColumns) % 2 == 1;
}

// The same scene on Box2D alone, with the shape settings the core gives its shapes.
struct RawWorld : b2ContactListener {
  b2World world{b2Vec2(0, kGravity)};
  std::vector<b2Body*> bodies;
  int begins = 0;
  int ends = 0;

  RawWorld() {
    world.SetContactListener(this);
    b2BodyDef groundDef;
    b2Body* ground = world.CreateBody(&groundDef);
    b2EdgeShape segment;
    segment.SetTwoSided({-kGroundHalfWidth, 0}, {kGroundHalfWidth, 0});
    addShape(ground, segment);
    for (int i = 0; i < kBodies; ++i) {
      b2BodyDef def;
      def.type = b2_dynamicBody;
      def.position = gridPosition(i);
      b2Body* body = world.CreateBody(&def);
      if (isBall(i)) {
        b2CircleShape ball;
        ball.m_radius = kHalf;
        addShape(body, ball);
      } else {
        b2PolygonShape box;
        box.SetAsBox(kHalf, kHalf, {0, 0}, 0);
        addShape(body, box);
      }
      bodies.push_back(body);
    }
  }

  void addShape(b2Body* body, const b2Shape& shape) {
    b2FixtureDef def;
    def.shape = &shape;
    def.density = kDensity;
    def.friction = kFriction;
    def.restitution = kRestitution;
    body->CreateFixture(&def);
  }

  void step() { world.Step(kStep, kVelocityIterations, kPositionIterations); }

  void BeginContact(b2Contact*) override { ++begins; }
  void EndContact(b2Contact*) override { ++ends; }
};

int g_ourBegins = 0;
int g_ourEnds = 0;

void countEvent(int32_t, int32_t, int32_t type) {
  if (type == 0) ++g_ourBegins;
  if (type == 1) ++g_ourEnds;
}

// Ours: a fresh world over the same entities each time, put back on the grid.
void buildOurs(const std::vector<int32_t>& entities, int32_t groundEntity) {
  c2dPhysicsConfigure(kSubSteps, 0, kGravity, 1);
  c2dSetPhysicsEventCallback(&countEvent);
  g_ourBegins = g_ourEnds = 0;
  const int32_t ground = c2dPhysicsCreateBody(groundEntity, 0);
  c2dPhysicsAddSegment(ground, -kGroundHalfWidth, 0, kGroundHalfWidth, 0, kFriction, kRestitution);
  for (int i = 0; i < kBodies; ++i) {
    const b2Vec2 at = gridPosition(i);
    c2dSetPosition(entities[i], at.x, at.y);
    c2dSetRotation(entities[i], 0);
    const int32_t body = c2dPhysicsCreateBody(entities[i], 2);
    if (isBall(i)) {
      c2dPhysicsAddCircle(body, false, kHalf, 0, 0, kDensity, kFriction, kRestitution);
    } else {
      c2dPhysicsAddBox(body, false, kHalf, kHalf, 0, 0, kDensity, kFriction, kRestitution);
    }
  }
}

struct Drop {
  double seconds = 0;
  int begins = 0;
  int ends = 0;
  double meanHeight = 0;
};

Drop dropOurs(const std::vector<int32_t>& entities, int32_t groundEntity) {
  buildOurs(entities, groundEntity);
  Drop drop;
  for (int frame = 0; frame < kFrames; ++frame) {
    const double start = threadSeconds();
    c2d_physicsStep(kStep);
    drop.seconds += threadSeconds() - start;
    c2d_flushPhysicsEvents();
  }
  // At alpha 0 the entities show the pose one step back: the bodies are at rest by then.
  c2d_physicsSyncForRender();
  for (int32_t entity : entities) {
    float at[2];
    c2dGetWorldPosition(entity, at);
    drop.meanHeight += at[1] / kBodies;
  }
  drop.begins = g_ourBegins;
  drop.ends = g_ourEnds;
  return drop;
}

Drop dropRaw() {
  RawWorld raw;
  Drop drop;
  for (int frame = 0; frame < kFrames; ++frame) {
    const double start = threadSeconds();
    raw.step();
    drop.seconds += threadSeconds() - start;
  }
  for (b2Body* body : raw.bodies) drop.meanHeight += body->GetPosition().y / kBodies;
  drop.begins = raw.begins;
  drop.ends = raw.ends;
  return drop;
}

// Seconds per call of the core's sync, half a step after the last of `kFallFrames` steps.
double syncOurs(const std::vector<int32_t>& entities, int32_t groundEntity) {
  buildOurs(entities, groundEntity);
  for (int frame = 0; frame < kFallFrames; ++frame) {
    c2d_physicsStep(kStep);
    c2d_flushPhysicsEvents();
  }
  c2d_physicsStep(0.5f * kStep);
  const double start = threadSeconds();
  for (int call = 0; call < kSyncCalls; ++call) c2d_physicsSyncForRender();
  return (threadSeconds() - start) / kSyncCalls;
}

// The loop a program would write without the core: each body's pose onto its entity.
double syncRaw(const std::vector<int32_t>& entities) {
  RawWorld raw;
  for (int frame = 0; frame < kFallFrames; ++frame) raw.step();
  const double start = threadSeconds();
  for (int call = 0; call < kSyncCalls; ++call) {
    for (size_t i = 0; i < raw.bodies.size(); ++i) {
      const b2Transform& pose = raw.bodies[i]->GetTransform();
      c2dSetPosition(entities[i], pose.p.x, pose.p.y);
      c2dSetRotation(entities[i], pose.q.GetAngle() * kRadiansToDegrees);
    }
  }
  return (threadSeconds() - start) / kSyncCalls;
}

}  // namespace

int main() {
  std::vector<int32_t> entities;
  for (int i = 0; i < kBodies; ++i) entities.push_back(c2dCreateEntity());
  const int32_t groundEntity = c2dCreateEntity();

  std::printf(
      "2D physics: %d bodies (%d columns x %d rows, boxes and balls) onto a ground "
      "segment, %d frames of 1/60 s; medians of %d runs\n",
      kBodies, kColumns, kRows, kFrames, kDropRuns);
  dropOurs(entities, groundEntity);
  dropRaw();
  std::vector<double> ours, raw;
  Drop lastOurs, lastRaw;
  for (int run = 0; run < kDropRuns; ++run) {
    lastOurs = dropOurs(entities, groundEntity);
    lastRaw = dropRaw();
    ours.push_back(lastOurs.seconds);
    raw.push_back(lastRaw.seconds);
  }
  std::printf("  step   ours %8.1f ms  raw Box2D %8.1f ms  ours/raw %.3f (goal <= 1.1)\n",
              median(ours) * 1e3, median(raw) * 1e3, median(ours) / median(raw));
  std::printf(
      "         contact begins %d / %d, ends %d / %d, mean height %.3f / %.3f m "
      "(ours / raw)\n",
      lastOurs.begins, lastRaw.begins, lastOurs.ends, lastRaw.ends, lastOurs.meanHeight,
      lastRaw.meanHeight);

  std::printf(
      "2D physics sync: %d bodies in mid-fall at alpha 0.5; medians of %d runs of %d "
      "calls\n",
      kBodies, kSyncRuns, kSyncCalls);
  syncOurs(entities, groundEntity);
  syncRaw(entities);
  std::vector<double> oursSync, rawSync;
  for (int run = 0; run < kSyncRuns; ++run) {
    oursSync.push_back(syncOurs(entities, groundEntity));
    rawSync.push_back(syncRaw(entities));
  }
  std::printf("  sync   ours %8.1f us  raw loop  %8.1f us  ours/raw %.3f (goal <= 1.5)\n",
              median(oursSync) * 1e6, median(rawSync) * 1e6, median(oursSync) / median(rawSync));
  c2dSetPhysicsEventCallback(nullptr);
  return 0;
}
