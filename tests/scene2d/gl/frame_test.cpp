#include <gtest/gtest.h>

#include <tuple>
#include <vector>

#include "drawing_fixture.h"

namespace talvero::scene2d::testing {
namespace {

using Scene2DBatches = Scene2DDrawing;
using Scene2DDrawOrder = Scene2DDrawing;
using Scene2DClipEvents = Scene2DDrawing;

TEST_F(Scene2DBatches, SpritesOfOneTextureShareADrawUntilAnotherComesBetweenThem) {
  const int32_t red = texture(1, 1, {kRed});
  sprite(red, -20, 0, 8, 8);
  const int32_t right = sprite(red, 20, 0, 8, 8);
  render();
  EXPECT_EQ(counts(), (std::array<int, 3>{2, 1, 1}));
  const int32_t middle = sprite(texture(1, 1, {kGreen}), 0, 0, 8, 8);
  c2dSetZ(middle, 1);
  c2dSetZ(right, 2);
  render();
  EXPECT_EQ(counts(), (std::array<int, 3>{3, 3, 3}));
  EXPECT_EQ(at(52, 32), kRed);

  // A destroyed texture takes its sprites out of the frame, not just their pixels.
  c2dDestroyTexture(red);
  render();
  EXPECT_EQ(counts(), (std::array<int, 3>{1, 1, 1}));
  EXPECT_EQ(at(12, 32), kBlack);
}

TEST_F(Scene2DBatches, InvisibleSpritesUploadNothingAndCapacityDoublesOnceQuadsPassIt) {
  const int32_t white = texture(1, 1, {kWhite});
  c2dSetVisible(sprite(white, 0, 0, 10, 10), false);
  // The buffers belong to the process: a test run before this one in it may have grown them.
  const int32_t kept = c2dLastFrameStats().capacity;
  const uint64_t updatesBefore = gpu::counters().bufferUpdates;
  render();
  EXPECT_EQ(c2dLastFrameStats().capacity, kept);
  EXPECT_EQ(gpu::counters().bufferUpdates, updatesBefore);

  // The first buffers hold 1024 quads; then they fill up before they double.
  const int32_t full = kept > 0 ? kept : 1024;
  for (int i = 0; i < full; ++i) sprite(white, -20.5f + i % 10, 0.5f, 1, 1);
  render();
  EXPECT_EQ(c2dLastFrameStats().capacity, full);
  // The newest texture sorts last: this quad is one past the capacity.
  sprite(texture(1, 1, {kGreen}), 20.5f, 0.5f, 1, 1);
  render();
  EXPECT_EQ(c2dLastFrameStats().quads, full + 1);
  EXPECT_EQ(c2dLastFrameStats().capacity, 2 * full);
  EXPECT_EQ(at(52, 31), kGreen);
}

TEST_F(Scene2DBatches, AFirstFrameOfFiveThousandQuadsTakesJustThat) {
  const int32_t white = texture(1, 1, {kWhite});
  for (int i = 0; i < 4999; ++i) sprite(white, -20.5f + i % 10, 0.5f, 1, 1);
  sprite(texture(1, 1, {kGreen}), 20.5f, 0.5f, 1, 1);
  render();
  EXPECT_EQ(c2dLastFrameStats().capacity, 5000);
  EXPECT_EQ(at(52, 31), kGreen);
}

TEST_F(Scene2DDrawOrder, LayerThenZThenTheEntitiesOrderAndAYSortedLayerIgnoresZ) {
  // Two white 10 × 10 sprites over pixel (32, 32), tinted red (added first) and green.
  const int32_t white = texture(1, 1, {kWhite});
  const int32_t red = sprite(white, 0, 0, 10, 10), green = sprite(white, 0, 0, 10, 10);
  c2dSetSpriteColor(red, 1, 0, 0);
  c2dSetSpriteColor(green, 0, 1, 0);
  const auto top = [this] {
    render();
    return at(32, 32);
  };
  EXPECT_EQ(top(), kGreen);
  // Same items and keys as the last frame, in another order.
  c2dRemoveEntityFromScene(scene, red);
  c2dAddEntityToScene(scene, red);
  EXPECT_EQ(top(), kRed);
  c2dSetZ(green, 1);
  EXPECT_EQ(top(), kGreen);
  c2dSetLayer(red, 1);
  c2dSetZ(red, -5);
  EXPECT_EQ(top(), kRed);

  c2dSetLayer(red, 0);
  c2dSetZ(red, 100);
  c2dSetPosition(green, 0, -3);
  EXPECT_EQ(top(), kRed);
  c2dSetLayerYSort(scene, 0, true);
  EXPECT_EQ(top(), kGreen) << "the lower sprite is on top whatever its z";
}

// Each delivery with the centre pixel of the target as it arrives.
std::vector<std::tuple<int32_t, int32_t, Pixel>> g_deliveries;
gpu::Target g_watched;

TEST_F(Scene2DClipEvents, ComeInEntityOrderOnceTheFrameIsDrawn) {
  g_watched = target;
  c2dSetAnimEventCallback([](int32_t entity, int32_t, int32_t kind) {
    const std::vector<uint8_t> frame = gpu::readTarget(g_watched);
    const uint8_t* p = &frame.at((32 * 64 + 32) * 4);
    g_deliveries.emplace_back(entity, kind, Pixel{p[0], p[1], p[2], p[3]});
  });
  // One frame of 1/30 s each; the later entity's clip starts first.
  const float frame[4] = {0, 0, 1, 1};
  const int32_t ends = sprite(texture(1, 1, {kWhite}), 0, 0, 10, 10), wraps = c2dCreateEntity();
  c2dPlayAnimation(wraps, c2dDefineAnimation(wraps, frame, 1, true, 30));
  c2dPlayAnimation(ends, c2dDefineAnimation(ends, frame, 1, false, 30));
  render();
  EXPECT_TRUE(g_deliveries.empty()) << "the first frame counts no time";
  // The events must see this frame, not the last one.
  c2dSetSpriteColor(ends, 0, 1, 0);
  timeMs += 30;
  render();
  EXPECT_EQ(g_deliveries, (decltype(g_deliveries){{ends, 1, kGreen}, {wraps, 0, kGreen}}));
  c2dSetAnimEventCallback(nullptr);
}

}  // namespace
}  // namespace talvero::scene2d::testing
