#include <gtest/gtest.h>

#include <vector>

#include "scene2d/internal/tables.h"
#include "scene2d/scene2d.h"

namespace talvero::scene2d {
namespace {

TEST(Scene2DFrameStart, NothingStepsBeforeInitAndViewportAndDensityHaveFloors) {
  const int32_t entity = c2dCreateEntity();
  const std::vector<float> frames(8, 0.5f);
  c2dPlayAnimation(entity, c2dDefineAnimation(entity, frames.data(), 2, true, 30));
  c2dRender(1000);
  c2dRender(1040);
  EXPECT_EQ(c2dGetAnimationFrame(entity), 0);

  // Without a target nothing is drawn, but the clip steps: the first frame counts no time.
  c2dInitGL();
  c2dInitGL();
  c2dRender(2000);
  EXPECT_EQ(c2dGetAnimationFrame(entity), 0);
  c2dRender(2040);
  EXPECT_EQ(c2dGetAnimationFrame(entity), 1);
  EXPECT_EQ(c2dLastFrameStats().draws, 0);
  EXPECT_EQ(creator2dVersion(), 1);

  c2dSetViewport(0, -3);
  EXPECT_EQ(g_viewportW, 1);
  EXPECT_EQ(g_viewportH, 1);
  c2dSetDensity(0);
  EXPECT_EQ(g_density, 1);
  c2dSetDensity(2.5f);
  EXPECT_EQ(g_density, 2.5f);
}

}  // namespace
}  // namespace talvero::scene2d
