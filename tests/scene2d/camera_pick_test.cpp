#include "scene2d/fresh_tables.h"

using Camera2D = talvero::testing::FreshTables2D;
using Pick2D = talvero::testing::FreshTables2D;

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
}

TEST_F(Pick2D, EqualLayerAndZGiveTheLaterEntityAndLayerBeatsZ) {
  int32_t scene = c2dCreateScene();
  const int32_t first = c2dCreateEntity(), second = c2dCreateEntity();
  for (int32_t e : {first, second}) {
    c2dSetSprite(e, 0);
    c2dSetSpriteSize(e, 10, 10);
    c2dSetPosition(e, e == first ? 0 : 2, 0);
    c2dAddEntityToScene(scene, e);
  }
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
