#include <gtest/gtest.h>

#include <cmath>
#include <tuple>
#include <vector>

#include "scene3d/physics/physics_state.h"
#include "scene3d/physics/physics_world.h"
#include "scene3d/scene3d_test_support.h"

namespace talvero::scene3d {
namespace {

constexpr float kFrame = 1.0f / 60.0f;

using Event = std::tuple<uint32_t, uint32_t, int>;
using physics::Vec3;

class PhysicsWorld : public testing::Scene3DTest {
 protected:
  void SetUp() override {
    Scene3DTest::SetUp();
    physicsConfigure(4096, 0, -9.81f, 0);
    setPhysicsInterpolation(true);
    setPhysicsEventFunc(
        [this](uint32_t a, uint32_t b, int type) { events.emplace_back(a, b, type); });
  }
  void TearDown() override {
    setPhysicsEventFunc(nullptr);
    Scene3DTest::TearDown();
  }

  uint32_t entityAt(float x, float y, float z) {
    const uint32_t entity = createEntity();
    setPosition(entity, x, y, z);
    return entity;
  }
  // A static slab whose top is at y = 0.
  uint32_t floor() {
    const uint32_t entity = entityAt(0, -0.5f, 0);
    physicsCreateBox(entity, 20, 0.5f, 20, kMotionStatic, 0);
    return entity;
  }
  Vec3 position(uint32_t entity) {
    float out[3];
    getWorldPosition(entity, out);
    return {out[0], out[1], out[2]};
  }
  void run(float seconds) {
    for (int frame = 0; frame < std::lround(seconds / kFrame); ++frame) {
      physicsStep(kFrame);
      physicsSyncForRender();
    }
  }

  std::vector<Event> events;
};

TEST_F(PhysicsWorld, FixedStepsCarryTimeOverAndInterpolateBetweenThem) {
  physicsConfigure(0, 0, 0, 0);
  const uint32_t box = entityAt(0, 0, 0);
  physicsSetLinearVelocity(physicsCreateBox(box, 0.5f, 0.5f, 0.5f, kMotionDynamic, 0), 6, 0, 0);
  const uint32_t wall = entityAt(0, 5, 0);
  physicsCreateBox(wall, 1, 1, 1, kMotionStatic, 0);

  // More than four steps' time: four run, the rest is dropped, and the entity shows the
  // pose before them.
  physicsStep(0.0167f + 0.05f);
  EXPECT_TRUE(physicsTicked());
  EXPECT_FLOAT_EQ(physicsAlpha(), 0);
  physicsSyncForRender();
  EXPECT_EQ(position(box).x, 0);

  // No step, but the entity moves by the fraction of the four steps' way.
  physicsStep(0.01f);
  EXPECT_FALSE(physicsTicked());
  EXPECT_NEAR(physicsAlpha(), 0.6f, 1e-4);
  physicsSyncForRender();
  const float fourSteps = 6 * 4 * kFrame * 0.9966f;  // damped a little
  EXPECT_NEAR(position(box).x, 0.6f * fourSteps, 1e-3);
  const float before = position(box).x;

  // Not interpolating: a frame with no step writes nothing, and static bodies never.
  setPhysicsInterpolation(false);
  setPosition(box, 0, -3, 0);
  setPosition(wall, 0, 7, 0);
  physicsStep(0.001f);
  physicsSyncForRender();
  EXPECT_EQ(position(box).y, -3);
  physicsStep(kFrame);
  physicsSyncForRender();
  EXPECT_GT(position(box).x, before);
  EXPECT_EQ(position(box).y, 0);
  EXPECT_EQ(position(wall).y, 7);
}

TEST_F(PhysicsWorld, InterpolatedRotationsTakeTheShorterArc) {
  using physics::Quat;
  const float half = std::sin(179.0f * 3.1415927f / 360), w = std::cos(179.0f * 3.1415927f / 360);
  // The same end rotation with either sign: halfway is 89.5° about y both times.
  for (const float sign : {1.0f, -1.0f}) {
    const Quat middle = physics::slerp({0, 0, 0, 1}, {0, sign * half, 0, sign * w}, 0.5f);
    EXPECT_NEAR(2 * std::acos(std::fabs(middle.w)) * 180 / 3.1415927f, 89.5f, 0.01f);
    EXPECT_NEAR(std::hypot(middle.y, middle.w), 1, 1e-5);
  }
  // Blended together, each pair comes out as alone, the nearly equal ones straight.
  const std::vector<Quat> from(6, Quat{0, 0, 0, 1});
  std::vector<Quat> to;
  for (const float degrees : {0.5f, 10.0f, 45.0f, 90.0f, 135.0f, 179.0f}) {
    const float angle = degrees * 3.1415927f / 360;
    to.push_back({std::sin(angle), 0, 0, std::cos(angle)});
  }
  std::vector<Quat> blended(6);
  physics::slerpMany(from.data(), to.data(), 6, 0.25f, blended.data());
  for (size_t i = 0; i < 6; ++i) {
    const Quat alone = physics::slerp(from[i], to[i], 0.25f);
    EXPECT_FLOAT_EQ(blended[i].x, alone.x);
    EXPECT_FLOAT_EQ(blended[i].w, alone.w);
    EXPECT_NEAR(std::atan2(alone.x, alone.w), std::atan2(to[i].x, to[i].w) / 4, 1e-6);
  }
}

TEST_F(PhysicsWorld, ABoxFallsAndRestsWithoutBeingWrittenAgain) {
  floor();
  const uint32_t box = entityAt(0, 2, 0);
  physicsCreateBox(box, 0.5f, 0.5f, 0.5f, kMotionDynamic, 0);
  run(3);
  EXPECT_NEAR(position(box).y, 0.5f, 0.01f);
  setPosition(box, 0, 9, 0);
  run(0.5f);
  EXPECT_EQ(position(box).y, 9);
}

TEST_F(PhysicsWorld, BodiesAnswerImpulsesFrictionAndKinematicVelocity) {
  physicsConfigure(0, 0, 0, 0);
  const uint32_t cube = physicsCreateBox(entityAt(0, 50, 0), 0.5f, 0.5f, 0.5f, kMotionDynamic, 0);
  physicsApplyImpulse(cube, 1000, 0, 0);
  float velocity[3];
  physicsGetLinearVelocity(cube, velocity);
  EXPECT_NEAR(velocity[0], 1, 1e-5);  // 1000 kg per cubic metre

  // Friction 0.2 against 0.2 stays 0.2: it stops after v² / (2 μ g).
  physicsConfigure(0, 0, -9.81f, 0);
  physicsRemoveBody(cube);
  floor();
  const uint32_t slider = entityAt(0, 0.5f, 0);
  physicsSetLinearVelocity(physicsCreateBox(slider, 0.5f, 0.5f, 0.5f, kMotionDynamic, 0), 2, 0, 0);
  run(2);
  EXPECT_NEAR(position(slider).x, 4 / (2 * 0.2 * 9.81), 0.15 * 1.02);

  // A kinematic body moves by its velocity through gravity and pushes a box aside.
  const uint32_t pusher = entityAt(-3, 0.6f, 5);
  const uint32_t kinematic = physicsCreateBox(pusher, 0.5f, 0.5f, 0.5f, kMotionKinematic, 0);
  const uint32_t pushed = entityAt(0, 0.5f, 5);
  physicsCreateBox(pushed, 0.5f, 0.5f, 0.5f, kMotionDynamic, 0);
  run(0.5f);
  physicsSetLinearVelocity(kinematic, 2, 0, 0);
  run(2);
  EXPECT_NEAR(position(pusher).x, 1 - 2 * kFrame, 1e-3);  // shown a step behind
  EXPECT_NEAR(position(pusher).y, 0.6f, 1e-4);
  EXPECT_GT(position(pushed).x, 1.9f);
  physicsGetLinearVelocity(kinematic, velocity);
  EXPECT_EQ(velocity[0], 2);
}

TEST_F(PhysicsWorld, BodyWritesReachChildEntitiesInWorldSpace) {
  physicsConfigure(0, 0, 0, 0);
  const uint32_t parent = entityAt(10, 0, 0);
  setScale(parent, 2, 2, 2);
  const uint32_t child = entityAt(0, 5, 0);
  setParent(child, parent, false);
  physicsSetLinearVelocity(physicsCreateSphere(child, 0.5f, kMotionDynamic, 0), 1, 0, 0);
  run(1);
  // The body started at the child's world pose and is written back there, unscaled by it.
  EXPECT_NEAR(position(child).x, 11, 0.06f);
  EXPECT_NEAR(position(child).y, 10, 1e-4);
}

TEST_F(PhysicsWorld, BodyIdsCarryASequenceSoStaleIdsNameNothing) {
  const uint32_t entity = entityAt(0, 0, 0);
  const uint32_t first = physicsCreateSphere(entity, 1, kMotionDynamic, 0);
  EXPECT_EQ(first, 8388608u);
  physicsRemoveBody(first);
  EXPECT_EQ(physicsCreateSphere(entity, 1, kMotionDynamic, 0), 16777216u);

  ::testing::internal::CaptureStdout();
  float velocity[3] = {5, 5, 5};
  physicsGetLinearVelocity(first, velocity);
  physicsGetLinearVelocity(first, velocity);
  physicsRemoveBody(first);
  EXPECT_EQ(::testing::internal::GetCapturedStdout(),
            "[creator-gl] physicsGetLinearVelocity: unknown body 8388608\n"
            "[creator-gl] physicsRemoveBody: unknown body 8388608\n");
  EXPECT_EQ(velocity[0], 0);

  for (int cycle = 0; cycle < 300; ++cycle) {
    const uint32_t id = physicsCreateSphere(entity, 1, kMotionStatic, 0);
    ASSERT_NE(id, 0u);
    physicsRemoveBody(id);
  }
  // Bad input makes no body.
  EXPECT_EQ(physicsCreateSphere(entity, 1, 3, 0), 0u);
  EXPECT_EQ(physicsCreateSphere(entity, NAN, kMotionDynamic, 0), 0u);
  EXPECT_EQ(physicsCreateBox(entity, 0.05f, 1, 1, kMotionDynamic, 0), 0u);
  EXPECT_EQ(physicsCreateBody(entity, 999, kMotionDynamic, 0, false, false), 0u);
}

TEST_F(PhysicsWorld, ASecondBodyTakesOverTheEntity) {
  physicsConfigure(0, 0, 0, 0);
  const uint32_t entity = entityAt(0, 0, 0);
  const uint32_t first = physicsCreateSphere(entity, 0.5f, kMotionDynamic, 0);
  const uint32_t second = physicsCreateSphere(entity, 0.5f, kMotionDynamic, 0);
  physicsSetBodyPosition(second, 0, 0, 10);
  physicsSetLinearVelocity(first, 5, 0, 0);
  physicsSetLinearVelocity(second, 0, 1, 0);
  run(1);
  EXPECT_NEAR(position(entity).x, 0, 1e-4);
  EXPECT_NEAR(position(entity).y, 1, 0.06f);
}

TEST_F(PhysicsWorld, ContactsAreReportedOnceAsTheyBeginAndEnd) {
  const uint32_t ground = floor();
  const uint32_t box = entityAt(0, 1, 0);
  const uint32_t id = physicsCreateBox(box, 0.5f, 0.5f, 0.5f, kMotionDynamic, 0);
  run(2);
  EXPECT_EQ(events, (std::vector<Event>{{box, ground, 0}}));
  physicsSetBodyPosition(id, 0, 10, 0);
  run(0.1f);
  EXPECT_EQ(events, (std::vector<Event>{{box, ground, 0}, {box, ground, 1}}));

  // Between two dynamic bodies the lower id comes first.
  events.clear();
  const uint32_t top = entityAt(3, 2, 0), bottom = entityAt(3, 0.5f, 0);
  physicsCreateBox(top, 0.5f, 0.5f, 0.5f, kMotionDynamic, 0);
  physicsCreateBox(bottom, 0.5f, 0.5f, 0.5f, kMotionDynamic, 0);
  run(1);
  EXPECT_NE(std::find(events.begin(), events.end(), Event{top, bottom, 0}), events.end());
}

TEST_F(PhysicsWorld, SensorsReportWhatPassesAndLoseBodiesThatSleep) {
  const uint32_t ground = floor();
  const uint32_t sensorShape = physicsBuildBox(1, 1, 1);
  const uint32_t gate = entityAt(0, 5, 0);
  physicsCreateBody(gate, sensorShape, kMotionStatic, 0, true, false);
  // Kinematic bodies meet sensors but not the floor.
  const uint32_t sweeper = entityAt(-4, 5, 0);
  physicsSetLinearVelocity(physicsCreateBox(sweeper, 0.5f, 0.5f, 0.5f, kMotionKinematic, 0), 4, 0,
                           0);
  const uint32_t digger = entityAt(0, 1, 4);
  physicsSetLinearVelocity(physicsCreateBox(digger, 0.5f, 0.5f, 0.5f, kMotionKinematic, 0), 0, -2,
                           0);
  run(2);
  EXPECT_EQ(events, (std::vector<Event>{{sweeper, gate, 0}, {sweeper, gate, 1}}));

  // A falling box passes through.
  events.clear();
  const uint32_t faller = entityAt(0.2f, 8, 0);
  physicsCreateBox(faller, 0.25f, 0.25f, 0.25f, kMotionDynamic, 0);
  run(3);
  EXPECT_EQ(events,
            (std::vector<Event>{{faller, gate, 0}, {faller, gate, 1}, {faller, ground, 0}}));

  // A box resting inside a static sensor leaves it when it falls asleep.
  events.clear();
  const uint32_t pad = entityAt(5, 0.5f, 0);
  physicsCreateBody(pad, sensorShape, kMotionStatic, 0, true, false);
  const uint32_t sleeper = entityAt(5, 0.3f, 0);
  const uint32_t sleeperId = physicsCreateBox(sleeper, 0.25f, 0.25f, 0.25f, kMotionDynamic, 0);
  run(4);
  EXPECT_EQ(events,
            (std::vector<Event>{{sleeper, pad, 0}, {sleeper, ground, 0}, {sleeper, pad, 1}}));
  // Stopping a sleeping body leaves it asleep.
  physicsSetLinearVelocity(sleeperId, 0, 0, 0);
  run(0.5f);
  EXPECT_EQ(events.size(), 3u);
}

TEST_F(PhysicsWorld, ACallbackMayRemoveTheBodiesOfLaterEvents) {
  const uint32_t ground = floor();
  std::vector<uint32_t> bodies;
  for (int i = 0; i < 3; ++i) {
    bodies.push_back(
        physicsCreateBox(entityAt(i * 2.0f, 0.5f, 0), 0.5f, 0.5f, 0.5f, kMotionDynamic, 0));
  }
  uint32_t ball = 0;
  setPhysicsEventFunc([&](uint32_t a, uint32_t b, int type) {
    events.emplace_back(a, b, type);
    if (ball) return;
    for (const uint32_t body : bodies) physicsRemoveBody(body);
    ball = entityAt(0, 1.5f, 0);
    physicsCreateSphere(ball, 0.5f, kMotionDynamic, 0);
  });
  run(1);
  // The other boxes' events went with them; the ball made meanwhile is heard when it lands.
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[1], (Event{ball, ground, 0}));
}

TEST_F(PhysicsWorld, RaysFindPickableBodiesIncludingQueryOnlyOnes) {
  const uint32_t target = entityAt(0, 0, -5);
  const uint32_t id = physicsCreateBox(target, 1, 1, 1, kMotionStatic, 0);
  float out[7];
  EXPECT_EQ(physicsRaycast(0, 0, 0, 0, 0, -1, 10, out), target);
  const std::vector<float> hit(out, out + 7);
  EXPECT_NEAR(hit[2], -4, 1e-3);
  EXPECT_NEAR(hit[5], 1, 1e-5);
  EXPECT_NEAR(hit[6], 0.4f, 1e-4);
  EXPECT_EQ(physicsRaycast(0, 0, 0, 0, 0, -1, 10, nullptr), target);
  EXPECT_EQ(physicsRaycast(0, 0, 0, 0, 0, -1, 3, out), 0u);   // short of it
  EXPECT_EQ(physicsRaycast(0, 0, -5, 0, 0, 0, 10, out), 0u);  // no length

  // From inside: at once, the nearest face's normal.
  EXPECT_EQ(physicsRaycast(0.8f, 0, -5, 0, 0, -1, 10, out), target);
  EXPECT_EQ(out[6], 0);
  EXPECT_EQ(out[0], 0.8f);
  EXPECT_NEAR(out[3], 1, 1e-6);

  physicsSetPickable(id, false);
  EXPECT_EQ(physicsRaycast(0, 0, 0, 0, 0, -1, 10, out), 0u);

  // A query-only body stops no falling box but stops rays until made unpickable.
  const uint32_t ghost = entityAt(0, 5, 0);
  const uint32_t ghostId =
      physicsCreateBody(ghost, physicsBuildBox(2, 0.2f, 2), kMotionDynamic, 0, false, true);
  const uint32_t box = entityAt(0, 7, 0);
  physicsCreateBox(box, 0.5f, 0.5f, 0.5f, kMotionDynamic, 0);
  run(1.5f);
  EXPECT_LT(position(box).y, 2);
  EXPECT_EQ(events.size(), 0u);
  EXPECT_EQ(physicsRaycast(0, 10, 0.3f, 0, -1, 0, 20, out), ghost);
  physicsSetPickable(ghostId, false);
  EXPECT_EQ(physicsRaycast(0, 10, 0.3f, 0, -1, 0, 20, out), box);
}

TEST_F(PhysicsWorld, PickingThroughTheViewHitsWhatTheCameraSees) {
  const uint32_t box = entityAt(0, 0, -5);
  const uint32_t id = physicsCreateBox(box, 1, 1, 1, kMotionStatic, 0);
  EXPECT_EQ(raycastView(32, 32), box);
  EXPECT_EQ(raycastView(1, 1), 0u);
  physicsSetPickable(id, false);
  EXPECT_EQ(raycastView(32, 32), 0u);
  physicsSetPickable(id, true);
  closeScene();
  EXPECT_EQ(raycastView(32, 32), 0u);
}

TEST_F(PhysicsWorld, ConfiguringRebuildsOnlyAnEmptyWorld) {
  const uint32_t entity = entityAt(0, 0, 0);
  std::vector<uint32_t> bodies{physicsCreateSphere(entity, 1, kMotionDynamic, 0)};
  physicsConfigure(0, 0, -1, 0);
  physicsConfigure(2, 0, -1, 0);  // a body exists: the maximum waits, gravity does not
  run(1);
  float velocity[3];
  physicsGetLinearVelocity(bodies[0], velocity);
  EXPECT_NEAR(velocity[1], -1, 0.03f);
  bodies.push_back(physicsCreateSphere(entity, 1, kMotionDynamic, 0));
  bodies.push_back(physicsCreateSphere(entity, 1, kMotionDynamic, 0));
  EXPECT_NE(bodies.back(), 0u);

  for (const uint32_t body : bodies) physicsRemoveBody(body);
  physicsConfigure(2, 0, -1, 0);
  EXPECT_EQ(physicsCreateSphere(entity, 1, kMotionDynamic, 0), 8388608u);  // a new world
  EXPECT_NE(physicsCreateSphere(entity, 1, kMotionDynamic, 0), 0u);
  ::testing::internal::CaptureStdout();
  EXPECT_EQ(physicsCreateSphere(entity, 1, kMotionDynamic, 0), 0u);
  EXPECT_EQ(::testing::internal::GetCapturedStdout(),
            "[creator-gl] physics: body limit 2 reached\n");
}

}  // namespace
}  // namespace talvero::scene3d
