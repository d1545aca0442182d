#include "scene3d/warm_up.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "scene3d_test_support.h"

namespace talvero::scene3d {
namespace {

using testing::Scene3DTest;

TEST_F(Scene3DTest, WarmingAHiddenSceneAtNoViewportUsesThePhoneSizeAndRestoresTheView) {
  const uint32_t hidden = square(-2, 0xFF0000FF);  // with the sky, two renderables
  setVisible(hidden, false);
  setViewport(0, 0);
  ::testing::internal::CaptureStdout();
  ASSERT_TRUE(warmScene(scene));
  // The GPU finishes in its own time; the host asks again every 50 ms, this test every 5.
  bool ready = false;
  for (int attempt = 0; attempt < 2000 && !ready; ++attempt) {
    ready = warmSceneReady();
    if (!ready) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  const std::string log = ::testing::internal::GetCapturedStdout();
  EXPECT_TRUE(ready);
  EXPECT_EQ(log.rfind("[warmScene] begin: scene 0, 2 renderables, 1170x2532\n", 0), 0u) << log;
  EXPECT_NE(log.find("(status=ok)"), std::string::npos) << log;
  // The entity is hidden again and the view draws at its own viewport, culling on.
  setViewport(64, 64);
  EXPECT_EQ(pixelAt(draw(), 32, 32), (std::vector<int>{26, 64, 145, 255}));
  EXPECT_FALSE(isVisible(hidden));
}

TEST_F(Scene3DTest, NoWarmUpInProgressIsReadyAndAnUnknownSceneWarmsNothing) {
  EXPECT_TRUE(warmSceneReady());
  ::testing::internal::CaptureStdout();
  EXPECT_FALSE(warmScene(7));
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "[creator-gl] warmScene: unknown scene 7\n");
  warmCleanup();  // nothing to undo
  EXPECT_TRUE(warmSceneReady());
}

// The renderer cannot draw a view without a camera: such a scene is warmed, opened and framed
// without drawing, and the frame loop goes on.
TEST_F(Scene3DTest, ASceneWithoutACameraWarmsAndFramesWithoutDrawing) {
  const int64_t bare = createScene();
  ASSERT_TRUE(warmScene(bare));
  bool ready = false;
  for (int attempt = 0; attempt < 2000 && !ready; ++attempt) {
    ready = warmSceneReady();
    if (!ready) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  EXPECT_TRUE(ready);
  openScene(bare);
  ASSERT_TRUE(testing::whenFrameBegins([] { render(1000); }));
  std::vector<uint8_t> pixels(64 * 64 * 4, 7);
  ASSERT_TRUE(testing::whenFrameBegins([&] { render_to_offscreen(1016, pixels.data()); }));
  EXPECT_EQ(pixels[0], 7);  // nothing was read into the buffer
  openScene(scene);
  EXPECT_EQ(pixelAt(draw(), 32, 32), (std::vector<int>{26, 64, 145, 255}));
}

}  // namespace
}  // namespace talvero::scene3d
