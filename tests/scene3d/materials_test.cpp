#include "scene3d/materials.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "scene3d_test_support.h"

namespace talvero::scene3d {
namespace {

using testing::Scene3DTest;

std::string logOf(const std::function<void()>& body) {
  ::testing::internal::CaptureStdout();
  body();
  return ::testing::internal::GetCapturedStdout();
}

TEST_F(Scene3DTest, GarbageAndStaleHandlesAreRefusedWithOneLineAndTheEngineGoesOn) {
  const std::vector<uint8_t> garbage(64, 7);
  EXPECT_EQ(logOf([&] { EXPECT_EQ(createMaterial(garbage.data(), garbage.size()), -1); }),
            "[creator-gl] createMaterial: not a material package\n");
  EXPECT_EQ(logOf([] {
              setUniformRgb(5, "baseColor", 0xFF0000);
              setUniformRgb(5, "baseColor", 0xFF0000);  // the same mistake again: no new line
            }),
            "[creator-gl] setUniformRgb: unknown material instance 5\n");
  square(-2, 0x00FF00FF);
  EXPECT_EQ(pixelAt(draw(), 32, 32), (std::vector<int>{0, 255, 0, 255}));
}

TEST_F(Scene3DTest, UniformsOfAnotherNameOrTypeSetNothing) {
  square(-2, 0x0000FFFF);
  const int64_t instance = static_cast<int64_t>(materialInstanceCount()) - 1;
  const std::string log = logOf([&] {
    setUniformRgb(instance, "baseColor", 0xFF0000);  // a float4, not a float3
    setUniformFloat(instance, "roughness", 1);
  });
  EXPECT_EQ(log,
            "[creator-gl] setUniformRgb: parameter \"baseColor\" is of another type\n"
            "[creator-gl] setUniformFloat: unknown parameter \"roughness\"\n");
  EXPECT_EQ(pixelAt(draw(), 32, 32), (std::vector<int>{0, 0, 255, 255}));
}

TEST_F(Scene3DTest, MeshesRefuseArraysThatDoNotFitAndKeepTheEntityAsItWas) {
  const uint32_t entity = square(-2, 0xFFFFFFFF);
  const int64_t instance = static_cast<int64_t>(materialInstanceCount()) - 1;
  const float positions[] = {0, 0, 0, 1, 0, 0, 0, 1, 0};
  const float normals[] = {0, 0, 1, 0, 0, 1, 0, 0, 1};
  const float uvs[] = {0, 0, 1, 0, 0, 1};
  const uint16_t outOfRange[] = {0, 1, 3};
  const std::string log = logOf([&] {
    EXPECT_FALSE(createMesh(entity, instance, positions, 8, normals, 9, outOfRange, 3, uvs, 6, 0));
    EXPECT_FALSE(createMesh(entity, instance, positions, 9, normals, 6, outOfRange, 3, uvs, 6, 0));
    EXPECT_FALSE(
        createMesh(0x7FFFFFFF, instance, positions, 9, normals, 9, outOfRange, 3, uvs, 6, 0));
  });
  EXPECT_NE(log.find("[creator-gl] setMesh: positions must be 3 floats a vertex"),
            std::string::npos);
  EXPECT_NE(log.find("[creator-gl] setMesh: unknown entity"), std::string::npos);
  EXPECT_TRUE(hasMesh(entity));
  EXPECT_EQ(pixelAt(draw(), 32, 32), (std::vector<int>{255, 255, 255, 255}));
}

TEST_F(Scene3DTest, ANewMeshReplacesTheOldOne) {
  const uint32_t entity = square(-2, 0xFF0000FF);
  const int64_t instance = static_cast<int64_t>(materialInstanceCount()) - 1;
  // A small triangle in the lower left corner only.
  const float positions[] = {-1.1f, -1.1f, -2, -0.9f, -1.1f, -2, -1.1f, -0.9f, -2};
  const float normals[] = {0, 0, 1, 0, 0, 1, 0, 0, 1};
  const float uvs[] = {0, 0, 1, 0, 0, 1};
  const uint16_t indices[] = {0, 1, 2};
  ASSERT_TRUE(createMesh(entity, instance, positions, 9, normals, 9, indices, 3, uvs, 6, 0));
  EXPECT_EQ(pixelAt(draw(), 32, 32), (std::vector<int>{26, 64, 145, 255}));  // the sky
}

}  // namespace
}  // namespace talvero::scene3d
