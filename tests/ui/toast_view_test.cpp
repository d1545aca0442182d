#include "ui/toast_view.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>

#include "platform/dispatch/main_queue.h"
#include "platform/dispatch/timer_source.h"
#include "platform/toolkit/animation.h"
#include "platform/toolkit/window.h"

namespace talvero {
namespace {

using toolkit::Rect;

// A toast view over an 800 x 600 host. The fades run on an animation clock the test moves by
// hand; the time a toast holds is real, waited for on the pumped main loop.
class ToastViewTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(toolkit::initToolkit()) << "no display: run the tests under xvfb-run";
    toolkit::setAnimationClock([this] { return now; });
    host = std::make_shared<toolkit::View>();
    toast = std::make_shared<ToastView>();
    host->setFrame({{0, 0}, {800, 600}});
  }
  void TearDown() override { toolkit::setAnimationClock(nullptr); }

  double shown() { return toast->layer().presentation().opacity; }
  void advance(double seconds) {
    now += seconds;
    toolkit::advanceAnimations();
    dispatch::pumpFor(0.005);
  }
  // Fades the shown toast in, then waits for its fade-out to begin: the seconds it held.
  double fadeInAndHold() {
    advance(0.15);
    EXPECT_NEAR(shown(), 0.5, 1e-9);
    const double start = dispatch::mediaTime();
    advance(0.1501);
    EXPECT_EQ(shown(), 1);
    EXPECT_TRUE(dispatch::pumpUntil([&] { return toast->layer().opacity() == 0; }, 3));
    EXPECT_EQ(shown(), 1);  // the fade-out runs from here on the test's clock
    return dispatch::mediaTime() - start;
  }

  double now = 20;
  // Made in SetUp: views need the toolkit started.
  std::shared_ptr<toolkit::View> host;
  std::shared_ptr<ToastView> toast;
};

TEST_F(ToastViewTest, QueuedToastsShowOneAfterTheOtherEachForItsOwnDuration) {
  toast->createToast("first", 150, host);
  toast->createToast("second", 40, host);
  EXPECT_EQ(toast->superview(), host.get());
  EXPECT_EQ(toast->label->string(), "first");
  EXPECT_EQ(toast->messageQueue.size(), 2u);
  EXPECT_EQ(shown(), 0);
  const double firstHeld = fadeInAndHold();
  EXPECT_GE(firstHeld, 0.15);
  EXPECT_LT(firstHeld, 0.4);

  // One arriving during a fade-out waits for it to end.
  toast->createToast("third", 0, host);
  advance(0.15);
  EXPECT_NEAR(shown(), 0.5, 1e-9);
  EXPECT_EQ(toast->label->string(), "first");
  advance(0.1501);
  EXPECT_EQ(toast->label->string(), "second");
  EXPECT_EQ(toast->messageQueue.size(), 2u);
  EXPECT_EQ(toast->superview(), host.get());
  EXPECT_EQ(shown(), 0);
  const double secondHeld = fadeInAndHold();
  EXPECT_GE(secondHeld, 0.04);
  EXPECT_LT(secondHeld, 0.29);

  advance(0.3001);
  EXPECT_EQ(toast->label->string(), "third");
  fadeInAndHold();
  advance(0.3001);
  EXPECT_EQ(toast->superview(), nullptr);
  EXPECT_TRUE(toast->messageQueue.empty());
  EXPECT_FALSE(toast->isShowing);
}

TEST_F(ToastViewTest, AToastFitsItsTextWithinFourFifthsOfTheHostSixtyAboveTheBottom) {
  toast->createToast("Saved", 0, host);
  const toolkit::Size text = toast->label->sizeThatFits(INFINITY);
  EXPECT_EQ(toast->frame(), (Rect{{(800 - text.width - 24) / 2, 600 - text.height - 16 - 60},
                                  {text.width + 24, text.height + 16}}));
  EXPECT_EQ(toast->label->frame(), (Rect{{12, 8}, text}));

  std::string words;
  for (int i = 0; i < 20; ++i) words += "wrapping ";
  const auto wide = std::make_shared<ToastView>();
  wide->createToast(words, 0, host);
  const Rect frame = wide->frame();
  EXPECT_LE(frame.width(), 640);
  EXPECT_EQ(wide->label->frame().width(), frame.width() - 24);
  EXPECT_GT(frame.height(), text.height + 16);
  EXPECT_EQ(frame.y() + frame.height(), 540);
}

TEST_F(ToastViewTest, AHostGoneBeforeTheNextToastStopsTheQueueUntilANewHostComes) {
  toast->createToast("first", 0, host);
  toast->createToast("second", 0, host);
  fadeInAndHold();
  host.reset();
  advance(0.3001);
  EXPECT_FALSE(toast->isShowing);
  EXPECT_EQ(toast->superview(), nullptr);
  EXPECT_EQ(toast->messageQueue.size(), 1u);

  const auto other = std::make_shared<toolkit::View>();
  other->setFrame({{0, 0}, {400, 300}});
  toast->createToast("third", 0, other);
  EXPECT_EQ(toast->superview(), other.get());
  EXPECT_EQ(toast->label->string(), "second");
  EXPECT_EQ(toast->messageQueue.size(), 2u);
}

}  // namespace
}  // namespace talvero
