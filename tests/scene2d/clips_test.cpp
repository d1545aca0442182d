#include <cmath>
#include <tuple>
#include <vector>

#include "scene2d/fresh_tables.h"

using talvero::scene2d::advanceAnimations;
using talvero::scene2d::animEvents;
using talvero::scene2d::flushAnimationEvents;
using talvero::scene2d::g_entities;

using Clips2D = talvero::testing::FreshTables2D;
using Sprites2D = talvero::testing::FreshTables2D;

namespace {

// Four frames whose u0 is the frame's index, so the rectangle shows which frame is up.
const float kFrames[16] = {0, 0, 1, 1, 1, 0, 1, 1, 2, 0, 1, 1, 3, 0, 1, 1};

using Event = std::tuple<int32_t, int32_t, int32_t>;
std::vector<Event> g_received;

void record(int32_t entity, int32_t clip, int32_t kind) {
  g_received.emplace_back(entity, clip, kind);
}

}  // namespace

TEST_F(Clips2D, ALoopPastItsEndWrapsOnceAndKeepsTheRemainder) {
  int32_t e = c2dCreateEntity();
  int32_t clip = c2dDefineAnimation(e, kFrames, 4, true, 10);
  c2dPlayAnimation(e, clip);
  advanceAnimations(0.25f);
  EXPECT_EQ(c2dGetAnimationFrame(e), 2);
  EXPECT_EQ(g_entities[e].u0, 2);
  advanceAnimations(0.20f);
  EXPECT_EQ(c2dGetAnimationFrame(e), 0);
  EXPECT_NEAR(g_entities[e].clipTime, 0.05f, 1e-5);
  ASSERT_EQ(animEvents.size(), 1u);
  EXPECT_EQ(animEvents[0].kind, 0);
  // A stall of several periods still reports one wrap.
  advanceAnimations(1.0f);
  EXPECT_EQ(animEvents.size(), 2u);
  EXPECT_EQ(c2dGetAnimationFrame(e), 2);
  EXPECT_NEAR(g_entities[e].clipTime, 0.25f, 1e-5);
}

TEST_F(Clips2D, AClipThatDoesNotLoopEndsOnItsLastFrameOnce) {
  int32_t e = c2dCreateEntity();
  c2dPlayAnimation(e, c2dDefineAnimation(e, kFrames, 4, false, 10));
  advanceAnimations(0.5f);
  advanceAnimations(0.5f);
  EXPECT_EQ(c2dGetAnimationFrame(e), 3);
  EXPECT_EQ(g_entities[e].u0, 3);
  ASSERT_EQ(animEvents.size(), 1u);
  EXPECT_EQ(animEvents[0].kind, 1);
}

TEST_F(Clips2D, ReplayingTheCurrentClipResumesAndAnotherClipStartsOver) {
  int32_t e = c2dCreateEntity();
  int32_t walk = c2dDefineAnimation(e, kFrames, 4, true, 10);
  int32_t jump = c2dDefineAnimation(e, kFrames + 8, 2, true, 10);
  EXPECT_EQ(jump, walk + 1);
  c2dPlayAnimation(e, walk);
  advanceAnimations(0.15f);
  c2dStopAnimation(e);
  advanceAnimations(0.2f);
  EXPECT_EQ(c2dGetAnimationFrame(e), 1) << "a stopped clip holds";
  c2dPlayAnimation(e, walk);
  advanceAnimations(0.1f);
  EXPECT_EQ(c2dGetAnimationFrame(e), 2);
  c2dPlayAnimation(e, jump);
  EXPECT_EQ(c2dGetAnimationFrame(e), 0);
  EXPECT_EQ(g_entities[e].u0, 2) << "the new clip's first frame shows at once";
  c2dPlayAnimation(e, 5);
  EXPECT_EQ(g_entities[e].clip, jump);
}

TEST_F(Clips2D, NegativeSpeedHoldsTheFirstFrameAndZeroOrBadRatesAreInert) {
  int32_t back = c2dCreateEntity(), still = c2dCreateEntity(), broken = c2dCreateEntity();
  c2dPlayAnimation(back, c2dDefineAnimation(back, kFrames + 4, 3, true, 10));
  advanceAnimations(0.25f);
  EXPECT_EQ(g_entities[back].u0, 3);
  c2dSetAnimationSpeed(back, -1);
  c2dPlayAnimation(still, c2dDefineAnimation(still, kFrames, 4, true, 0));
  c2dPlayAnimation(broken, c2dDefineAnimation(broken, kFrames, 4, true, 10));
  c2dSetAnimationSpeed(broken, NAN);
  for (int i = 0; i < 10; ++i) advanceAnimations(0.05f);
  EXPECT_EQ(g_entities[back].u0, 1);
  EXPECT_LE(c2dGetAnimationFrame(back), 0);
  EXPECT_EQ(c2dGetAnimationFrame(still), 0);
  EXPECT_EQ(g_entities[broken].clipTime, 0);
  EXPECT_TRUE(animEvents.empty());
  EXPECT_EQ(c2dDefineAnimation(still, kFrames, 0, true, 10), -1);
  EXPECT_EQ(c2dDefineAnimation(99, kFrames, 1, true, 10), -1);
}

TEST_F(Clips2D, EventsReachTheCallbackInEntityOrderAndAreDroppedWithoutOne) {
  g_received.clear();
  int32_t a = c2dCreateEntity(), b = c2dCreateEntity();
  c2dDefineAnimation(b, kFrames, 1, true, 10);
  int32_t bClip = c2dDefineAnimation(b, kFrames, 2, false, 10);
  c2dPlayAnimation(b, bClip);
  c2dPlayAnimation(a, c2dDefineAnimation(a, kFrames, 2, true, 10));
  advanceAnimations(0.25f);
  flushAnimationEvents();
  EXPECT_TRUE(animEvents.empty()) << "dropped without a callback";

  c2dSetAnimEventCallback(&record);
  c2dPlayAnimation(b, bClip);
  advanceAnimations(0.25f);
  flushAnimationEvents();
  EXPECT_EQ(g_received, (std::vector<Event>{{a, 0, 0}, {b, bClip, 1}}));
  EXPECT_TRUE(animEvents.empty());
}

TEST_F(Clips2D, ACallbackMayGrowTheEntityTableWhileEventsAreDelivered) {
  g_received.clear();
  for (int i = 0; i < 3; ++i) {
    int32_t e = c2dCreateEntity();
    c2dPlayAnimation(e, c2dDefineAnimation(e, kFrames, 1, false, 10));
  }
  advanceAnimations(0.1f);
  c2dSetAnimEventCallback([](int32_t entity, int32_t clip, int32_t kind) {
    record(entity, clip, kind);
    for (int i = 0; i < 200; ++i) {
      int32_t spawned = c2dCreateEntity();
      c2dPlayAnimation(spawned, c2dDefineAnimation(spawned, kFrames, 4, true, 10));
    }
    c2dDestroyEntity(entity);
  });
  flushAnimationEvents();
  EXPECT_EQ(g_received.size(), 3u);
  EXPECT_EQ(std::get<0>(g_received[2]), 3);
  advanceAnimations(0.1f);
  int32_t lastSpawned = static_cast<int32_t>(g_entities.size() - 1);
  EXPECT_EQ(c2dGetAnimationFrame(lastSpawned), 1);
}

TEST_F(Sprites2D, TheSizeFollowsTheTextureAndPixelFramesNeedOne) {
  int32_t texture = fakeTexture(64, 32);
  int32_t e = c2dCreateEntity();
  c2dSetSpriteFramePx(e, 0, 0, 16, 16);
  EXPECT_EQ(g_entities[e].u1, 1) << "no texture yet";
  c2dSetSpriteSize(e, 5, 5);
  c2dSetSprite(e, texture);
  EXPECT_EQ(g_entities[e].width, 64);
  EXPECT_EQ(g_entities[e].height, 32);
  c2dSetSpriteFramePx(e, 16, 8, 16, 8);
  const auto& s = g_entities[e];
  EXPECT_EQ(std::vector<float>({s.u0, s.v0, s.u1, s.v1}),
            (std::vector<float>{0.25f, 0.25f, 0.5f, 0.5f}));
  c2dSetSprite(e, texture + 1);
  EXPECT_EQ(s.kind, 1);
  EXPECT_EQ(s.width, 64) << "a dead texture leaves the size alone";
}
