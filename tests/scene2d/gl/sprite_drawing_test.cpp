#include <gtest/gtest.h>
#include "image_encoding.h"

#include <string>

#include "drawing_fixture.h"

namespace talvero::scene2d::testing {
namespace {

using Scene2DSprites = Scene2DDrawing;

TEST_F(Scene2DSprites, LandWhereTheCameraTheirRotationInDegreesAndAnchorPutThem) {
  const int32_t entity = sprite(texture(1, 1, {kRed}), 10, 5, 10, 6);
  c2dCameraSetPosition(scene, 4, -2);
  render();
  // Centre at pixel (32 + 6, 32 - 7): world y is up, the screen's down.
  EXPECT_EQ(coverage(kRed), (Box{33, 22, 42, 27}));
  c2dCameraSetZoom(scene, 2);
  render();
  EXPECT_EQ(coverage(kRed), (Box{34, 12, 53, 23})) << "zoom scales about the camera's position";

  c2dCameraSetPosition(scene, 0, 0);
  c2dCameraSetZoom(scene, 1);
  c2dSetPosition(entity, 0, 0);
  c2dSetSpriteSize(entity, 40, 10);
  c2dSetRotation(entity, 90);
  render();
  EXPECT_EQ(coverage(kRed), (Box{27, 12, 36, 51}));
  // Turned a quarter anticlockwise about the middle of its left edge, it stands up from there.
  c2dSetSpriteAnchor(entity, 0, 0.5f);
  c2dSetPosition(entity, 0, -10);
  render();
  EXPECT_EQ(coverage(kRed), (Box{27, 2, 36, 41}));
  c2dSetRotation(entity, 0);
  c2dSetPosition(entity, 0, 0);
  c2dSetSpriteSize(entity, 20, 10);
  c2dSetSpriteAnchor(entity, 0, 0);
  render();
  EXPECT_EQ(coverage(kRed), (Box{32, 32, 51, 41})) << "anchor (0, 0) is the top-left corner";

  // A camera turned a quarter anticlockwise points world +x down the screen.
  c2dSetSpriteAnchor(entity, 0.5f, 0.5f);
  c2dSetSpriteSize(entity, 2, 2);
  c2dSetPosition(entity, 10, 0);
  c2dCameraSetRotation(scene, 90);
  render();
  EXPECT_EQ(coverage(kRed), (Box{31, 41, 32, 42}));
}

TEST_F(Scene2DSprites, TexelsComeFromTheRectangleRowZeroOnTopFlippedAndInsetWhenLinear) {
  const int32_t entity = sprite(texture(2, 2, {kRed, kGreen, kBlue, kWhite}), 0, 0, 20, 20);
  render();
  EXPECT_EQ(at(25, 25), kRed);
  EXPECT_EQ(at(38, 25), kGreen);
  EXPECT_EQ(at(25, 38), kBlue);
  c2dSetSpriteFlip(entity, true, false);
  render();
  EXPECT_EQ(at(38, 25), kRed);
  c2dSetSpriteFlip(entity, false, true);
  render();
  EXPECT_EQ(at(25, 38), kRed);

  c2dSetSpriteFlip(entity, false, false);
  c2dSetSpriteFramePx(entity, 0, 1, 1, 1);
  render();
  EXPECT_EQ(coverage(kBlue), (Box{22, 22, 41, 41}));

  c2dSetSpriteFrame(entity, 0, 0, 1, 1);
  c2dSetDefaultFilter(true);
  render();
  EXPECT_GT(at(31, 25).r, 64) << "the whole texture gets no inset: its middle blends";
  EXPECT_GT(at(31, 25).g, 64);
  // One texel: without the half-texel inset its edges would blend in the neighbours.
  c2dSetSpriteFrame(entity, 0.5f, 0, 1, 0.5f);
  render();
  EXPECT_EQ(coverage(kGreen), (Box{22, 22, 41, 41}));
}

TEST_F(Scene2DSprites, TintIsExactOpacityBlendsAndTheSceneClearColourWins) {
  const int32_t white = texture(1, 1, {kWhite});
  c2dSetSpriteColor(sprite(white, -10, 0, 10, 10), 0.2f, 0.4f, 1);
  c2dSetSpriteOpacity(sprite(white, 10, 0, 10, 10), 0.5f);
  c2dSetClearColor(0, 0, 1, 1);
  render();
  EXPECT_EQ(at(22, 32), (Pixel{51, 102, 255, 255}));
  const Pixel blend = at(42, 32);
  EXPECT_NEAR(blend.r, 128, 1);
  EXPECT_NEAR(blend.g, 128, 1);
  EXPECT_EQ(blend.a, 255) << "alpha adds up to opaque over an opaque background";

  c2dSceneSetClearColor(scene, 0, 1, 0, 1);
  render();
  EXPECT_EQ(at(0, 0), kGreen);
  c2dCloseScene();
  render();
  EXPECT_EQ(coverage(kBlue), (Box{0, 0, kSize - 1, kSize - 1})) << "no scene still clears";
}

TEST_F(Scene2DSprites, APngGivesItsSizeAnUpdateKeepsTheIdGarbageGivesZeroAndALine) {
  const Pixel texels[] = {kRed, kGreen, kBlue, kWhite};
  const std::vector<uint8_t> png = talvero::testing::encodeImage(2, 2, texels);
  ASSERT_FALSE(png.empty());
  const int32_t id = c2dCreateTexture(png.data(), png.size());
  EXPECT_EQ(c2dGetTextureWidth(id), 2);
  EXPECT_EQ(c2dGetTextureHeight(id), 2);
  sprite(id, 0, 0, 20, 20);
  render();
  EXPECT_EQ(at(25, 25), kRed);
  const uint8_t blueOverWhite[] = {0, 0, 255, 255, 255, 255, 255, 255};
  c2dUpdateTextureFromRGBA(id, blueOverWhite, 1, 2);
  EXPECT_EQ(c2dGetTextureWidth(id), 1);
  render();
  EXPECT_EQ(at(38, 25), kBlue) << "an update keeps the id";
  EXPECT_EQ(at(25, 38), kWhite);

  const uint8_t garbage[] = {'h', 'e', 'l', 'l', 'o'};
  ::testing::internal::CaptureStdout();
  EXPECT_EQ(c2dCreateTexture(garbage, sizeof(garbage)), 0);
  const std::string output = ::testing::internal::GetCapturedStdout();
  EXPECT_EQ(output.rfind("[creator-2d] texture decode failed: ", 0), 0u) << output;
  EXPECT_NE(output.find(" (5 bytes)\n"), std::string::npos) << output;

  c2dDestroyTexture(id);
  EXPECT_EQ(c2dGetTextureWidth(id), 0);
  EXPECT_EQ(texture(1, 1, {kRed}), id + 1) << "neither the garbage nor the freed id is taken";
}

}  // namespace
}  // namespace talvero::scene2d::testing
