#include "scene2d/fresh_tables.h"

using talvero::scene2d::advanceAnimations;
using talvero::scene2d::animEvents;
using talvero::scene2d::g_entities;

using Clips2D = talvero::testing::FreshTables2D;

namespace {

// Four frames whose u0 is the frame's index, so the rectangle shows which frame is up.
const float kFrames[16] = {0, 0, 1, 1, 1, 0, 1, 1, 2, 0, 1, 1, 3, 0, 1, 1};

}  // namespace

TEST_F(Clips2D, LoopsWrapOnceReplaysResumeOneShotsEndOnceAndNegativeSpeedHoldsFrameZero) {
  int32_t e = c2dCreateEntity();
  int32_t walk = c2dDefineAnimation(e, kFrames, 4, true, 10);
  int32_t once = c2dDefineAnimation(e, kFrames + 4, 3, false, 10);
  c2dPlayAnimation(e, walk);
  advanceAnimations(0.45f);
  EXPECT_EQ(c2dGetAnimationFrame(e), 0);
  EXPECT_NEAR(g_entities[e].clipTime, 0.05f, 1e-5);
  ASSERT_EQ(animEvents.size(), 1u);
  EXPECT_EQ(animEvents[0].kind, 0);

  advanceAnimations(0.1f);
  c2dPlayAnimation(e, walk);
  advanceAnimations(0.1f);
  EXPECT_EQ(c2dGetAnimationFrame(e), 2) << "replaying the current clip resumes it";

  c2dPlayAnimation(e, once);
  EXPECT_EQ(g_entities[e].u0, 1) << "another clip's first frame shows at once";
  advanceAnimations(0.5f);
  advanceAnimations(0.5f);
  EXPECT_EQ(g_entities[e].u0, 3);
  ASSERT_EQ(animEvents.size(), 2u);
  EXPECT_EQ(animEvents[1].clip, once);
  EXPECT_EQ(animEvents[1].kind, 1);

  c2dPlayAnimation(e, walk);
  advanceAnimations(0.25f);
  c2dSetAnimationSpeed(e, -1);
  for (int i = 0; i < 10; ++i) advanceAnimations(0.05f);
  EXPECT_EQ(g_entities[e].u0, 0);
  EXPECT_EQ(animEvents.size(), 2u) << "running backwards neither wraps nor ends";
}
