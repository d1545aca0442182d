#include <gtest/gtest.h>

#include <memory>

#include "app/screen_slide.h"
#include "platform/dispatch/main_queue.h"
#include "platform/toolkit/animation.h"
#include "platform/toolkit/window.h"

namespace talvero {
namespace {

using toolkit::Rect;
using toolkit::View;

class ScreenSlideTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(toolkit::initToolkit()) << "no display: run the tests under xvfb-run";
    toolkit::setAnimationClock([this] { return now; });
    container = std::make_shared<View>();
    container->setFrame(Rect{{0, 0}, {400, 300}});
    oldScreen = screen();
    newScreen = screen();
  }
  void TearDown() override { toolkit::setAnimationClock(nullptr); }

  std::shared_ptr<View> screen() {
    auto view = std::make_shared<View>();
    view->setFrame(Rect{{0, 0}, {400, 300}});
    container->addSubview(view);
    return view;
  }

  static double shownX(const View& view) { return view.layer().presentation().transform.m[12]; }

  void advanceTo(double time) {
    now = time;
    toolkit::advanceAnimations();
    dispatch::pumpFor(0.02);  // completions run on a later turn of the loop
  }

  double now = 10;
  std::shared_ptr<View> container, oldScreen, newScreen;
};

TEST_F(ScreenSlideTest, PositiveTransitionBringsTheNewScreenInFromTheRight) {
  slideScreens(*container, *newScreen, oldScreen, +1);
  EXPECT_DOUBLE_EQ(shownX(*newScreen), 400);
  EXPECT_DOUBLE_EQ(shownX(*oldScreen), 0);
  advanceTo(10.15);  // half way: ease-in-ease-out is symmetric
  EXPECT_NEAR(shownX(*newScreen), 200, 1e-6);
  EXPECT_NEAR(shownX(*oldScreen), -200, 1e-6);
  EXPECT_EQ(oldScreen->superview(), container.get());
  advanceTo(10.31);
  EXPECT_DOUBLE_EQ(shownX(*newScreen), 0);
  EXPECT_EQ(oldScreen->superview(), nullptr);  // gone with its slide
  EXPECT_EQ(container->subviews().size(), 1u);
}

TEST_F(ScreenSlideTest, NegativeTransitionRunsTheOtherWay) {
  slideScreens(*container, *newScreen, oldScreen, -1);
  EXPECT_DOUBLE_EQ(shownX(*newScreen), -400);
  advanceTo(10.15);
  EXPECT_NEAR(shownX(*oldScreen), 200, 1e-6);
}

TEST_F(ScreenSlideTest, OutgoingScreenKeepsTheEndOfItsSlideWhileItLeaves) {
  oldScreen->removeFromSuperview();
  auto kept = oldScreen;  // a screen that is still referenced elsewhere
  container->addSubview(kept);
  slideScreens(*container, *newScreen, kept, +1);
  advanceTo(10.31);
  EXPECT_NEAR(shownX(*kept), -400, 1e-6);
  EXPECT_EQ(kept->superview(), nullptr);
}

}  // namespace
}  // namespace talvero
