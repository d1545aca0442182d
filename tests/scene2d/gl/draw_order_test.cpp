#include <gtest/gtest.h>

#include "drawing_fixture.h"

namespace talvero::scene2d::testing {
namespace {

// Two 10 × 10 sprites of one white texture overlap at pixel (32, 32): red added first, green
// second.
class Scene2DDrawOrder : public Scene2DDrawing {
 protected:
  void SetUp() override {
    Scene2DDrawing::SetUp();
    white = texture(1, 1, {kWhite});
    red = sprite(white, 0, 0, 10, 10);
    c2dSetSpriteColor(red, 1, 0, 0);
    green = sprite(white, 0, 0, 10, 10);
    c2dSetSpriteColor(green, 0, 1, 0);
  }

  Pixel topAfterRender() {
    render();
    return at(32, 32);
  }

  int32_t white = 0, red = 0, green = 0;
};

TEST_F(Scene2DDrawOrder, LayerBeatsZAndZBeatsTheEntitiesOrder) {
  EXPECT_EQ(topAfterRender(), kGreen);
  c2dSetZ(red, 1);
  EXPECT_EQ(topAfterRender(), kRed);
  c2dSetLayer(green, 1);
  EXPECT_EQ(topAfterRender(), kGreen);
  c2dSetLayer(red, 2);
  c2dSetZ(red, -5);
  EXPECT_EQ(topAfterRender(), kRed);
}

TEST_F(Scene2DDrawOrder, EqualKeysFollowTheEntitiesOrderAsItChanges) {
  EXPECT_EQ(topAfterRender(), kGreen);
  // Same items and keys as the last frame, in another order.
  c2dRemoveEntityFromScene(scene, red);
  c2dAddEntityToScene(scene, red);
  EXPECT_EQ(topAfterRender(), kRed);
  c2dRemoveEntityFromScene(scene, green);
  c2dAddEntityToScene(scene, green);
  EXPECT_EQ(topAfterRender(), kGreen);
}

TEST_F(Scene2DDrawOrder, TextureBreaksTiesOnlyAfterLayerAndZ) {
  // The lower texture id draws first, whatever the entities order.
  const int32_t later = texture(1, 1, {kBlue});
  c2dSetSprite(red, later);
  c2dSetSpriteSize(red, 10, 10);
  c2dSetSpriteColor(red, 1, 1, 1);
  EXPECT_EQ(topAfterRender(), kBlue);
  c2dSetZ(green, 1);
  EXPECT_EQ(topAfterRender(), kGreen);
}

TEST_F(Scene2DDrawOrder, OnAYSortedLayerTheLowerSpriteIsOnTopWhateverItsZ) {
  c2dSetZ(red, 100);
  c2dSetPosition(green, 0, -3);
  render();
  EXPECT_EQ(at(32, 33), kRed);
  c2dSetLayerYSort(scene, 0, true);
  render();
  EXPECT_EQ(at(32, 33), kGreen);
  // Moving above it puts it behind.
  c2dSetPosition(green, 0, 3);
  render();
  EXPECT_EQ(at(32, 30), kRed);
  // The sort follows the world position: a parent's move counts.
  const int32_t parent = c2dCreateEntity();
  c2dSetParent(green, parent, true);
  c2dSetPosition(parent, 0, -6);
  render();
  EXPECT_EQ(at(32, 33), kGreen);
  // Other layers keep z.
  c2dSetLayerYSort(scene, 0, false);
  render();
  EXPECT_EQ(at(32, 33), kRed);
}

}  // namespace
}  // namespace talvero::scene2d::testing
