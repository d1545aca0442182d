#include "ui/view_extensions.h"

#include <gtest/gtest.h>

#include "main_queue_support.h"
#include "platform/toolkit/animation.h"
#include "ui/node_animation.h"
#include "ui_window_fixture.h"

namespace talvero {
namespace {

using toolkit::Rect;
using toolkit::Transform3D;

// A node at (40, 20) sized 100 x 50, on a clock the test moves by hand.
class ViewExtensionsTest : public testing::UIWindowTest {
 protected:
  void SetUp() override {
    UIWindowTest::SetUp();
    toolkit::setAnimationClock([this] { return now; });
    open(R"JS({ type: 'screen', children: [target = { type: 'view', _style: {
      position: 'absolute', left: 40, top: 20, width: 100, height: 50 } }] })JS");
    subject = node("target");
    ASSERT_NE(subject, nullptr);
  }
  void TearDown() override { toolkit::setAnimationClock(nullptr); }

  toolkit::Layer& layer() { return subject->view().layer(); }
  Transform3D shown() { return layer().presentation().transform; }
  // The node animation runs its changes on the next turn of the main queue.
  void inGroup(double duration, const Transform3D& transform) {
    NodeAnimation::run(duration, 0, [this, transform] { setViewTransform(*subject, transform); });
    testing::drainMainQueue();
  }

  double now = 50;
  NodeProtocol* subject = nullptr;
};

TEST_F(ViewExtensionsTest, ATransformTurnsAboutTheMiddleOfTheFrameAndIsHeld) {
  const Transform3D doubled = Transform3D::scale(2, 2);
  setViewTransform(*subject, doubled);
  EXPECT_EQ(subject->extras.transform, doubled);
  EXPECT_EQ(layer().anchorPoint(), (toolkit::Point{0.5, 0.5}));
  EXPECT_EQ(layer().position(), (toolkit::Point{90, 45}));
  EXPECT_EQ(subject->view().frame(), (Rect{{40, 20}, {100, 50}}));
  EXPECT_EQ(layer().transform(), doubled);
  now += 0.001;
  toolkit::advanceAnimations();
  EXPECT_TRUE(layer().hasAnimation("cuiTransform"));
  EXPECT_EQ(shown(), doubled);

  setViewTransform(*subject, Transform3D::identity());
  EXPECT_FALSE(layer().hasAnimation("cuiTransform"));
  EXPECT_TRUE(shown().isIdentity());
  EXPECT_TRUE(layer().transform().isIdentity());
}

TEST_F(ViewExtensionsTest, InsideAGroupAChangeRunsFromWhatIsOnScreenEvenMidWay) {
  inGroup(0.4, Transform3D::translation(100, 0));
  EXPECT_FALSE(layer().hasAnimation("transform"));  // the held animation alone runs it
  EXPECT_EQ(shown().m[12], 0);
  now += 0.2;  // half way: the curve is symmetric
  EXPECT_NEAR(shown().m[12], 50, 1e-6);

  inGroup(0.4, Transform3D::identity());
  EXPECT_NEAR(shown().m[12], 50, 1e-6);
  EXPECT_TRUE(layer().transform().isIdentity());
  now += 0.2;
  EXPECT_NEAR(shown().m[12], 25, 1e-6);
  now += 0.3;
  toolkit::advanceAnimations();
  EXPECT_TRUE(shown().isIdentity());
}

TEST_F(ViewExtensionsTest, AToolkitGroupThatIsNoNodeAnimationLeavesATransformUnanimated) {
  toolkit::runGroup(0.4, toolkit::TimingFunction::Linear,
                    [&] { setViewTransform(*subject, Transform3D::translation(100, 0)); });
  now += 0.001;
  EXPECT_EQ(shown().m[12], 100);
}

TEST_F(ViewExtensionsTest, BackgroundColourIsRememberedAndPaintedOrCleared) {
  const toolkit::Color red = hex32(0xff0000ff);
  setViewBackgroundColor(*subject, red);
  EXPECT_EQ(subject->extras.backgroundColor, red);
  EXPECT_EQ(layer().backgroundColor(), red);
  setViewBackgroundColor(*subject, std::nullopt);
  EXPECT_FALSE(subject->extras.backgroundColor);
  EXPECT_FALSE(layer().backgroundColor());
}

}  // namespace
}  // namespace talvero
