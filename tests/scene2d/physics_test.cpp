#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <numbers>
#include <string>
#include <vector>

#include "scene2d/fresh_tables.h"
#include "scene2d/internal/physics_state.h"
#include "scene2d/scene2d.h"

namespace talvero::scene2d {
namespace {

constexpr float kH = kPhysicsStep;
constexpr float kPi = std::numbers::pi_v<float>;

struct Event {
  int32_t a, b, type;
  bool operator==(const Event&) const = default;
};

std::vector<Event> g_heard;
std::function<void(const Event&)> g_onEvent;

void hear(int32_t a, int32_t b, int32_t type) {
  g_heard.push_back({a, b, type});
  if (g_onEvent) g_onEvent({a, b, type});
}

class Physics2D : public talvero::testing::FreshTables2D {
 protected:
  void SetUp() override {
    FreshTables2D::SetUp();
    resetPhysicsWorld();
    g_heard.clear();
    g_onEvent = nullptr;
  }
  void TearDown() override {
    resetPhysicsWorld();
    g_onEvent = nullptr;
  }

  // A world with gravity (0, -10 × units) heard by `hear`.
  static void world(float units = 1, float gravity = -10) {
    c2dPhysicsConfigure(4, 0, gravity * units, units);
    c2dSetPhysicsEventCallback(&hear);
  }
  // A body of `type` on a new entity at (x, y); its entity in `entity` when asked.
  static int32_t body(int32_t type, float x, float y, int32_t* entity = nullptr) {
    const int32_t e = c2dCreateEntity();
    c2dSetPosition(e, x, y);
    if (entity) *entity = e;
    return c2dPhysicsCreateBody(e, type);
  }
  // A static ground segment along y = 0 from -20 to 20, in units.
  static int32_t ground(float units = 1, int32_t* entity = nullptr) {
    const int32_t slot = body(0, 0, 0, entity);
    c2dPhysicsAddSegment(slot, -20 * units, 0, 20 * units, 0, 0.6f, 0);
    return slot;
  }
  static void frame(float dt) {
    c2d_physicsStep(dt);
    c2d_physicsSyncForRender();
    c2d_flushPhysicsEvents();
  }
  static void run(float seconds) {
    for (int i = 0; i < std::lround(seconds / kH); ++i) frame(kH);
  }
  static std::array<float, 2> worldPosition(int32_t entity) {
    std::array<float, 2> out{};
    c2dGetWorldPosition(entity, out.data());
    return out;
  }
  static std::vector<int32_t> types() {
    std::vector<int32_t> out;
    for (const Event& e : g_heard) out.push_back(e.type);
    return out;
  }
};

TEST_F(Physics2D, StepsAtAFixedRateAndDrawsBetweenTheLastTwoPoses) {
  world(1, 0);
  int32_t entity = 0;
  const int32_t slot = body(2, 0, 0, &entity);
  c2dPhysicsAddCircle(slot, false, 0.5f, 0, 0, 1, 0, 0);
  c2dPhysicsSetLinearVelocity(slot, 60, 0);  // one unit a step

  frame(kH);  // exactly one step: alpha 0, so the entity shows the pose before it
  EXPECT_FLOAT_EQ(g_physics.bodies[slot].currX, 1);
  EXPECT_EQ(g_physics.alpha, 0);
  EXPECT_NEAR(worldPosition(entity)[0], 0, 1e-5);
  frame(kH / 2);  // no step, yet the entity moves half way
  EXPECT_FLOAT_EQ(g_physics.bodies[slot].currX, 1);
  EXPECT_NEAR(g_physics.alpha, 0.5f, 1e-5);
  EXPECT_NEAR(worldPosition(entity)[0], 0.5f, 1e-4);
  frame(0.3f);  // a backlog is cut to 0.25 s: 15 steps
  EXPECT_NEAR(g_physics.bodies[slot].currX, 16, 1e-3);
  frame(std::nanf(""));  // counts as 0
  EXPECT_NEAR(g_physics.bodies[slot].currX, 16, 1e-3);

  // A teleport shows at once, with no slide from the old pose.
  c2dPhysicsSetTransform(slot, 10, 20, 90);
  frame(0);
  float local[5];
  c2dGetLocalTransform(entity, local);
  EXPECT_NEAR(local[0], 10, 1e-4);
  EXPECT_NEAR(local[1], 20, 1e-4);
  EXPECT_NEAR(local[2], 90, 1e-3);
}

TEST_F(Physics2D, AnAngleAcrossPiTurnsTheShortWay) {
  world(1, 0);
  int32_t entity = 0;
  const int32_t slot = body(2, 0, 0, &entity);
  c2dPhysicsAddCircle(slot, false, 0.5f, 0, 0, 1, 0, 0);
  c2dPhysicsSetTransform(slot, 0, 0, 179);
  c2dPhysicsSetAngularVelocity(slot, 2 * 0.017453292f * 60);  // 2° a step
  frame(kH);
  EXPECT_NEAR(g_physics.bodies[slot].currAngle, -179 * 0.017453292f, 1e-4);
  frame(kH / 2);
  float local[5];
  c2dGetLocalTransform(entity, local);
  EXPECT_NEAR(std::fabs(local[2]), 180, 0.01);
}

TEST_F(Physics2D, AChildKeepsItsWorldPoseFromThePhysicsUnderAMovedParent) {
  world(1, 0);
  const int32_t parent = c2dCreateEntity();
  c2dSetPosition(parent, 100, 0);
  c2dSetRotation(parent, 90);
  c2dSetScale(parent, 2, 2);
  const int32_t child = c2dCreateEntity();
  c2dSetParent(child, parent, false);
  c2dSetPosition(child, 3, 0);  // world (100, 6)
  const int32_t slot = c2dPhysicsCreateBody(child, 2);
  c2dPhysicsAddBox(slot, false, 0.5f, 0.5f, 0, 0, 1, 0, 0);
  EXPECT_NEAR(g_physics.bodies[slot].currX, 100, 1e-4);
  EXPECT_NEAR(g_physics.bodies[slot].currY, 6, 1e-4);
  EXPECT_NEAR(g_physics.bodies[slot].currAngle, kPi / 2, 1e-5);
  c2dPhysicsSetLinearVelocity(slot, 0, 60);
  frame(kH);
  frame(kH);
  c2dSetPosition(parent, -50, 30);
  frame(0);
  EXPECT_NEAR(worldPosition(child)[0], 100, 1e-3);
  EXPECT_NEAR(worldPosition(child)[1], 7, 1e-3);
  float matrix[6];
  c2dGetWorldMatrix(child, matrix);
  EXPECT_NEAR(std::atan2(matrix[1], matrix[0]), kPi / 2, 1e-4);
}

TEST_F(Physics2D, BodiesFallRestBounceAndScaleWithTheUnits) {
  // The same scene in metres and at 100 units a metre gives the same motion × 100.
  std::vector<float> heights[2];
  for (const float units : {1.0f, 100.0f}) {
    resetPhysicsWorld();
    world(units);
    ground(units);
    const int32_t box = body(2, 0, 2 * units);
    c2dPhysicsAddBox(box, false, 0.5f * units, 0.5f * units, 0, 0, 1, 0.6f, 0);
    const int32_t ball = body(2, 5 * units, 4.25f * units);
    c2dPhysicsAddCircle(ball, false, 0.25f * units, 0, 0, 1, 0.6f, 0.5f);
    auto& h = heights[units == 1 ? 0 : 1];
    float peak = 0;
    int bounce = 0;  // 0 falling, 1 rising after the first bounce, 2 past its top
    for (int i = 0; i < 120; ++i) {
      frame(kH);
      float v[2];
      c2dPhysicsGetLinearVelocity(ball, v);
      if (bounce == 0 && v[1] > 0) bounce = 1;
      if (bounce == 1) peak = std::max(peak, g_physics.bodies[ball].currY / units - 0.25f);
      if (bounce == 1 && v[1] < 0) bounce = 2;
      if (i % 10 == 0) h.push_back(g_physics.bodies[box].currY / units);
    }
    EXPECT_NEAR(peak, 1.0f, 0.15f) << "the bounce at " << units << " units a metre";
    EXPECT_NEAR(g_physics.bodies[box].currY / units, 0.515f, 0.005f);
    EXPECT_FALSE(physicsBodyAwake(box)) << "the resting box sleeps";
    h.push_back(peak);
  }
  ASSERT_EQ(heights[0].size(), heights[1].size());
  for (size_t i = 0; i < heights[0].size(); ++i) {
    EXPECT_NEAR(heights[1][i], heights[0][i], 0.01f * std::fabs(heights[0][i]) + 1e-4f) << i;
  }

  // A density not above 0 is 1.
  const int32_t a = body(2, 100, 100), b = body(2, 200, 100);
  c2dPhysicsAddBox(a, false, 50, 50, 0, 0, 0, 0, 0);
  c2dPhysicsAddBox(b, false, 50, 50, 0, 0, 1, 0, 0);
  EXPECT_GT(physicsBodyMass(a), 0);
  EXPECT_FLOAT_EQ(physicsBodyMass(a), physicsBodyMass(b));
}

TEST_F(Physics2D, ContactsBeginAndEndOncePerPairOfShapes) {
  world();
  int32_t floor = 0, boxEntity = 0, capsuleEntity = 0;
  ground(1, &floor);
  const int32_t box = body(2, 0, 1, &boxEntity);
  c2dPhysicsAddBox(box, false, 0.5f, 0.5f, 0, 0, 1, 0.6f, 0);
  const int32_t capsule = body(2, 5, 1, &capsuleEntity);
  c2dPhysicsAddCapsule(capsule, false, -1, 0, 1, 0, 0.3f, 1, 0.6f, 0);
  run(2);
  ASSERT_EQ(g_heard.size(), 2u) << "one begin each, the capsule's three fixtures as one";
  for (const Event& e : g_heard) {
    EXPECT_EQ(e.type, 0);
    EXPECT_TRUE((e.a == floor) != (e.b == floor));
  }
  g_heard.clear();
  c2dPhysicsSetTransform(box, 0, 10, 0);
  run(0.1f);
  ASSERT_EQ(g_heard.size(), 1u);
  EXPECT_EQ(g_heard[0].type, 1);
  EXPECT_TRUE(g_heard[0].a == boxEntity || g_heard[0].b == boxEntity);
}

TEST_F(Physics2D, SensorsHearVisitorsOfEveryTypeAwakeOrAsleep) {
  world();
  ground();
  int32_t zone = 0, faller = 0, glider = 0, sleeper = 0, wide = 0, round = 0;
  // A sensor on a static body, crossed by a falling dynamic body and a kinematic one.
  c2dPhysicsAddBox(body(0, 0, 5, &zone), true, 1, 1, 0, 0, 1, 0, 0);
  c2dPhysicsAddCircle(body(2, 0, 9, &faller), false, 0.25f, 0, 0, 1, 0, 0);
  const int32_t kinematic = body(1, -3, 5, &glider);
  c2dPhysicsAddBox(kinematic, false, 0.2f, 0.2f, 0, 0, 1, 0, 0);
  c2dPhysicsSetLinearVelocity(kinematic, 6, 0);
  run(1.5f);
  std::vector<Event> sensorEvents;
  for (const Event& e : g_heard) {
    if (e.type >= 2) sensorEvents.push_back(e);
  }
  // Each visitor enters before it leaves, sensor first.
  for (const int32_t visitor : {faller, glider}) {
    std::vector<int32_t> seen;
    for (const Event& e : sensorEvents) {
      if (e.b == visitor) {
        EXPECT_EQ(e.a, zone);
        seen.push_back(e.type);
      }
    }
    EXPECT_EQ(seen, (std::vector<int32_t>{2, 3})) << "visitor " << visitor;
  }

  // A body resting inside a sensor stays inside once asleep; a second sensor is no visitor.
  g_heard.clear();
  const int32_t resting = body(2, 10, 0.5f, &sleeper);
  c2dPhysicsAddBox(resting, false, 0.5f, 0.5f, 0, 0, 1, 0.6f, 0);
  c2dPhysicsAddBox(body(0, 10, 1, &wide), true, 2, 2, 0, 0, 1, 0, 0);
  c2dPhysicsAddCircle(body(0, 10.5f, 1, &round), true, 1, 0, 0, 1, 0, 0);
  run(3);
  EXPECT_FALSE(physicsBodyAwake(resting));
  std::vector<Event> aboutSleeper;
  for (const Event& e : g_heard) {
    if (e.b == sleeper && e.type >= 2) aboutSleeper.push_back(e);
    EXPECT_TRUE(e.b != wide && e.b != round) << "a sensor is no visitor";
  }
  // Both sensors see the box once, and go on seeing it asleep.
  ASSERT_EQ(aboutSleeper.size(), 2u);
  for (const Event& e : aboutSleeper) EXPECT_EQ(e.type, 2);
}

TEST_F(Physics2D, OneStepQueuesContactBeginsThenEndsThenSensorBeginsThenEnds) {
  world(1, 0);
  ground();
  const int32_t leaving = body(2, 0, 0.49f);
  c2dPhysicsAddBox(leaving, false, 0.5f, 0.5f, 0, 0, 1, 0, 0);
  const int32_t outside = body(2, 20, 40);
  c2dPhysicsAddCircle(outside, false, 0.3f, 0, 0, 1, 0, 0);
  const int32_t inside = body(2, -10, 30);
  c2dPhysicsAddCircle(inside, false, 0.3f, 0, 0, 1, 0, 0);
  c2dPhysicsAddBox(body(0, -10, 30), true, 1, 1, 0, 0, 1, 0, 0);
  c2dPhysicsAddBox(body(0, 10, 30), true, 1, 1, 0, 0, 1, 0, 0);
  frame(kH);
  g_heard.clear();
  // In one step: a box lands, the touching one leaves, one circle enters a sensor and the
  // other leaves its sensor.
  const int32_t landing = body(2, 5, 0.49f);
  c2dPhysicsAddBox(landing, false, 0.5f, 0.5f, 0, 0, 1, 0, 0);
  c2dPhysicsSetTransform(leaving, 0, 5, 0);
  c2dPhysicsSetTransform(outside, 10, 30, 0);
  c2dPhysicsSetTransform(inside, -20, 40, 0);
  frame(kH);
  EXPECT_EQ(types(), (std::vector<int32_t>{0, 1, 2, 3}));
}

TEST_F(Physics2D, RemovalEndsAtOnceAndACallbackMayRemoveAndReconfigure) {
  world();
  int32_t floor = 0, boxEntity = 0;
  ground(1, &floor);
  const int32_t box = body(2, 0, 0.6f, &boxEntity);
  c2dPhysicsAddBox(box, false, 0.5f, 0.5f, 0, 0, 1, 0.6f, 0);
  // The handler removes the box as it lands; the end arrives with the next frame's events.
  g_onEvent = [&](const Event& e) {
    if (e.type == 0) c2dPhysicsRemoveBody(box);
  };
  run(0.5f);
  ASSERT_EQ(types(), (std::vector<int32_t>{0, 1}));
  EXPECT_EQ(g_heard[1],
            g_heard[0].a == floor ? (Event{floor, boxEntity, 1}) : (Event{boxEntity, floor, 1}));
  EXPECT_EQ(c2dPhysicsOverlapPoint(0, 0.6f), 0);

  // Disabling ends too; enabling begins again at the next step.
  g_onEvent = nullptr;
  g_heard.clear();
  const int32_t second = body(2, 3, 0.6f);
  c2dPhysicsAddBox(second, false, 0.5f, 0.5f, 0, 0, 1, 0.6f, 0);
  run(0.5f);
  c2dPhysicsSetEnabled(second, false);
  c2d_flushPhysicsEvents();
  c2dPhysicsSetEnabled(second, true);
  run(0.1f);
  EXPECT_EQ(types(), (std::vector<int32_t>{0, 1, 0}));

  // A handler that reconfigures: the world starts again at slot 1 and queued events go.
  g_heard.clear();
  g_onEvent = [&](const Event&) {
    c2dPhysicsRemoveBody(second);
    c2dPhysicsConfigure(0, 0, -10, 1);
  };
  c2dPhysicsSetTransform(second, 3, 5, 0);
  run(0.1f);
  EXPECT_EQ(types(), (std::vector<int32_t>{1}));
  EXPECT_EQ(g_physics.subSteps, 4) << "no sub-steps means 4";
  g_onEvent = nullptr;
  run(0.1f);
  EXPECT_EQ(g_heard.size(), 1u) << "the end queued before the reconfigure was dropped";
  EXPECT_EQ(body(2, 0, 0), 1);
}

TEST_F(Physics2D, BadShapesAreRefusedWithALineAndNeverReachBox2D) {
  world();
  const int32_t slot = body(2, 0, 0);
  const float nan = std::nanf("");
  const float collinear[] = {0, 0, 1, 1, 2, 2};
  const float huddle[] = {0, 0, 0.004f, 0, 0, 0.004f};
  const float nanVertex[] = {0, 0, 1, 0, nan, 1};
  const float nine[18] = {0, 0, 1, 0, 2, 0.5f, 2.5f, 1.5f, 2, 2.5f, 1, 3, 0, 3, -1, 2, -1, 1};
  struct Case {
    const char* name;
    std::function<void()> add;
    bool line;
  };
  const std::vector<Case> cases = {
      {"polygon of 2 points", [&] { c2dPhysicsAddPolygon(slot, collinear, 6, 2, 0, 1, 0, 0); },
       false},
      {"polygon of 9 points", [&] { c2dPhysicsAddPolygon(slot, nine, 18, 9, 0, 1, 0, 0); }, false},
      {"collinear", [&] { c2dPhysicsAddPolygon(slot, collinear, 6, 3, 0, 1, 0, 0); }, true},
      {"within 0.01", [&] { c2dPhysicsAddPolygon(slot, huddle, 6, 3, 0, 1, 0, 0); }, true},
      {"NaN vertex", [&] { c2dPhysicsAddPolygon(slot, nanVertex, 6, 3, 0, 1, 0, 0); }, true},
      {"short array", [&] { c2dPhysicsAddPolygon(slot, collinear, 5, 3, 0, 1, 0, 0); }, true},
      {"zero box", [&] { c2dPhysicsAddBox(slot, false, 0, 0, 0, 0, 1, 0, 0); }, true},
      {"NaN box", [&] { c2dPhysicsAddBox(slot, false, 1, nan, 0, 0, 1, 0, 0); }, true},
      {"zero circle", [&] { c2dPhysicsAddCircle(slot, false, 0, 0, 0, 1, 0, 0); }, true},
      {"thin capsule", [&] { c2dPhysicsAddCapsule(slot, false, 0, 0, 1, 0, 1e-4f, 1, 0, 0); },
       true},
      {"zero segment", [&] { c2dPhysicsAddSegment(slot, 1, 1, 1, 1, 0, 0); }, true},
      {"negative friction", [&] { c2dPhysicsAddCircle(slot, false, 1, 0, 0, 1, -1, 0); }, true},
      // Box2D would centre the inertia to 0 or below and assert.
      {"small circle far out", [&] { c2dPhysicsAddCircle(slot, false, 0.004f, 1116, 0, 1, 0, 0); },
       true},
      {"small capsule far out, added while the body cannot turn",
       [&] {
         c2dPhysicsSetFixedRotation(slot, true);
         c2dPhysicsAddCapsule(slot, false, 1116, 0, 0.04f, 0, 0.004f, 1, 0, 0);
         c2dPhysicsSetFixedRotation(slot, false);
       },
       true},
      {"box rounded flat far out",
       [&] { c2dPhysicsAddBox(slot, false, 0.0025f, 0.0025f, 9e4f, 9e4f, 1, 0, 0); }, true},
      {"thin capsule turned far out",
       [&] { c2dPhysicsAddCapsule(slot, false, 0, 0, 7e4f, 7e4f, 0.003f, 1, 0, 0); }, true},
      {"too light", [&] { c2dPhysicsAddBox(slot, false, 1, 1, 10, 0, 1e-44f, 0, 0); }, true},
      {"too heavy", [&] { c2dPhysicsAddBox(slot, false, 9e4f, 9e4f, 0, 0, 1e17f, 0, 0); }, true},
      {"beyond reach", [&] { c2dPhysicsAddCircle(slot, false, 1, 100001, 0, 1, 0, 0); }, true},
  };
  for (const Case& c : cases) {
    ::testing::internal::CaptureStdout();
    c.add();
    const std::string out = ::testing::internal::GetCapturedStdout();
    EXPECT_EQ(g_physics.shapes.size(), 0u) << c.name;
    if (c.line) {
      EXPECT_EQ(out.rfind("[creator-2d] physicsAdd", 0), 0u) << c.name << ": " << out;
      EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 1) << c.name;
    } else {
      EXPECT_EQ(out, "") << c.name;
    }
  }

  // A concave outline becomes its hull: the notch is filled.
  const float notched[] = {0, 0, 4, 0, 4, 4, 2, 1, 0, 4, 2, 0.5f};
  int32_t entity = 0;
  const int32_t hull = body(0, 20, 0, &entity);
  c2dPhysicsAddPolygon(hull, notched, 12, 6, false, 1, 0, 0);
  EXPECT_EQ(c2dPhysicsOverlapPoint(22, 3), entity);
  EXPECT_EQ(c2dPhysicsOverlapPoint(22, 4.5f), 0);
}

TEST_F(Physics2D, PosesBeyondReachOrNotFiniteAreRefusedWithALine) {
  world(100);
  int32_t entity = 0;
  ::testing::internal::CaptureStdout();
  EXPECT_EQ(body(2, 1e7f + 100, 0), 0);  // just past 100000 metres
  EXPECT_EQ(body(2, 0, std::nanf("")), 0);
  const int32_t slot = body(2, 1e7f, -1e7f, &entity);
  EXPECT_NE(slot, 0);
  c2dPhysicsSetTransform(slot, 3e7f, 0, 0);
  c2dPhysicsSetTransform(slot, 0, INFINITY, 0);
  EXPECT_EQ(::testing::internal::GetCapturedStdout(),
            "[creator-2d] physicsCreateBody: the entity's world position is not finite or beyond "
            "100000 metres\n"
            "[creator-2d] physicsCreateBody: the entity's world position is not finite or beyond "
            "100000 metres\n"
            "[creator-2d] physicsSetTransform: the pose is not finite or beyond 100000 metres; "
            "ignored\n"
            "[creator-2d] physicsSetTransform: the pose is not finite or beyond 100000 metres; "
            "ignored\n");
  frame(kH);
  EXPECT_NEAR(worldPosition(entity)[0], 1e7f, 1);
}

TEST_F(Physics2D, RaysAndPointsFindShapesInScriptUnits) {
  for (const float units : {1.0f, 100.0f}) {
    resetPhysicsWorld();
    world(units, 0);
    int32_t nearBox = 0, farBox = 0, circle = 0, capsule = 0;
    c2dPhysicsAddBox(body(0, 5 * units, 0, &nearBox), false, units, units, 0, 0, 1, 0, 0);
    c2dPhysicsAddBox(body(0, 10 * units, 0, &farBox), false, units, units, 0, 0, 1, 0, 0);
    c2dPhysicsAddCircle(body(2, 0, 10 * units, &circle), false, units, 0, 0, 1, 0, 0);
    c2dPhysicsAddCapsule(body(1, 0, -10 * units, &capsule), true, -units, 0, units, 0, 0.5f * units,
                         1, 0, 0);
    float out[7];
    c2dPhysicsRaycastClosest(0, 0, 20 * units, 0, out);
    EXPECT_EQ(out[0], 1);
    EXPECT_EQ(out[1], static_cast<float>(nearBox));
    EXPECT_NEAR(out[2], 4 * units, 1e-3 * units);
    EXPECT_NEAR(out[3], 0, 1e-3 * units);
    EXPECT_NEAR(out[4], -1, 1e-5);
    EXPECT_NEAR(out[5], 0, 1e-5);
    EXPECT_NEAR(out[6], 0.2f, 1e-5);
    const float zeros[7] = {};
    c2dPhysicsRaycastClosest(0, 0, -20 * units, 0, out);  // misses
    EXPECT_TRUE(std::equal(out, out + 7, zeros));
    c2dPhysicsRaycastClosest(units, units, units, units, out);  // no length
    EXPECT_TRUE(std::equal(out, out + 7, zeros));

    EXPECT_EQ(c2dPhysicsOverlapPoint(0.5f * units, 10.5f * units), circle);
    EXPECT_EQ(c2dPhysicsOverlapPoint(10.9f * units, 0.9f * units), farBox);
    EXPECT_EQ(c2dPhysicsOverlapPoint(1.3f * units, -10 * units), capsule) << "a capsule's end";
    EXPECT_EQ(c2dPhysicsOverlapPoint(0, -10.4f * units), capsule) << "its middle";
    EXPECT_EQ(c2dPhysicsOverlapPoint(0, 0), 0);
    EXPECT_EQ(c2dPhysicsOverlapPoint(1.3f * units, -10.45f * units), 0);
  }
}

TEST_F(Physics2D, BadSlotsAndNoWorldDoNothingSilently) {
  const auto everything = [](int32_t slot) {
    const float tri[] = {0, 0, 1, 0, 0, 1};
    float v[2] = {7, 7};
    c2dPhysicsRemoveBody(slot);
    c2dPhysicsAddBox(slot, false, 1, 1, 0, 0, 1, 0, 0);
    c2dPhysicsAddCircle(slot, true, 1, 0, 0, 1, 0, 0);
    c2dPhysicsAddCapsule(slot, false, 0, 0, 1, 0, 1, 1, 0, 0);
    c2dPhysicsAddSegment(slot, 0, 0, 1, 0, 0, 0);
    c2dPhysicsAddPolygon(slot, tri, 6, 3, false, 1, 0, 0);
    c2dPhysicsSetLinearVelocity(slot, 1, 1);
    c2dPhysicsSetAngularVelocity(slot, 1);
    c2dPhysicsGetLinearVelocity(slot, v);
    EXPECT_EQ(v[0], 0);
    EXPECT_EQ(v[1], 0);
    c2dPhysicsApplyLinearImpulse(slot, 1, 1);
    c2dPhysicsApplyForce(slot, 1, 1);
    c2dPhysicsSetTransform(slot, 1, 1, 1);
    c2dPhysicsSetFixedRotation(slot, true);
    c2dPhysicsSetGravityScale(slot, 2);
    c2dPhysicsSetLinearDamping(slot, 1);
    c2dPhysicsSetBullet(slot, true);
    c2dPhysicsSetEnabled(slot, false);
    c2dPhysicsSetEnabled(slot, true);
  };
  ::testing::internal::CaptureStdout();
  // Before any world.
  for (const int32_t slot : {0, 1, 5}) everything(slot);
  EXPECT_EQ(c2dPhysicsCreateBody(c2dCreateEntity(), 2), 0);
  float ray[7] = {1, 1, 1, 1, 1, 1, 1};
  c2dPhysicsRaycastClosest(0, 0, 1, 1, ray);
  EXPECT_EQ(ray[0], 0);
  EXPECT_EQ(c2dPhysicsOverlapPoint(0, 0), 0);
  frame(1);
  // With one: slot 0, a removed slot, a slot past the table, a dead entity.
  world();
  const int32_t gone = body(2, 0, 0);
  c2dPhysicsRemoveBody(gone);
  for (const int32_t slot : {0, gone, 99, -3}) everything(slot);
  const int32_t dead = c2dCreateEntity();
  c2dDestroyEntity(dead);
  EXPECT_EQ(c2dPhysicsCreateBody(dead, 2), 0);
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(g_physics.shapes.size(), 0u);
  EXPECT_TRUE(g_heard.empty());
  EXPECT_EQ(c2dPhysicsHasSupport(), 1);
}

}  // namespace
}  // namespace talvero::scene2d
