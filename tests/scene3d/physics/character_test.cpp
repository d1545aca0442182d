#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <map>
#include <tuple>
#include <vector>

#include "scene3d/physics/character.h"
#include "scene3d/physics/physics_world.h"
#include "scene3d/scene3d_test_support.h"

namespace talvero::scene3d {
namespace {

constexpr float kFrame = 1.0f / 60.0f;
constexpr float kPi = 3.14159265f;
// A capsule of half height 0.5 and radius 0.3 standing on a floor at y = 0, padding and all.
constexpr float kStandingHeight = 0.82f;

struct Point {
  float x = 0, y = 0, z = 0;
};

struct Walker {
  uint32_t id = 0;
  float vx = 0, vz = 0;
};

class Characters : public testing::Scene3DTest {
 protected:
  void SetUp() override {
    Scene3DTest::SetUp();
    physicsConfigure(4096, 0, -9.81f, 0);
    capsule = physicsBuildCapsule(0.5f, 0.3f);
  }

  uint32_t entityAt(float x, float y, float z) {
    const uint32_t entity = createEntity();
    setPosition(entity, x, y, z);
    return entity;
  }
  // A static slab whose top is at y = 0.
  void floor() { physicsCreateBox(entityAt(0, -0.5f, 0), 40, 0.5f, 40, kMotionStatic, 0); }
  // A static block on the floor, its face toward -x at `x`.
  uint32_t block(float x, float z, float height) {
    return physicsCreateBox(entityAt(x + 2, height / 2, z), 2, height / 2, 1.5f, kMotionStatic, 0);
  }
  // A static ramp rising toward +x at `degrees`, its top surface leaving the floor at x.
  void ramp(float x, float z, float degrees) {
    const float a = degrees * kPi / 180;
    const uint32_t entity =
        entityAt(x + 4 * std::cos(a) + 0.5f * std::sin(a), 4 * std::sin(a) - 0.5f * std::cos(a), z);
    setQuaternion(entity, 0, 0, std::sin(a / 2), std::cos(a / 2));
    physicsCreateBox(entity, 4, 0.5f, 1.5f, kMotionStatic, 0);
  }
  // Where a capsule resting on that ramp has its centre, above x.
  static float onRamp(float rampX, float degrees, float x) {
    const float a = degrees * kPi / 180;
    return (x - rampX) * std::tan(a) + 0.32f / std::cos(a) + 0.5f;
  }

  Walker character(float x, float y, float z, float maxSlope = 0) {
    const uint32_t entity = entityAt(x, y, z);
    const uint32_t id = characterCreate(entity, capsule, maxSlope);
    entities[id] = entity;
    return {id};
  }
  Point position(uint32_t entity) {
    float out[3];
    getWorldPosition(entity, out);
    return {out[0], out[1], out[2]};
  }
  Point where(const Walker& walker) { return position(entities[walker.id]); }

  // Frames of the usual script: each walker walks at its speed, and gravity builds up in its
  // velocity while it is not on the ground. `each` looks on after every frame.
  void frames(int count, const std::vector<Walker>& walkers,
              const std::function<void()>& each = {}) {
    for (int frame = 0; frame < count; ++frame) {
      for (const Walker& walker : walkers) {
        float v[3];
        characterGetVelocity(walker.id, v);
        const bool grounded = characterGetGroundState(walker.id) == kOnGround;
        characterSetVelocity(walker.id, walker.vx, grounded ? 0 : v[1] - 9.81f * kFrame, walker.vz);
      }
      physicsStep(kFrame);
      if (each) each();
    }
  }

  uint32_t capsule = 0;
  std::map<uint32_t, uint32_t> entities;  // of the characters, by id
};

TEST_F(Characters, FallWithTheScriptsGravityLandAndWalk) {
  floor();
  const Walker walker = character(0, 2, 0);
  ASSERT_NE(walker.id, 0u);
  // The world adds no gravity: without the script's, a character hangs where it is.
  physicsStep(kFrame);
  EXPECT_EQ(characterGetGroundState(walker.id), kInAir);
  EXPECT_EQ(where(walker).y, 2);

  frames(60, {walker});
  EXPECT_EQ(characterGetGroundState(walker.id), kOnGround);
  EXPECT_NEAR(where(walker).y, kStandingHeight, 2e-3);

  Walker walking = walker;
  walking.vx = 2;
  frames(60, {walking}, [&] { EXPECT_EQ(characterGetGroundState(walker.id), kOnGround); });
  EXPECT_NEAR(where(walker).x, 2, 1e-3);
  EXPECT_NEAR(where(walker).y, kStandingHeight, 2e-3);
  // Collisions do not change the velocity the script set.
  float v[3];
  characterGetVelocity(walker.id, v);
  EXPECT_EQ(v[0], 2);
  EXPECT_EQ(v[1], 0);

  // A frame of no time moves nothing.
  physicsStep(0);
  EXPECT_NEAR(where(walker).x, 2, 1e-3);
}

TEST_F(Characters, AWallAloneDoesNotHoldACharacterUp) {
  physicsCreateBox(entityAt(2, 0, 0), 1, 5, 1, kMotionStatic, 0);
  const Walker walker = character(0, 3, 0);
  characterSetVelocity(walker.id, 2, 0, 0);
  for (int frame = 0; frame < 30; ++frame) physicsStep(kFrame);
  EXPECT_EQ(characterGetGroundState(walker.id), kNotSupported);
  EXPECT_NEAR(where(walker).x, 1 - 0.32f, 2e-3);
  characterSetVelocity(walker.id, -2, 0, 0);
  physicsStep(kFrame);
  EXPECT_EQ(characterGetGroundState(walker.id), kInAir);
}

TEST_F(Characters, ClimbALowStepButStopAtAHighOne) {
  floor();
  block(1, 0, 0.3f);
  block(1, 10, 0.6f);
  const Walker low{character(0, kStandingHeight, 0).id, 2, 0};
  const Walker high{character(0, kStandingHeight, 10).id, 2, 0};
  frames(90, {low, high});
  EXPECT_GT(where(low).x, 2.5f);
  EXPECT_NEAR(where(low).y, 0.3f + kStandingHeight, 2e-3);
  EXPECT_EQ(characterGetGroundState(low.id), kOnGround);
  // Held at its padding from the face.
  EXPECT_NEAR(where(high).x, 1 - 0.32f, 2e-3);
  EXPECT_NEAR(where(high).y, kStandingHeight, 2e-3);
  EXPECT_EQ(characterGetGroundState(high.id), kOnGround);
}

// Steps lower than the capsule's radius meet its rounded bottom: the edge's contact is too
// steep to stand on while the floor still holds the character, and the stairs walk lifts it
// over the edge a little each frame. A floor as wide as a level's, whose normals lean by
// rounding, must not turn the look for the floor beyond the edge aside.
TEST_F(Characters, ClimbStepsLowerThanTheRadiusAtAnyWalkingSpeed) {
  physicsCreateBox(entityAt(0, -0.5f, 0), 100, 0.5f, 100, kMotionStatic, 0);
  physicsCreateBox(entityAt(7, 0.1f, 0), 3, 0.1f, 14, kMotionStatic, 0);
  physicsCreateBox(entityAt(7, 0.3f, 0), 2.4f, 0.1f, 14, kMotionStatic, 0);
  std::vector<Walker> walkers;
  // Lanes at z = 10.1 start where a level's walkers did.
  for (const auto& [speed, x, z] : {std::tuple{0.5f, 2.0f, -8.0f},
                                    {1.0f, 2.0f, -4.0f},
                                    {1.5f, 2.0f, 0.0f},
                                    {1.5f, -1.0f, 10.1f},
                                    {2.0f, -1.0f, 10.1f},
                                    {3.0f, 2.0f, 4.0f}}) {
    walkers.push_back({character(x, kStandingHeight, z).id, speed, 0});
  }
  std::vector<bool> onSecondStep(walkers.size(), false);
  frames(420, walkers, [&] {
    for (size_t i = 0; i < walkers.size(); ++i) {
      const Point at = where(walkers[i]);
      const int32_t state = characterGetGroundState(walkers[i].id);
      // On the floor, up against the first edge or not, the floor holds it.
      if (std::fabs(at.y - kStandingHeight) < 1e-3f) {
        EXPECT_EQ(state, kOnGround) << "walker " << i;
      }
      if (std::fabs(at.y - 0.4f - kStandingHeight) < 2e-3f && state == kOnGround) {
        onSecondStep[i] = true;
      }
    }
  });
  for (size_t i = 0; i < walkers.size(); ++i) EXPECT_TRUE(onSecondStep[i]) << "walker " << i;
}

TEST_F(Characters, WalkUpAGentleSlopeAndSlideDownASteepOne) {
  floor();
  ramp(1, 0, 30);
  ramp(1, 10, 60);
  const Walker up{character(0, kStandingHeight, 0).id, 2, 0};
  const Walker down = character(2.5f, onRamp(1, 60, 2.5f) + 0.1f, 10);
  int steepFrames = 0;
  frames(90, {up, down}, [&] {
    EXPECT_EQ(characterGetGroundState(up.id), kOnGround);
    steepFrames += characterGetGroundState(down.id) == kOnSteepGround;
  });
  // Walking into the slope turns 2 m/s across into 1.5 across and 0.87 up.
  const float x = where(up).x;
  EXPECT_GT(x, 2.3f);
  EXPECT_LT(x, 2.7f);
  EXPECT_NEAR(where(up).y, onRamp(1, 30, x), 0.01f);
  // Down the slope, then standing on the floor at its foot.
  EXPECT_GT(steepFrames, 10);
  EXPECT_LT(where(down).x, 1);
  EXPECT_NEAR(where(down).y, kStandingHeight, 2e-3);
  EXPECT_EQ(characterGetGroundState(down.id), kOnGround);
}

TEST_F(Characters, StickToALowDropButFallFromAHighLedge) {
  floor();
  physicsCreateBox(entityAt(-2, 0.15f, 0), 2, 0.15f, 1.5f, kMotionStatic, 0);
  physicsCreateBox(entityAt(-2, 0.5f, 10), 2, 0.5f, 1.5f, kMotionStatic, 0);
  const Walker low{character(-1, 0.3f + kStandingHeight, 0).id, 2, 0};
  const Walker high{character(-1, 1 + kStandingHeight, 10).id, 2, 0};
  bool lowLeftTheGround = false, highFell = false;
  frames(60, {low, high}, [&] {
    lowLeftTheGround |= characterGetGroundState(low.id) == kInAir;
    highFell |= characterGetGroundState(high.id) == kInAir;
  });
  EXPECT_FALSE(lowLeftTheGround);
  EXPECT_TRUE(highFell);
  EXPECT_NEAR(where(low).y, kStandingHeight, 2e-3);
  EXPECT_EQ(characterGetGroundState(low.id), kOnGround);
}

TEST_F(Characters, PassThroughSensorsAndPushLightBoxesButNotHeavyOnes) {
  floor();
  const uint32_t sensorShape = physicsBuildBox(0.5f, 1, 1.5f);
  physicsCreateBody(entityAt(2, 1, 0), sensorShape, kMotionStatic, 0, true, false);
  const uint32_t light = entityAt(2, 0.5f, 10);
  physicsCreateBox(light, 0.5f, 0.5f, 0.5f, kMotionDynamic, 10);
  const uint32_t heavy = entityAt(2, 0.5f, 20);
  physicsCreateBox(heavy, 0.5f, 0.5f, 0.5f, kMotionDynamic, 1000);
  const Walker throughSensor{character(0, kStandingHeight, 0).id, 2, 0};
  const Walker pusher{character(0, kStandingHeight, 10).id, 2, 0};
  const Walker blocked{character(0, kStandingHeight, 20).id, 2, 0};
  frames(120, {throughSensor, pusher, blocked}, [] { physicsSyncForRender(); });
  EXPECT_NEAR(where(throughSensor).x, 4, 1e-3);
  // The light box moves off ahead, the character behind it.
  EXPECT_GT(position(light).x, 3);
  EXPECT_GT(where(pusher).x, 2);
  EXPECT_LT(where(pusher).x, position(light).x - 0.7f);
  // 100 N cannot overcome the heavy box's friction.
  EXPECT_NEAR(position(heavy).x, 2, 0.01f);
  EXPECT_NEAR(where(blocked).x, 2 - 0.5f - 0.32f, 0.01f);
}

TEST_F(Characters, ACharacterWeighsOnTheBodyItStandsOn) {
  floor();
  // A 20 kg plank balanced on a narrow post: 70 kg on one end tips it.
  physicsCreateBox(entityAt(0, 0.5f, 0), 0.1f, 0.5f, 1, kMotionStatic, 0);
  const uint32_t plank = entityAt(0, 1.1f, 0);
  physicsCreateBox(plank, 2, 0.1f, 1, kMotionDynamic, 20);
  const Walker standing = character(1.5f, 1.2f + kStandingHeight, 0);
  frames(60, {standing}, [] { physicsSyncForRender(); });
  float m[16];
  getWorldMatrix(plank, m);
  EXPECT_LT(m[1], -0.1f);  // its x axis now points down
  EXPECT_LT(where(standing).y, 1.2f + kStandingHeight - 0.1f);
}

TEST_F(Characters, AKinematicLiftRaisesTheCharacterStandingOnIt) {
  const uint32_t lift = entityAt(0, 0, 0);
  const uint32_t body = physicsCreateBox(lift, 1, 0.5f, 1, kMotionKinematic, 0);
  const Walker rider = character(0, 0.5f + kStandingHeight, 0);
  frames(10, {rider});
  physicsSetLinearVelocity(body, 0, 1, 0);
  frames(60, {rider}, [&] { EXPECT_EQ(characterGetGroundState(rider.id), kOnGround); });
  physicsSyncForRender();
  EXPECT_NEAR(where(rider).y, 1.5f + kStandingHeight, 0.03f);
}

TEST_F(Characters, BodiesRaysAndOtherCharactersDoNotSeeACharacter) {
  floor();
  const Walker a{character(-2, kStandingHeight, 0).id, 2, 0};
  const Walker b{character(2, kStandingHeight, 0).id, -2, 0};
  const Walker standing = character(6, kStandingHeight, 0);
  const uint32_t box = entityAt(6, 3, 0);
  physicsCreateBox(box, 0.3f, 0.3f, 0.3f, kMotionDynamic, 0);
  frames(120, {a, b, standing}, [] { physicsSyncForRender(); });
  EXPECT_NEAR(where(a).x, 2, 1e-3);
  EXPECT_NEAR(where(b).x, -2, 1e-3);
  EXPECT_NEAR(position(box).y, 0.3f, 0.01f);
  // The ray from above lands on the floor through the character standing there.
  float hit[7];
  EXPECT_NE(physicsRaycast(2, 5, 0, 0, -1, 0, 10, hit), 0u);
  EXPECT_NEAR(hit[1], 0, 1e-3);
}

TEST_F(Characters, SlopeLimitDefaultsTo45Degrees) {
  floor();
  ramp(1, 0, 40);
  ramp(1, 10, 50);
  ramp(1, 20, 50);
  const Walker gentle = character(3, onRamp(1, 40, 3) + 0.05f, 0);
  const Walker steep = character(3, onRamp(1, 50, 3) + 0.05f, 10);
  const Walker steepAllowed = character(3, onRamp(1, 50, 3) + 0.05f, 20, 60);
  frames(20, {gentle, steep, steepAllowed});
  EXPECT_EQ(characterGetGroundState(gentle.id), kOnGround);
  EXPECT_NEAR(where(gentle).x, 3, 0.01f);  // only the landing slides it a little
  EXPECT_EQ(characterGetGroundState(steep.id), kOnSteepGround);
  EXPECT_LT(where(steep).x, 2.9f);
  EXPECT_EQ(characterGetGroundState(steepAllowed.id), kOnGround);
}

TEST_F(Characters, UnknownShapesAndIdsGiveNeutralResults) {
  const uint32_t entity = entityAt(0, 0, 0);
  const uint32_t gone = physicsBuildSphere(0.5f);
  physicsDestroyShape(gone);
  EXPECT_EQ(characterCreate(entity, gone, 0), 0u);
  EXPECT_EQ(characterCreate(entity, 999, 0), 0u);

  const uint32_t first = characterCreate(entity, capsule, 0);
  EXPECT_NE(first, 0u);
  characterDestroy(first);
  EXPECT_EQ(characterGetGroundState(first), kInAir);
  EXPECT_EQ(characterGetGroundState(0), kInAir);
  float v[3] = {1, 1, 1};
  characterGetVelocity(first, v);
  EXPECT_EQ(v[0], 0);
  characterSetVelocity(first, 1, 2, 3);
  characterSetPosition(first, 1, 2, 3);

  // A character keeps its shape when the table lets it go, and ids are never reused, even
  // after the world's end.
  const uint32_t second = characterCreate(entity, capsule, 0);
  EXPECT_EQ(second, first + 1);
  physicsDestroyShape(capsule);
  characterSetVelocity(second, 1, 0, 0);
  physicsStep(kFrame);
  EXPECT_NEAR(position(entity).x, kFrame, 1e-5);
  physicsShutdown();
  EXPECT_EQ(characterGetGroundState(second), kInAir);
  const uint32_t third = characterCreate(entity, physicsBuildSphere(0.5f), 0);
  EXPECT_EQ(third, second + 1);

  ::testing::internal::CaptureStdout();
  characterSetVelocity(third, NAN, 0, 0);
  characterSetVelocity(third, NAN, 0, 0);
  EXPECT_EQ(::testing::internal::GetCapturedStdout(),
            "[creator-gl] characterSetVelocity: velocity must be finite\n");
}

TEST_F(Characters, TheEntityFollowsWithItsScaleAndRotationFromCreation) {
  const uint32_t parent = entityAt(0, 1, 0);
  const uint32_t entity = entityAt(5, 0, 0);
  setParent(entity, parent, false);
  setScale(entity, 2, 2, 2);
  setQuaternion(entity, 0, std::sin(kPi / 4), 0, std::cos(kPi / 4));  // 90° about y
  const uint32_t id = characterCreate(entity, capsule, 0);
  setScale(entity, 1, 1, 1);
  setQuaternion(entity, 0, 0, 0, 1);
  characterSetPosition(id, 3, 4, 5);
  physicsStep(kFrame);
  float m[16];
  getWorldMatrix(entity, m);
  // Column by column: x turned to -z, y kept, z turned to x, all twice as long.
  const float expected[16] = {0, 0, -2, 0, 0, 2, 0, 0, 2, 0, 0, 0, 3, 4, 5, 1};
  for (int i = 0; i < 16; ++i) EXPECT_NEAR(m[i], expected[i], 1e-5) << i;
}

}  // namespace
}  // namespace talvero::scene3d
