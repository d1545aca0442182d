#include "scene3d/materials.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "scene3d/textures.h"
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

// Primitive 1 draws the index pairs as lines, 2 each index as a point: no triangle is filled.
TEST_F(Scene3DTest, PrimitiveOneDrawsLinesAndTwoDrawsPoints) {
  const int64_t instance = testing::unlitColour(0xFF0000FF);
  // The four corners of a square round the centre; as a line list, its bottom and top edges.
  const float positions[] = {-1, -1, -2, 1, -1, -2, 1, 1, -2, -1, 1, -2};
  const float normals[] = {0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1};
  const float uvs[8] = {};
  const uint16_t indices[] = {0, 1, 2, 3};
  const uint32_t entity = createEntity();
  ASSERT_TRUE(createMesh(entity, instance, positions, 12, normals, 12, indices, 4, uvs, 8, 1));
  addEntityToScene(scene, entity);
  const std::vector<int> red{255, 0, 0, 255};
  const std::vector<int> sky{26, 64, 145, 255};
  std::vector<uint8_t> pixels = draw();
  EXPECT_EQ(pixelAt(pixels, 32, 32), sky);  // nothing filled
  int redRows = 0;
  for (int y = 0; y < 64; ++y) redRows += pixelAt(pixels, 32, y) == red;
  EXPECT_EQ(redRows, 2);  // one row for each edge

  ASSERT_TRUE(createMesh(entity, instance, positions, 12, normals, 12, indices, 4, uvs, 8, 2));
  pixels = draw();
  int redPixels = 0;
  for (int y = 0; y < 64; ++y) {
    for (int x = 0; x < 64; ++x) redPixels += pixelAt(pixels, x, y) == red;
  }
  EXPECT_GE(redPixels, 4);  // the corners, each at least a pixel
  EXPECT_LE(redPixels, 4 * 16);
  EXPECT_EQ(pixelAt(pixels, 32, 32), sky);
}

TEST_F(Scene3DTest, SamplersDrawWhiteUntilATextureIsBoundAndTexturesAreSRGB) {
  int64_t instance = -1;
  texturedSquare(&instance);
  EXPECT_EQ(pixelAt(draw(), 32, 32), (std::vector<int>{255, 255, 255, 255}));
  // sRGB 128 is 0.216 in linear light, which the software path writes as it is.
  const uint8_t grey[] = {128, 128, 128, 255};
  const int64_t texture = createTextureFromRGBA(grey, 1, 1);
  setUniformTexture(instance, "baseTexture", texture, 0, 0);
  const std::vector<int> drawn = pixelAt(draw(), 32, 32);
  EXPECT_NEAR(drawn[0], 55, 2);
  EXPECT_NEAR(drawn[1], 55, 2);
}

TEST_F(Scene3DTest, UpdatingATextureKeepsItsHandleAtTheSameSizeAndAtANewOne) {
  int64_t instance = -1;
  texturedSquare(&instance);
  const uint8_t red[] = {255, 0, 0, 255};
  const int64_t texture = createTextureFromRGBA(red, 1, 1);
  setUniformTexture(instance, "baseTexture", texture, 1, 1);
  EXPECT_EQ(pixelAt(draw(), 32, 32), (std::vector<int>{255, 0, 0, 255}));
  const uint8_t green[] = {0, 255, 0, 255};
  updateTextureFromRGBA(texture, green, 1, 1);
  EXPECT_EQ(pixelAt(draw(), 32, 32), (std::vector<int>{0, 255, 0, 255}));
  const std::vector<uint8_t> blue(2 * 2 * 4, 0);
  std::vector<uint8_t> blueSquare = blue;
  for (size_t i = 2; i < blueSquare.size(); i += 4) blueSquare[i] = blueSquare[i + 1] = 255;
  updateTextureFromRGBA(texture, blueSquare.data(), 2, 2);
  // A new size is a new texture: the instance draws white until it is bound again.
  EXPECT_EQ(pixelAt(draw(), 32, 32), (std::vector<int>{255, 255, 255, 255}));
  setUniformTexture(instance, "baseTexture", texture, 1, 1);
  EXPECT_EQ(pixelAt(draw(), 32, 32), (std::vector<int>{0, 0, 255, 255}));
  EXPECT_EQ(textureCount(), 1u);
  updateTextureFromRGBA(7, green, 1, 1);  // past the table: nothing
  EXPECT_EQ(textureCount(), 1u);
}

TEST_F(Scene3DTest, UniformArraysSetTwoToFourFloatsOfTheirOwnType) {
  square(-2, 0xFF0000FF);
  const int64_t instance = static_cast<int64_t>(materialInstanceCount()) - 1;
  const float five[] = {0, 0, 1, 1, 1};
  setUniformArray(instance, "baseColor", five, 5);  // no such vector: nothing
  EXPECT_EQ(pixelAt(draw(), 32, 32), (std::vector<int>{255, 0, 0, 255}));
  const std::string log = logOf([&] { setUniformArray(instance, "baseColor", five, 3); });
  EXPECT_EQ(log, "[creator-gl] setUniformArray: parameter \"baseColor\" is of another type\n");
  setUniformArray(instance, "baseColor", five, 4);
  EXPECT_EQ(pixelAt(draw(), 32, 32), (std::vector<int>{0, 0, 255, 255}));
}

TEST_F(Scene3DTest, MaterialsMoveBetweenPrimitivesByHandle) {
  const uint32_t red = square(-2, 0xFF0000FF);
  const int64_t green = static_cast<int64_t>(materialInstanceCount());
  square(-3, 0x00FF00FF);  // behind the red one
  const int64_t first = getMaterial(red, 0);
  EXPECT_NE(first, getMaterial(red, 0));  // two handles to one instance
  setMaterial(red, green, 0);
  EXPECT_EQ(pixelAt(draw(), 32, 32), (std::vector<int>{0, 255, 0, 255}));
  EXPECT_EQ(logOf([&] { EXPECT_EQ(getMaterial(red, 1), -1); }),
            "[creator-gl] getMaterial: entity " + std::to_string(red) + " has no primitive 1\n");
}

}  // namespace
}  // namespace talvero::scene3d
