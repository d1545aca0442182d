#include "scene3d/frame_loop.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdlib>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

#include "scene3d_test_support.h"

namespace talvero::scene3d {
namespace {

using testing::Scene3DTest;

// Runs one frame of the loop at `timeMs`; a frame the renderer skips while the GPU catches up
// is asked for again.
void frame(int64_t timeMs) {
  ASSERT_TRUE(testing::whenFrameBegins([timeMs] { render(timeMs); }));
}

TEST_F(Scene3DTest, FirstFrameHasNoTimeAndALateOneIsClampedAndEarlyRunsBeforeLate) {
  std::vector<std::pair<char, float>> calls;
  setUpdateFuncs([&](float dt) { calls.emplace_back('e', dt); },
                 [&](float dt) { calls.emplace_back('l', dt); });
  frame(1000);
  frame(1016);
  frame(3016);
  ASSERT_EQ(calls.size(), 6u);
  EXPECT_EQ(calls[0], std::make_pair('e', 0.0f));
  EXPECT_EQ(calls[1], std::make_pair('l', 0.0f));
  EXPECT_FLOAT_EQ(calls[2].second, 0.016f);
  EXPECT_FLOAT_EQ(calls[4].second, 0.05f);
  EXPECT_EQ(lastFrameTime(), 3016);
}

TEST_F(Scene3DTest, ClosedSceneKeepsTheClockAndTheNextSceneStartsClamped) {
  std::vector<float> steps;
  setUpdateFuncs([&](float dt) { steps.push_back(dt); }, nullptr);
  frame(1000);
  closeScene();
  frame(5000);
  EXPECT_EQ(lastFrameTime(), 1000);
  openScene(scene);
  frame(6000);
  EXPECT_EQ(steps, (std::vector<float>{0.0f, 0.05f}));
}

TEST_F(Scene3DTest, AnUpdateFunctionMayCloseTheSceneOrEndTheEngine) {
  setUpdateFuncs([](float) { closeScene(); }, nullptr);
  frame(1000);
  EXPECT_EQ(openSceneId(), -1);
  openScene(scene);
  setUpdateFuncs([](float) { destroyEngine(); }, nullptr);
  frame(1016);
  EXPECT_FALSE(hasEngine());
}

TEST_F(Scene3DTest, PerspectiveScaleMovesOnlyInStepsOfTwenty) {
  setViewport(100, 100);  // 100 / (2 tan 30°) = 86.6
  const float first = perspectiveScale();
  EXPECT_NEAR(first, 86.6f, 0.01f);
  setViewport(100, 121);  // 104.8: 18.2 away
  EXPECT_EQ(perspectiveScale(), first);
  setViewport(100, 124);  // 107.4: 20.8 away
  EXPECT_NEAR(perspectiveScale(), 107.39f, 0.01f);
}

TEST_F(Scene3DTest, AnUnlitSquareDrawsItsColourOverTheSkyInLinearLight) {
  square(-2, 0xFF0000FF);
  const std::vector<uint8_t> pixels = draw();
  EXPECT_EQ(pixelAt(pixels, 32, 32), (std::vector<int>{255, 0, 0, 255}));
  EXPECT_EQ(pixelAt(pixels, 1, 1), (std::vector<int>{26, 64, 145, 255}));  // the sky, linear
}

// What a reader of pipelined frames got. Handlers hold it shared: a read may be delivered
// after the test's own variables are gone.
struct Arrivals {
  std::vector<FramePixels> frames;
  std::vector<std::thread::id> threads;
};

FramePixelsHandler collectInto(const std::shared_ptr<Arrivals>& arrivals) {
  return [arrivals](FramePixels& pixels) {
    arrivals->frames.push_back(std::move(pixels));
    arrivals->threads.push_back(std::this_thread::get_id());
  };
}

TEST_F(Scene3DTest, PipelinedPixelsArriveOnTheMainThreadAndMatchAnOffscreenRender) {
  square(-2, 0xFF0000FF);
  const std::vector<uint8_t> offscreen = draw();
  auto arrivals = std::make_shared<Arrivals>();
  // Nobody waits: the pixels come back during the engine calls of later frames.
  for (int64_t t = 2000; arrivals->frames.empty() && t < 2000 + 16 * 400; t += 16) {
    frame(t);
    ASSERT_TRUE(testing::whenFrameBegins([&] { renderReadingBack(t + 8, collectInto(arrivals)); }));
  }
  ASSERT_FALSE(arrivals->frames.empty());
  const FramePixels& first = arrivals->frames.front();
  EXPECT_EQ(first.width, 64u);
  EXPECT_EQ(first.height, 64u);
  EXPECT_EQ(first.rgba, offscreen);
  EXPECT_EQ(arrivals->threads.front(), std::this_thread::get_id());
}

TEST_F(Scene3DTest, AWaitedFrameGivesItsOwnPixelsNotThoseOfAFrameStillOnItsWay) {
  const int64_t instance = testing::unlitColour(0xFF0000FF);
  meshSquare(-2, instance);
  auto arrivals = std::make_shared<Arrivals>();
  for (int64_t t = 1000; t < 1000 + 16 * 3; t += 16) {
    ASSERT_TRUE(testing::whenFrameBegins([&] { renderReadingBack(t, collectInto(arrivals)); }));
  }
  setUniformRgba(instance, "baseColor", 0x00FF00FF);
  std::optional<FramePixels> waited;
  ASSERT_TRUE(testing::whenFrameBegins([&] { waited = renderAndWaitForPixels(2000); }));
  ASSERT_TRUE(waited);
  EXPECT_EQ(pixelAt(waited->rgba, 32, 32), (std::vector<int>{0, 255, 0, 255}));
  // The frames before it came back on the way, in order, red.
  ASSERT_EQ(arrivals->frames.size(), 3u);
  EXPECT_EQ(pixelAt(arrivals->frames.back().rgba, 32, 32), (std::vector<int>{255, 0, 0, 255}));
}

TEST_F(Scene3DTest, AFrameThatDrawsNothingReadsNothingAndDropsItsHandlerAtOnce) {
  closeScene();
  auto arrivals = std::make_shared<Arrivals>();
  std::optional<FramePixels> waited = FramePixels{};
  ASSERT_TRUE(testing::whenFrameBegins([&] { renderReadingBack(1000, collectInto(arrivals)); }));
  ASSERT_TRUE(testing::whenFrameBegins([&] { waited = renderAndWaitForPixels(1016); }));
  EXPECT_EQ(arrivals.use_count(), 1);
  EXPECT_FALSE(waited);
}

TEST_F(Scene3DTest, ReadsStillOnTheirWayWhenTheEngineGoesAreDeliveredOrDropped) {
  square(-2, 0xFF0000FF);
  auto arrivals = std::make_shared<Arrivals>();
  ASSERT_TRUE(testing::whenFrameBegins([&] { renderReadingBack(1000, collectInto(arrivals)); }));
  destroyEngine();
  // No handler is left behind to fire into a view that may be gone by then.
  EXPECT_EQ(arrivals.use_count(), 1);
  EXPECT_LE(arrivals->frames.size(), 1u);
}

TEST_F(Scene3DTest, PixelsReadBackComeTopRowFirst) {
  // A quad above the camera's axis: the upper part of the picture.
  testing::addQuad(scene, testing::unlitColour(0xFF0000FF), -3, 0.3f, 3, 3, -2);
  const std::vector<uint8_t> pixels = draw();
  EXPECT_EQ(pixelAt(pixels, 32, 2), (std::vector<int>{255, 0, 0, 255}));
  EXPECT_EQ(pixelAt(pixels, 32, 61), (std::vector<int>{26, 64, 145, 255}));
  std::optional<FramePixels> waited;
  ASSERT_TRUE(testing::whenFrameBegins([&] { waited = renderAndWaitForPixels(2000); }));
  ASSERT_TRUE(waited);
  EXPECT_EQ(waited->rgba, pixels);
}

TEST(Scene3DEngine, WithoutADisplayThereIsOneErrorLineAndNoEngine) {
  unsetenv("DISPLAY");
  ::testing::internal::CaptureStdout();
  init();
  EXPECT_EQ(::testing::internal::GetCapturedStdout(),
            "[creator-gl] ERROR: Filament Engine creation failed (GPU/driver unavailable)\n");
  EXPECT_FALSE(hasEngine());
  EXPECT_STREQ(backendName(), "none");
  EXPECT_EQ(createScene(), -1);
  EXPECT_EQ(createEntity(), 0u);
}

// CTest runs this one again on an X server of its own without GLX, on which the renderer
// would end the process; anywhere else it is skipped.
TEST(Scene3DEngine, OnADisplayWithoutGlxThereIsOneErrorLineAndNoEngine) {
  if (!std::getenv("TALVERO_DISPLAY_WITHOUT_GLX")) GTEST_SKIP() << "needs a display without GLX";
  ::testing::internal::CaptureStdout();
  init();
  EXPECT_EQ(::testing::internal::GetCapturedStdout(),
            "[creator-gl] ERROR: Filament Engine creation failed (GPU/driver unavailable)\n");
  EXPECT_FALSE(hasEngine());
}

}  // namespace
}  // namespace talvero::scene3d
