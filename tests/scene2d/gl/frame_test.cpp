#include <gtest/gtest.h>

#include "drawing_fixture.h"
#include "scene2d/internal/renderer.h"

namespace talvero::scene2d::testing {
namespace {

using Scene2DFrame = Scene2DDrawing;

// A clip of `count` whole-texture frames on a new entity, playing.
int32_t playing(int32_t entity, int32_t count, bool loop, float fps) {
  const std::vector<float> frames(size_t(count) * 4, 0.5f);
  c2dPlayAnimation(entity, c2dDefineAnimation(entity, frames.data(), count, loop, fps));
  return entity;
}

TEST_F(Scene2DFrame, StepIsZeroAtFirstClampedAfterAStallAndNeverNegative) {
  // A frame lasts 1/30 s: the frame index tells the clip's time.
  const int32_t entity = playing(c2dCreateEntity(), 20, true, 30);
  c2dRenderGL(target, 1000);
  EXPECT_EQ(c2dGetAnimationFrame(entity), 0);
  c2dRenderGL(target, 1500);  // 0.05 s, not 0.5
  EXPECT_EQ(c2dGetAnimationFrame(entity), 1);
  c2dRenderGL(target, 1400);  // back in time: 0
  EXPECT_EQ(c2dGetAnimationFrame(entity), 1);
  c2dRenderGL(target, 1430);  // 0.08 s in all
  EXPECT_EQ(c2dGetAnimationFrame(entity), 2);
}

struct Delivery {
  int32_t entity, clip, kind;
  Pixel centre;  // of the target, as the event arrives
};
std::vector<Delivery> g_deliveries;
gpu::Target g_watched;

void recordDelivery(int32_t entity, int32_t clip, int32_t kind) {
  const std::vector<uint8_t> frame = gpu::readTarget(g_watched);
  Pixel centre;
  if (!frame.empty()) {
    const uint8_t* p = &frame[(32 * 64 + 32) * 4];
    centre = {p[0], p[1], p[2], p[3]};
  }
  g_deliveries.push_back({entity, clip, kind, centre});
}

TEST_F(Scene2DFrame, EventsArriveOnceTheFrameIsSubmittedAndAlsoWithoutATarget) {
  g_watched = target;
  c2dSetAnimEventCallback(&recordDelivery);
  const int32_t entity = playing(sprite(texture(1, 1, {kRed}), 0, 0, 10, 10), 1, false, 30);
  render();
  EXPECT_TRUE(g_deliveries.empty());
  timeMs += 30;
  render();  // 46 ms in: past the one frame of 33 ms
  ASSERT_EQ(g_deliveries.size(), 1u);
  EXPECT_EQ(g_deliveries[0].entity, entity);
  EXPECT_EQ(g_deliveries[0].kind, 1);
  EXPECT_EQ(g_deliveries[0].centre, kRed);

  // With nothing to draw into, clips still step and their events still come.
  const int32_t looping = playing(c2dCreateEntity(), 2, true, 30);
  c2dRender(timeMs += 40);
  c2dRender(timeMs += 40);
  EXPECT_EQ(c2dLastFrameStats().draws, 0);
  ASSERT_EQ(g_deliveries.size(), 2u);
  EXPECT_EQ(g_deliveries[1].entity, looping);
  EXPECT_EQ(g_deliveries[1].kind, 0);
  c2dSetAnimEventCallback(nullptr);
}

TEST_F(Scene2DFrame, SwitchingTheFilterToTheValueInForceKeepsTheSampler) {
  render();
  const uint32_t nearest = g_renderer.sampler.id;
  ASSERT_NE(nearest, 0u);
  c2dSetDefaultFilter(false);
  EXPECT_EQ(g_renderer.sampler.id, nearest);
  c2dSetDefaultFilter(true);
  const uint32_t linear = g_renderer.sampler.id;
  EXPECT_NE(linear, 0u);
  c2dSetDefaultFilter(true);
  EXPECT_EQ(g_renderer.sampler.id, linear);
}

}  // namespace
}  // namespace talvero::scene2d::testing
