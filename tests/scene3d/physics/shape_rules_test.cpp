#include "scene3d/physics/shape_rules.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>

namespace talvero::scene3d {
namespace {

PhysicsShapeSize box(float x, float y, float z) {
  return {PhysicsShapeKind::box, x, y, z};
}
PhysicsShapeSize round(PhysicsShapeKind kind, float radius, float halfHeight = 0) {
  return {kind, 0, 0, 0, radius, halfHeight};
}

TEST(PhysicsShapes, TooSmallOrNonFiniteSizesAreRefused) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  using K = PhysicsShapeKind;
  for (const PhysicsShapeSize& refused :
       {box(0.05f, 1, 1), box(1, 0, 1), box(1, 1, nan), round(K::sphere, 0),
        round(K::sphere, INFINITY), round(K::cylinder, 0.04f, 1), round(K::cylinder, 1, 0.04f),
        round(K::capsule, 0, 1), round(K::capsule, 1, -0.1f), round(K::capsule, 1, nan)}) {
    EXPECT_TRUE(shapeRefusal(refused)) << int(refused.kind);
  }
  for (const PhysicsShapeSize& built :
       {box(0.051f, 0.051f, 0.051f), round(K::sphere, 0.01f), round(K::cylinder, 0.05f, 0.05f),
        round(K::capsule, 0.3f, 0)}) {
    EXPECT_FALSE(shapeRefusal(built)) << int(built.kind);
  }
}

TEST(PhysicsShapes, WithoutAMassASolidOfWaterWeighsItsVolume) {
  // A unit cube: a tonne, so an impulse of 1000 moves it at 1 m/s.
  const MassProperties cube = solidMassProperties(box(0.5f, 0.5f, 0.5f), 0);
  EXPECT_DOUBLE_EQ(cube.mass, 1000);
  EXPECT_DOUBLE_EQ(cube.inertia[0], 1000.0 / 6);
  EXPECT_NEAR(solidMassProperties(round(PhysicsShapeKind::sphere, 1), -3).mass,
              4000 * std::numbers::pi / 3, 1e-9);
}

TEST(PhysicsShapes, AGivenMassGivesTheSolidShapesInertia) {
  const MassProperties flat = solidMassProperties(box(1, 0.1f, 2), 6);
  EXPECT_DOUBLE_EQ(flat.mass, 6);
  EXPECT_NEAR(flat.inertia[1], 2 * (1 + 4), 1e-6);  // m/3 · (x² + z²)
  const MassProperties cylinder = solidMassProperties(round(PhysicsShapeKind::cylinder, 2, 3), 12);
  EXPECT_NEAR(cylinder.inertia[1], 24, 1e-9);                     // m r² / 2
  EXPECT_NEAR(cylinder.inertia[0], 12 * (12 + 36) / 12.0, 1e-9);  // m (3r² + (2h)²) / 12
  // A capsule with no cylinder part is a sphere.
  const MassProperties ball = solidMassProperties(round(PhysicsShapeKind::capsule, 0.5f, 0), 70);
  for (const double moment : ball.inertia) EXPECT_NEAR(moment, 0.4 * 70 * 0.25, 1e-9);
  // A long capsule turns more easily about its axis than across it.
  const MassProperties body = solidMassProperties(round(PhysicsShapeKind::capsule, 0.3f, 0.5f), 70);
  EXPECT_DOUBLE_EQ(body.mass, 70);
  EXPECT_LT(body.inertia[1], body.inertia[0]);
  EXPECT_DOUBLE_EQ(body.inertia[0], body.inertia[2]);
}

}  // namespace
}  // namespace talvero::scene3d
