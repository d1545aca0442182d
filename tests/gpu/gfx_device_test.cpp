#include <gtest/gtest.h>
#include <gtk/gtk.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "platform/gpu/gfx.h"

namespace talvero::gpu {
namespace {

TEST(GfxDevice, TheNoDeviceLineNamesTheReason) {
  EXPECT_EQ(noDeviceMessage("no display"),
            "[creator-2d] no GL device (no display): 2D scenes run but are not drawn");
}

// The device comes at the first call that needs GL, not before: the host opens the display
// after the layers are set up.
TEST(GfxDevice, TheDeviceIsMadeAtTheFirstCallThatNeedsIt) {
  if (hasDevice()) GTEST_SKIP() << "needs a process of its own; ctest gives it one";
  EXPECT_TRUE(unavailableReason().empty());
  EXPECT_EQ(targetWidth(Target{1}), 0);  // no GL needed to know there is no such target
  EXPECT_FALSE(hasDevice());
  const Target target = makeTarget(3, 3, nullptr);
  ASSERT_TRUE(hasDevice()) << unavailableReason();
  EXPECT_EQ(targetWidth(target), 3);
  EXPECT_TRUE(unavailableReason().empty());
  EXPECT_TRUE(setup());
}

TEST(GfxDevice, WithoutADisplayOneLineIsPrintedAndEveryCallFailsQuietly) {
  // It takes the display away from the whole process.
  if (gtk_is_initialized() || ::testing::UnitTest::GetInstance()->test_to_run_count() != 1)
    GTEST_SKIP() << "needs a process of its own; ctest gives it one";
  unsetenv("DISPLAY");
  unsetenv("WAYLAND_DISPLAY");
  ::testing::internal::CaptureStdout();
  EXPECT_FALSE(setup());
  const std::vector<uint8_t> pixel(4, 255);
  EXPECT_EQ(makeImage(1, 1, pixel.data(), "creator2d-texture").id, 0u);
  EXPECT_EQ(makeTarget(4, 4, nullptr).id, 0u);
  EXPECT_EQ(makeBuffer(BufferUsage::StreamVertex, 16, nullptr, nullptr).id, 0u);
  EXPECT_FALSE(beginPass(Target{1}, PassAction{}));
  draw(0, 6, 1);
  commit();
  EXPECT_TRUE(readTarget(Target{1}).empty());
  EXPECT_EQ(maxTextureSize(), 0);
  EXPECT_FALSE(setup());
  const std::string printed = ::testing::internal::GetCapturedStdout();
  EXPECT_EQ(printed, noDeviceMessage("no display") + "\n");
  EXPECT_FALSE(hasDevice());
  EXPECT_EQ(unavailableReason(), "no display");
  EXPECT_EQ(counters().draws, 0u);
}

}  // namespace
}  // namespace talvero::gpu
