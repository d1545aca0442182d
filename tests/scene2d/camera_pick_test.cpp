#include <cmath>

#include "scene2d/fresh_tables.h"

using talvero::scene2d::g_scenes;

using Camera2D = talvero::testing::FreshTables2D;
using Pick2D = talvero::testing::FreshTables2D;

namespace {

// A 10 × 10 sprite centred on (x, y), in `scene`.
int32_t sprite(int32_t scene, float x, float y, int32_t texture = 0) {
  int32_t e = c2dCreateEntity();
  c2dSetSprite(e, texture);
  c2dSetSpriteSize(e, 10, 10);
  c2dSetPosition(e, x, y);
  c2dAddEntityToScene(scene, e);
  return e;
}

}  // namespace

TEST_F(Camera2D, ScreenToWorldAndBackRoundTripsUnderRotationZoomAndDensity) {
  talvero::scene2d::g_viewportW = 800;
  talvero::scene2d::g_viewportH = 600;
  talvero::scene2d::g_density = 2;
  int32_t scene = c2dCreateScene();
  c2dCameraSetPosition(scene, 50, -20);
  c2dCameraSetZoom(scene, 2.5f);
  c2dCameraSetRotation(scene, 37);
  float world[2], screen[2];
  c2dCameraScreenToWorld(scene, 200, 150, world);
  EXPECT_NEAR(world[0], 50, 1e-4) << "the centre of a 400 × 300 point view is the camera";
  EXPECT_NEAR(world[1], -20, 1e-4);
  c2dCameraScreenToWorld(scene, 31, 257, world);
  c2dCameraWorldToScreen(scene, world[0], world[1], screen);
  EXPECT_NEAR(screen[0], 31, 1e-3);
  EXPECT_NEAR(screen[1], 257, 1e-3);

  c2dCameraSetRotation(scene, 0);
  c2dCameraWorldToScreen(scene, 50, -20 + 10, screen);
  EXPECT_NEAR(screen[1], 150 - 25, 1e-3) << "y-up world, y-down screen, zoom 2.5";
}

TEST_F(Camera2D, ZoomNeverFallsBelowTheFloorAndTinyDensityCountsAsOne) {
  int32_t scene = c2dCreateScene();
  for (float zoom : {0.0f, -3.0f, NAN}) {
    c2dCameraSetZoom(scene, zoom);
    EXPECT_EQ(g_scenes[scene].zoom, 0.000001f) << zoom;
  }
  talvero::scene2d::g_viewportW = 100;
  talvero::scene2d::g_viewportH = 100;
  talvero::scene2d::g_density = 0;
  c2dCameraSetZoom(scene, 1);
  float world[2] = {9, 9};
  c2dCameraScreenToWorld(scene, 100, 0, world);
  EXPECT_NEAR(world[0], 50, 1e-4);
  c2dCameraScreenToWorld(scene + 1, 100, 0, world);
  EXPECT_EQ(world[0], 0);
}

TEST_F(Pick2D, EqualLayerAndZGiveTheLaterEntityAndLayerBeatsZ) {
  int32_t scene = c2dCreateScene();
  int32_t first = sprite(scene, 0, 0);
  int32_t second = sprite(scene, 2, 0);
  EXPECT_EQ(c2dPickSprite(scene, 1, 0), second);
  c2dSetZ(first, 1);
  EXPECT_EQ(c2dPickSprite(scene, 1, 0), first);
  c2dSetLayer(second, 1);
  c2dSetZ(first, 100);
  EXPECT_EQ(c2dPickSprite(scene, 1, 0), second);
  c2dSetVisible(second, false);
  EXPECT_EQ(c2dPickSprite(scene, 1, 0), first);
  EXPECT_EQ(c2dPickSprite(scene, 50, 50), 0);
}

TEST_F(Pick2D, ARotatedSpriteAnswersOnItsBoundingBoxThroughItsParent) {
  int32_t scene = c2dCreateScene();
  int32_t parent = c2dCreateEntity();
  c2dSetPosition(parent, 100, 0);
  int32_t diamond = sprite(scene, 0, 0);
  c2dSetParent(diamond, parent, false);
  c2dSetRotation(diamond, 45);
  // The box reaches 5√2 ≈ 7.07 each way; the corner of the box lies outside the turned quad.
  EXPECT_EQ(c2dPickSprite(scene, 106.9f, 6.9f), diamond);
  EXPECT_EQ(c2dPickSprite(scene, 107.2f, 0), 0);
  c2dSetSpriteAnchor(diamond, 0, 0);
  c2dSetRotation(diamond, 0);
  // Anchor (0, 0) is the top-left corner: the sprite hangs right and down from its position.
  EXPECT_EQ(c2dPickSprite(scene, 110, -10), diamond);
  EXPECT_EQ(c2dPickSprite(scene, 105, 5), 0);
}
