#include <gtest/gtest.h>

#include "drawing_fixture.h"

namespace talvero::scene2d::testing {
namespace {

using Scene2DSprites = Scene2DDrawing;

TEST_F(Scene2DSprites, LandWherePositionSizeCameraAndDensityPutThem) {
  const int32_t red = texture(1, 1, {kRed});
  const int32_t entity = sprite(red, 10, 5, 10, 6);
  c2dCameraSetPosition(scene, 4, -2);
  render();
  // Centre at pixel (32 + 6, 32 - 7): world y is up, the screen's down.
  EXPECT_EQ(coverage(kRed), (Box{33, 22, 42, 27}));
  EXPECT_EQ(at(0, 0), kBlack);

  // Two pixels a point: the view is 32 points wide.
  c2dCameraSetPosition(scene, 0, 0);
  c2dSetPosition(entity, 4, 2);
  c2dSetDensity(2);
  render();
  EXPECT_EQ(coverage(kRed), (Box{30, 22, 49, 33}));
}

TEST_F(Scene2DSprites, RotateInDegreesAboutTheirAnchor) {
  const int32_t entity = sprite(texture(1, 1, {kRed}), 0, 0, 40, 10);
  c2dSetRotation(entity, 90);
  render();
  EXPECT_EQ(coverage(kRed), (Box{27, 12, 36, 51}));

  c2dSetSpriteAnchor(entity, 0, 0.5f);
  c2dSetPosition(entity, 0, -10);
  render();
  // Turned a quarter anticlockwise about the middle of its left edge, it stands up from there.
  EXPECT_EQ(coverage(kRed), (Box{27, 2, 36, 41}));
}

TEST_F(Scene2DSprites, AnchorCountsFromTheTopLeftAndFlipsMirrorTheTexture) {
  const int32_t entity = sprite(texture(1, 1, {kRed}), 0, 0, 10, 6);
  c2dSetSpriteAnchor(entity, 0, 0);
  render();
  EXPECT_EQ(coverage(kRed), (Box{32, 32, 41, 37}));
  c2dSetSpriteAnchor(entity, 1, 1);
  render();
  EXPECT_EQ(coverage(kRed), (Box{22, 26, 31, 31}));

  const int32_t across = texture(2, 1, {kRed, kGreen});
  c2dSetSprite(entity, across);
  c2dSetSpriteSize(entity, 20, 10);
  c2dSetSpriteAnchor(entity, 0.5f, 0.5f);
  render();
  EXPECT_EQ(coverage(kRed), (Box{22, 27, 31, 36}));
  c2dSetSpriteFlip(entity, true, false);
  render();
  EXPECT_EQ(coverage(kGreen), (Box{22, 27, 31, 36}));

  c2dSetSprite(entity, texture(1, 2, {kRed, kGreen}));
  c2dSetSpriteSize(entity, 10, 20);
  c2dSetSpriteFlip(entity, false, false);
  render();
  EXPECT_EQ(coverage(kRed), (Box{27, 22, 36, 31}));
  c2dSetSpriteFlip(entity, false, true);
  render();
  EXPECT_EQ(coverage(kGreen), (Box{27, 22, 36, 31}));
}

TEST_F(Scene2DSprites, TintIsExactWhenOpaqueAndOpacityBlendsOverWhatIsBelow) {
  const int32_t white = texture(1, 1, {kWhite});
  const int32_t tinted = sprite(white, -10, 0, 10, 10);
  c2dSetSpriteColor(tinted, 0.2f, 0.4f, 1);
  const int32_t faded = sprite(white, 10, 0, 10, 10);
  c2dSetSpriteOpacity(faded, 0.5f);
  c2dSetClearColor(0, 0, 1, 1);
  render();
  EXPECT_EQ(at(22, 32), (Pixel{51, 102, 255, 255}));
  const Pixel blend = at(42, 32);
  EXPECT_NEAR(blend.r, 128, 1);
  EXPECT_NEAR(blend.g, 128, 1);
  EXPECT_EQ(blend.b, 255);
  // Alpha adds up to opaque over an opaque background (ONE, ONE_MINUS_SRC_ALPHA).
  EXPECT_EQ(blend.a, 255);

  // A transparent texel leaves the background alone.
  c2dSetSprite(tinted, texture(1, 1, {Pixel{255, 0, 0, 0}}));
  render();
  EXPECT_EQ(at(22, 32), kBlue);
}

TEST_F(Scene2DSprites, TextureRectangleTakesItsQuadrantWithRowZeroOnTop) {
  const int32_t quadrants = texture(2, 2, {kRed, kGreen, kBlue, kWhite});
  const int32_t entity = sprite(quadrants, 0, 0, 20, 20);
  render();
  EXPECT_EQ(at(25, 25), kRed);
  EXPECT_EQ(at(38, 25), kGreen);
  EXPECT_EQ(at(25, 38), kBlue);
  EXPECT_EQ(at(38, 38), kWhite);

  c2dSetSpriteFrame(entity, 0.5f, 0, 1, 0.5f);
  render();
  EXPECT_EQ(coverage(kGreen), (Box{22, 22, 41, 41}));
  c2dSetSpriteFramePx(entity, 0, 1, 1, 1);
  render();
  EXPECT_EQ(coverage(kBlue), (Box{22, 22, 41, 41}));
}

TEST_F(Scene2DSprites, LinearFilteringInsetsPartialRectanglesByHalfATexelBeforeFlipping) {
  const int32_t entity = sprite(texture(2, 1, {kRed, kGreen}), 0, 0, 20, 20);
  render();
  EXPECT_EQ(at(31, 32), kRed);
  EXPECT_EQ(at(32, 32), kGreen);

  c2dSetDefaultFilter(true);
  render();
  // The whole texture gets no inset: the middle blends its two texels.
  EXPECT_GT(at(31, 32).r, 64);
  EXPECT_GT(at(31, 32).g, 64);

  // Half the texture: without the inset its right edge would reach into the green texel.
  c2dSetSpriteFrame(entity, 0, 0, 0.5f, 1);
  render();
  EXPECT_EQ(coverage(kRed), (Box{22, 22, 41, 41}));

  // Red, green of red, green, blue, mirrored: the left edge stays off the blue texel.
  c2dSetSprite(entity, texture(3, 1, {kRed, kGreen, kBlue}));
  c2dSetSpriteSize(entity, 20, 20);
  c2dSetSpriteFrame(entity, 0, 0, 2.0f / 3, 1);
  c2dSetSpriteFlip(entity, true, false);
  render();
  EXPECT_GE(at(22, 32).g, 240);
  EXPECT_EQ(at(22, 32).b, 0);
  EXPECT_GE(at(41, 32).r, 240);
  EXPECT_EQ(at(41, 32).b, 0);
}

TEST_F(Scene2DSprites, CameraZoomScalesAboutItsPositionAndItsRotationTurnsTheWorld) {
  const int32_t red = texture(1, 1, {kRed});
  const int32_t entity = sprite(red, 15, 5, 10, 10);
  c2dCameraSetPosition(scene, 10, 0);
  c2dCameraSetZoom(scene, 2);
  render();
  EXPECT_EQ(coverage(kRed), (Box{32, 12, 51, 31}));

  c2dCameraSetPosition(scene, 0, 0);
  c2dCameraSetZoom(scene, 1);
  c2dCameraSetRotation(scene, 90);
  c2dSetPosition(entity, 0, 0);
  c2dSetSpriteSize(entity, 40, 10);
  render();
  EXPECT_EQ(coverage(kRed), (Box{27, 12, 36, 51}));

  // World +x points down the screen once the camera turns a quarter anticlockwise, as the
  // camera's own conversion says.
  c2dSetPosition(entity, 10, 0);
  c2dSetSpriteSize(entity, 2, 2);
  render();
  EXPECT_EQ(coverage(kRed), (Box{31, 41, 32, 42}));
  float screen[2];
  c2dCameraWorldToScreen(scene, 10, 0, screen);
  EXPECT_NEAR(screen[0], 32, 1e-3);
  EXPECT_NEAR(screen[1], 42, 1e-3);
}

TEST_F(Scene2DSprites, SceneClearColourWinsOverTheGlobalOneAndAnEmptyViewStillClears) {
  c2dSetClearColor(1, 0, 0, 1);
  render();
  EXPECT_EQ(coverage(kRed), (Box{0, 0, kSize - 1, kSize - 1}));
  c2dSceneSetClearColor(scene, 0, 1, 0, 1);
  render();
  EXPECT_EQ(coverage(kGreen), (Box{0, 0, kSize - 1, kSize - 1}));
  c2dCloseScene();
  render();
  EXPECT_EQ(coverage(kRed), (Box{0, 0, kSize - 1, kSize - 1}));
}

}  // namespace
}  // namespace talvero::scene2d::testing
