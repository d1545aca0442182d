#include <gtest/gtest.h>

#include "drawing_fixture.h"
#include "scene2d/internal/renderer.h"

namespace talvero::scene2d::testing {
namespace {

using Scene2DBatches = Scene2DDrawing;

TEST_F(Scene2DBatches, SpritesOfOneTextureShareADrawUntilAnotherComesBetweenThem) {
  const int32_t red = texture(1, 1, {kRed});
  const int32_t left = sprite(red, -20, 0, 8, 8);
  const int32_t right = sprite(red, 20, 0, 8, 8);
  render();
  EXPECT_EQ(c2dLastFrameStats().quads, 2);
  EXPECT_EQ(c2dLastFrameStats().batches, 1);
  EXPECT_EQ(c2dLastFrameStats().draws, 1);

  const int32_t middle = sprite(texture(1, 1, {kGreen}), 0, 0, 8, 8);
  c2dSetZ(left, 0);
  c2dSetZ(middle, 1);
  c2dSetZ(right, 2);
  render();
  EXPECT_EQ(c2dLastFrameStats().batches, 3);
  EXPECT_EQ(c2dLastFrameStats().draws, 3);
  EXPECT_EQ(at(12, 32), kRed);
  EXPECT_EQ(at(32, 32), kGreen);
  EXPECT_EQ(at(52, 32), kRed);
}

// `count` 1 × 1 white sprites of one texture, left of the centre.
void addWhiteRow(int32_t scene, int count) {
  const int32_t white = c2dCreateTextureFromRGBA(std::vector<uint8_t>(4, 255).data(), 1, 1);
  for (int i = 0; i < count; ++i) {
    const int32_t entity = c2dCreateEntity();
    c2dSetSprite(entity, white);
    c2dSetPosition(entity, -20.5f + i % 10, 0.5f);
    c2dAddEntityToScene(scene, entity);
  }
}

TEST_F(Scene2DBatches, CapacityDoublesOnceQuadsPassIt) {
  addWhiteRow(scene, 1);
  render();
  EXPECT_EQ(c2dLastFrameStats().capacity, 1024);
  addWhiteRow(scene, 1023);
  // The newest texture sorts last: this is quad 1024, past the old capacity.
  sprite(texture(1, 1, {kGreen}), 20.5f, 0.5f, 1, 1);
  render();
  EXPECT_EQ(c2dLastFrameStats().quads, 1025);
  EXPECT_EQ(c2dLastFrameStats().capacity, 2048);
  EXPECT_EQ(at(52, 31), kGreen);
  EXPECT_EQ(at(11, 31), kWhite);
}

TEST_F(Scene2DBatches, AFirstFrameOfFiveThousandQuadsTakesJustThat) {
  addWhiteRow(scene, 4999);
  sprite(texture(1, 1, {kGreen}), 20.5f, 0.5f, 1, 1);
  render();
  EXPECT_EQ(c2dLastFrameStats().capacity, 5000);
  EXPECT_EQ(c2dLastFrameStats().draws, 2);
  EXPECT_EQ(at(52, 31), kGreen);
}

TEST_F(Scene2DBatches, ADestroyedTextureDropsItsSpritesWithoutADraw) {
  const int32_t red = texture(1, 1, {kRed});
  sprite(red, 0, 0, 10, 10);
  sprite(texture(1, 1, {kGreen}), 20, 0, 4, 4);
  render();
  EXPECT_EQ(c2dLastFrameStats().draws, 2);
  c2dDestroyTexture(red);
  render();
  EXPECT_EQ(c2dLastFrameStats().quads, 1);
  EXPECT_EQ(c2dLastFrameStats().draws, 1);
  EXPECT_EQ(at(32, 32), kBlack);
  EXPECT_EQ(at(52, 32), kGreen);
}

TEST_F(Scene2DBatches, OnlyInvisibleSpritesUploadNothingAndAHiddenParentHidesNoChild) {
  const int32_t parent = sprite(texture(1, 1, {kRed}), 0, 0, 10, 10);
  c2dSetVisible(parent, false);
  const uint64_t updatesBefore = gpu::counters().bufferUpdates;
  render();
  EXPECT_FALSE(c2dLastFrameStats().uploaded);
  EXPECT_EQ(c2dLastFrameStats().quads, 0);
  EXPECT_EQ(c2dLastFrameStats().capacity, 0);
  EXPECT_EQ(gpu::counters().bufferUpdates, updatesBefore);
  EXPECT_EQ(at(32, 32), kBlack);

  const int32_t child = sprite(texture(1, 1, {kGreen}), 0, 0, 4, 4);
  c2dSetParent(child, parent, true);
  render();
  EXPECT_TRUE(c2dLastFrameStats().uploaded);
  EXPECT_EQ(at(32, 32), kGreen);
}

TEST_F(Scene2DBatches, ASteadySceneKeepsItsStorage) {
  addWhiteRow(scene, 300);
  render();
  render();
  const Renderer& r = g_renderer;
  const void* storage[] = {r.items.data(), r.order.data(), r.vertices.data(), r.batches.data(),
                           r.indices.data()};
  const gpu::Buffer vertexBuffer = r.vertexBuffer;
  render();
  const void* after[] = {r.items.data(), r.order.data(), r.vertices.data(), r.batches.data(),
                         r.indices.data()};
  EXPECT_TRUE(std::equal(std::begin(storage), std::end(storage), std::begin(after)));
  EXPECT_EQ(r.vertexBuffer.id, vertexBuffer.id);
  EXPECT_TRUE(c2dLastFrameStats().uploaded);
}

}  // namespace
}  // namespace talvero::scene2d::testing
