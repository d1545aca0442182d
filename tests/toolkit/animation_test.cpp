#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <utility>
#include <vector>

#include "platform/toolkit/animation.h"
#include "platform/toolkit/snapshot.h"
#include "platform/toolkit/view.h"
#include "platform/toolkit/window.h"

namespace talvero::toolkit {
namespace {

const Color kBlue{0, 0, 1, 1};
const Color kWhite{1, 1, 1, 1};

BasicAnimation animation(const char* keyPath, std::optional<AnimationValue> from,
                         std::optional<AnimationValue> to, double duration,
                         TimingFunction timing = TimingFunction::Linear) {
  BasicAnimation a;
  a.keyPath = keyPath;
  a.from = from;
  a.to = to;
  a.duration = duration;
  a.timing = timing;
  return a;
}

TEST(TimingCurve, FollowsTheCubicBeziersOfEachCurve) {
  EXPECT_NEAR(timingCurve(TimingFunction::EaseInEaseOut, 0.5), 0.5, 1e-9);
  EXPECT_NEAR(timingCurve(TimingFunction::EaseInEaseOut, 0.25), 0.129162, 1e-5);
  EXPECT_NEAR(timingCurve(TimingFunction::EaseIn, 0.5), 0.315357, 1e-5);
  EXPECT_NEAR(timingCurve(TimingFunction::EaseOut, 0.5), 0.684643, 1e-5);
  EXPECT_NEAR(timingCurve(TimingFunction::Default, 0.5), 0.802403, 1e-5);
  EXPECT_NEAR(timingCurve(TimingFunction::Default, 0.25), 0.408511, 1e-5);
  EXPECT_DOUBLE_EQ(timingCurve(TimingFunction::Linear, 0.3), 0.3);
  for (auto timing : {TimingFunction::EaseIn, TimingFunction::EaseOut, TimingFunction::Default}) {
    EXPECT_NEAR(timingCurve(timing, 0), 0, 1e-9);
    EXPECT_NEAR(timingCurve(timing, 1), 1, 1e-9);
    EXPECT_NEAR(timingCurve(timing, 2), 1, 1e-9);  // clamped
  }
}

// Layers on a clock the test moves by hand.
class AnimationTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(initToolkit()) << "no display: run the tests under xvfb-run";
    setAnimationClock([this] { return now; });
    root = std::make_shared<View>();
    root->setFrame(Rect{{0, 0}, {100, 100}});
    root->layer().setBackgroundColor(kWhite);
    box = std::make_shared<View>();
    box->setFrame(Rect{{0, 0}, {100, 100}});
    box->layer().setBackgroundColor(kBlue);
    root->addSubview(box);
  }
  void TearDown() override { setAnimationClock(nullptr); }

  void advanceTo(double time) {
    now = time;
    advanceAnimations();
  }

  double now = 100;
  std::shared_ptr<View> root;
  std::shared_ptr<View> box;
};

TEST_F(AnimationTest, PresentationFollowsTheCurveWhileTheModelKeepsItsValue) {
  Layer& layer = box->layer();
  layer.addAnimation(animation("opacity", 0.0, 1.0, 1, TimingFunction::EaseInEaseOut), "fade");
  EXPECT_NEAR(layer.presentation().opacity, 0, 1e-9);
  now += 0.5;
  EXPECT_NEAR(layer.presentation().opacity, 0.5, 1e-9);
  now -= 0.25;
  EXPECT_NEAR(layer.presentation().opacity, 0.129162, 1e-5);
  EXPECT_EQ(layer.opacity(), 1);
  advanceTo(now + 1);
  EXPECT_FALSE(layer.hasAnimation("fade"));
  EXPECT_EQ(layer.presentation().opacity, 1);  // removed on completion: back to the model
}

TEST_F(AnimationTest, AddingUnderTheSameKeyReplacesAndStartsFromWhatIsOnScreen) {
  Layer& layer = box->layer();
  std::vector<bool> firstEnded;
  BasicAnimation first = animation("opacity", 0.0, 1.0, 1);
  first.completion = [&](bool finished) { firstEnded.push_back(finished); };
  layer.addAnimation(first, "fade");
  now += 0.4;
  layer.addAnimation(animation("opacity", std::nullopt, 0.0, 1), "fade");
  EXPECT_NEAR(layer.presentation().opacity, 0.4, 1e-9);
  now += 0.5;
  EXPECT_NEAR(layer.presentation().opacity, 0.2, 1e-9);
  advanceTo(now);
  EXPECT_EQ(firstEnded, std::vector<bool>{false});
  advanceTo(now + 1);
  EXPECT_EQ(firstEnded, std::vector<bool>{false});
}

TEST_F(AnimationTest, AMissingEndFollowsTheModelAsItChanges) {
  Layer& layer = box->layer();
  layer.addAnimation(animation("opacity", 0.0, std::nullopt, 1), "fade");
  now += 0.5;
  EXPECT_NEAR(layer.presentation().opacity, 0.5, 1e-9);
  layer.setOpacity(0.5);
  EXPECT_NEAR(layer.presentation().opacity, 0.25, 1e-9);
}

TEST_F(AnimationTest, FillForwardsWithoutRemovalKeepsTheFinalValue) {
  Layer& layer = box->layer();
  BasicAnimation slide = animation("transform.translation.x", 0.0, -100.0, 0.3);
  slide.fillMode = FillMode::Forwards;
  slide.removedOnCompletion = false;
  int completions = 0;
  slide.completion = [&](bool finished) { completions += finished; };
  layer.addAnimation(slide, "routerSlide");
  advanceTo(now + 0.3);
  advanceTo(now + 1);
  EXPECT_EQ(completions, 1);
  EXPECT_FALSE(layer.hasRunningAnimations());
  EXPECT_TRUE(layer.hasAnimation("routerSlide"));
  EXPECT_DOUBLE_EQ(layer.presentation().transform.m[12], -100);
  EXPECT_TRUE(layer.transform().isIdentity());
  layer.removeAnimation("routerSlide");
  EXPECT_DOUBLE_EQ(layer.presentation().transform.m[12], 0);
}

TEST_F(AnimationTest, ACompletionMayRemoveAndFreeItsOwnView) {
  auto incoming = std::make_shared<View>();
  incoming->setFrame(Rect{{0, 0}, {100, 100}});
  root->addSubview(incoming);
  BasicAnimation out =
      animation("transform.translation.x", 0.0, -100.0, 0.3, TimingFunction::EaseInEaseOut);
  out.fillMode = FillMode::Forwards;
  out.removedOnCompletion = false;
  std::weak_ptr<View> outgoing = box;
  out.completion = [&](bool) {
    box->removeFromSuperview();
    box.reset();
  };
  box->layer().addAnimation(out, "routerSlide");
  incoming->layer().addAnimation(
      animation("transform.translation.x", 100.0, 0.0, 0.3, TimingFunction::EaseInEaseOut),
      "routerSlide");
  advanceTo(now + 0.15);
  EXPECT_NEAR(incoming->layer().presentation().transform.m[12], 50, 1e-9);
  advanceTo(now + 0.15);
  EXPECT_TRUE(outgoing.expired());
  EXPECT_EQ(root->subviews().size(), 1u);
  EXPECT_EQ(incoming->layer().presentation().transform.m[12], 0);
}

TEST_F(AnimationTest, FillBackwardsHoldsTheStartDuringTheDelay) {
  Layer& layer = box->layer();
  BasicAnimation late = animation("opacity", 0.2, 0.6, 1);
  late.delay = 0.5;
  layer.addAnimation(late, "a");
  EXPECT_EQ(layer.presentation().opacity, 1);
  late.fillMode = FillMode::Backwards;
  layer.addAnimation(late, "a");
  EXPECT_NEAR(layer.presentation().opacity, 0.2, 1e-9);
  now += 1;
  EXPECT_NEAR(layer.presentation().opacity, 0.4, 1e-9);
}

TEST_F(AnimationTest, TransformComponentsKeepTheOtherParts) {
  Layer& layer = box->layer();
  layer.setTransform(Transform3D::rotationZ(M_PI / 2).then(Transform3D::translation(5, 7)));
  layer.addAnimation(animation("transform.scale", 1.0, 3.0, 1), "grow");
  now += 0.5;
  const Transform3D expected = Transform3D::scale(2, 2)
                                   .then(Transform3D::rotationZ(M_PI / 2))
                                   .then(Transform3D::translation(5, 7));
  const Transform3D shown = layer.presentation().transform;
  for (int i = 0; i < 16; ++i) EXPECT_NEAR(shown.m[i], expected.m[i], 1e-9) << i;
}

TEST_F(AnimationTest, WholeTransformsBlendAsTurnsNotAsMatrices) {
  Layer& layer = box->layer();
  layer.addAnimation(
      animation("transform", Transform3D::identity(), Transform3D::rotationZ(M_PI / 2), 1), "turn");
  now += 0.5;
  const Transform3D shown = layer.presentation().transform;
  const Transform3D expected = Transform3D::rotationZ(M_PI / 4);
  for (int i = 0; i < 16; ++i) EXPECT_NEAR(shown.m[i], expected.m[i], 1e-9) << i;
}

TEST_F(AnimationTest, ValuesOfTheWrongKindAreRefusedAndStillComplete) {
  std::vector<bool> ended;
  BasicAnimation wrong = animation("opacity", Point{1, 2}, 1.0, 1);
  wrong.completion = [&](bool finished) { ended.push_back(finished); };
  EXPECT_FALSE(box->layer().addAnimation(wrong, "a"));
  wrong = animation("shadowRadius", 0.0, 1.0, 1);
  wrong.completion = [&](bool finished) { ended.push_back(finished); };
  EXPECT_FALSE(box->layer().addAnimation(wrong, "b"));
  EXPECT_TRUE(ended.empty());  // never inside the caller's own call
  advanceAnimations();
  EXPECT_EQ(ended, (std::vector<bool>{false, false}));
}

TEST_F(AnimationTest, AGroupAnimatesItsChangesAndCompletesExactlyOnce) {
  Layer& layer = box->layer();
  int completions = 0;
  runGroup(
      0.4, TimingFunction::EaseInEaseOut,
      [&] {
        layer.setOpacity(0);
        box->setFrame(Rect{{20, 0}, {50, 100}});
      },
      [&] { ++completions; });
  EXPECT_EQ(layer.opacity(), 0);
  advanceTo(now + 0.2);
  const LayerValues shown = layer.presentation();
  EXPECT_NEAR(shown.opacity, 0.5, 1e-9);
  EXPECT_NEAR(shown.bounds.width(), 75, 1e-9);
  EXPECT_NEAR(shown.position.x, 47.5, 1e-9);  // centre from 50 to 45
  EXPECT_EQ(completions, 0);
  advanceTo(now + 0.2);
  EXPECT_EQ(completions, 1);
  advanceTo(now + 1);
  EXPECT_EQ(completions, 1);
  EXPECT_EQ(layer.presentation().opacity, 0);
}

TEST_F(AnimationTest, AGroupWithNothingToAnimateCompletesAfterItsDuration) {
  int completions = 0;
  runGroup(
      0.3, TimingFunction::Linear, [] {}, [&] { ++completions; });
  advanceTo(now + 0.1);
  EXPECT_EQ(completions, 0);
  advanceTo(now + 0.2);
  advanceTo(now + 0.2);
  EXPECT_EQ(completions, 1);
}

TEST_F(AnimationTest, AGroupCompletesWhenItsLayerGoesAway) {
  auto layer = std::make_shared<Layer>();
  int completions = 0;
  runGroup(
      1, TimingFunction::Linear, [&] { layer->setOpacity(0.5); }, [&] { ++completions; });
  layer.reset();
  advanceAnimations();
  EXPECT_EQ(completions, 1);
}

TEST_F(AnimationTest, DisabledActionsStopChangesFromAnimating) {
  Layer& layer = box->layer();
  layer.setOpacity(0.5);  // outside a group: at once
  EXPECT_FALSE(layer.hasRunningAnimations());
  runGroup(1, TimingFunction::Linear, [&] {
    {
      ScopedTransaction quiet;
      layer.setOpacity(0.2);
      Transaction::begin();  // nested: inherits the disabled actions
      layer.setTransform(Transform3D::scale(2, 2));
      Transaction::commit();
    }
    EXPECT_FALSE(layer.hasRunningAnimations());
    layer.setCornerRadius(10);  // after the transaction: animates again
  });
  EXPECT_EQ(layer.presentation().opacity, 0.2);
  EXPECT_EQ(layer.presentation().transform.m[0], 2);
  EXPECT_TRUE(layer.hasAnimation("cornerRadius"));
  EXPECT_FALSE(layer.hasAnimation("opacity"));

  // A group opened inside a quiet transaction animates its own changes.
  ScopedTransaction quiet;
  runGroup(1, TimingFunction::Linear, [&] { layer.setOpacity(1); });
  EXPECT_TRUE(layer.hasAnimation("opacity"));
}

TEST_F(AnimationTest, TheRunningGroupDurationIsTheInnermostGroupsEvenWithActionsDisabled) {
  EXPECT_EQ(runningGroupDuration(), 0);
  std::vector<double> seen;
  runGroup(0.3, TimingFunction::Linear, [&] {
    seen.push_back(runningGroupDuration());
    runGroup(0.1, TimingFunction::Linear, [&] { seen.push_back(runningGroupDuration()); });
    ScopedTransaction quiet;
    seen.push_back(runningGroupDuration());
  });
  EXPECT_EQ(seen, (std::vector<double>{0.3, 0.1, 0.3}));
  EXPECT_EQ(runningGroupDuration(), 0);
}

TEST_F(AnimationTest, AChangeMidAnimationStartsFromTheValueOnScreen) {
  Layer& layer = box->layer();
  runGroup(1, TimingFunction::Linear, [&] { layer.setOpacity(0); });
  now += 0.5;
  runGroup(1, TimingFunction::Linear, [&] { layer.setOpacity(1); });
  EXPECT_NEAR(layer.presentation().opacity, 0.5, 1e-9);
  now += 0.5;
  EXPECT_NEAR(layer.presentation().opacity, 0.75, 1e-9);
}

TEST_F(AnimationTest, ColoursFadeInFromClearWithoutDarkening) {
  Layer& layer = box->layer();
  layer.setBackgroundColor(std::nullopt);
  runGroup(1, TimingFunction::Linear, [&] { layer.setBackgroundColor(Color{1, 0, 0, 1}); });
  now += 0.5;
  const Color shown = *layer.presentation().backgroundColor;
  EXPECT_NEAR(shown.red, 1, 1e-9);
  EXPECT_NEAR(shown.alpha, 0.5, 1e-9);
}

TEST_F(AnimationTest, OffscreenRendersShowThePresentation) {
  runGroup(1, TimingFunction::EaseInEaseOut, [&] { box->layer().setOpacity(0); });
  now += 0.5;
  Bitmap bitmap = renderView(*root);
  const uint8_t* p = bitmap.pixel(50, 50);
  EXPECT_NEAR(p[0], 128, 3);
  EXPECT_NEAR(p[2], 255, 1);

  box->layer().addAnimation(animation("transform.translation.x", 60.0, 0.0, 1), "slide");
  now += 0.5;  // the fade has ended; the slide is half way, at 30
  bitmap = renderView(*root);
  EXPECT_EQ(bitmap.pixel(20, 50)[0], 255);  // white: uncovered
  EXPECT_EQ(bitmap.pixel(40, 50)[0], 255);  // the model opacity is 0 once the fade is over
  box->layer().setOpacity(1);
  bitmap = renderView(*root);
  EXPECT_EQ(bitmap.pixel(20, 50)[0], 255);
  EXPECT_EQ(bitmap.pixel(40, 50)[0], 0);  // blue
}

// The real clock and the main loop, as in the application. A group with nothing to animate
// ends the loop if the animations never complete.
TEST(LiveAnimation, AnimationsEndWithoutAWindow) {
  ASSERT_TRUE(initToolkit()) << "no display: run under xvfb-run";
  Application application("local.talvero.animation-test");
  std::unique_ptr<Window> window;
  auto view = std::make_shared<View>();
  bool done = false;
  application.run([&] {
    window = std::make_unique<Window>(application, "test", 100, 100);  // keeps the loop alive
    runGroup(
        3, TimingFunction::Linear, [] {}, [&] { application.quit(); });
    runGroup(
        0.05, TimingFunction::Linear, [&] { view->layer().setOpacity(0); },
        [&] {
          done = true;
          application.quit();
        });
  });
  EXPECT_TRUE(done);
  EXPECT_FALSE(view->layer().hasRunningAnimations());
  window.reset();
}

TEST(LiveAnimation, AViewOnScreenAnimatesWithItsWindowAndAfterLeavingIt) {
  ASSERT_TRUE(initToolkit()) << "no display: run under xvfb-run";
  Application application("local.talvero.animation-test");
  std::unique_ptr<Window> window;
  auto box = std::make_shared<View>();
  box->setFrame(Rect{{0, 0}, {50, 50}});
  bool onScreenDone = false, offScreenDone = false, started = false;
  application.run([&] {
    window = std::make_unique<Window>(application, "test", 100, 100);
    window->contentView()->addSubview(box);
    runGroup(
        3, TimingFunction::Linear, [] {}, [&] { application.quit(); });
    window->setOnResize([&](Size) {
      if (std::exchange(started, true)) return;
      runGroup(
          0.05, TimingFunction::Linear, [&] { box->layer().setOpacity(0); },
          [&] {
            onScreenDone = true;
            runGroup(
                0.2, TimingFunction::Linear, [&] { box->layer().setOpacity(1); },
                [&] {
                  offScreenDone = true;
                  application.quit();
                });
            box->removeFromSuperview();  // taken off screen mid-animation, it still ends
          });
    });
    window->present();
  });
  EXPECT_TRUE(onScreenDone);
  EXPECT_TRUE(offScreenDone);
  window.reset();
}

}  // namespace
}  // namespace talvero::toolkit
