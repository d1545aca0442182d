#include "ui/node_animation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>

#include "platform/dispatch/timer_source.h"
#include "platform/toolkit/animation.h"
#include "style_core/style_core.h"
#include "ui/node_views.h"
#include "ui_test_support.h"

namespace talvero {
namespace {

using namespace hash_literals;

// A box and a button with a 200 ms transition on a real screen and style core. The animation
// clock is the test's; the main queue, where each animation starts and delays run out, is
// pumped for real.
class NodeAnimationTest : public testing::UITest {
 protected:
  void SetUp() override {
    UITest::SetUp();
    toolkit::setAnimationClock([this] { return now; });
    run(R"JS(
      var box = {type: 'view', _style: {width: 100, height: 100, opacity: 0.8,
                                        $dim: {opacity: 0.2}}};
      var button = {type: 'button', _style: {width: 80, height: 40, opacity: 1,
                    onPressed: {opacity: 0.5, duration: 200}, $dim: {opacity: 0.2}}};
      var root = {type: 'screen', _style: {}, children: [box, button]};
      _creatorUI.openScreen(root);
    )JS");
    layout();
  }
  void TearDown() override { toolkit::setAnimationClock(nullptr); }

  toolkit::Layer& layerOf(const std::string& global) { return node(global)->view().layer(); }
  double shown(const std::string& global) { return layerOf(global).presentation().opacity; }
  // Moves the animation clock on; animations that end run their completions.
  void advance(double seconds) {
    now += seconds;
    toolkit::advanceAnimations();
    settle();
  }
  std::map<LayerId, StyleValue> opacityEntries(const std::string& global) {
    return nodeContext(node(global)->nodePtr())->styles["opacity"_h];
  }
  bool stageLive(const std::string& global) {
    const auto& active = nodeContext(node(global)->nodePtr())->activeLayers;
    return std::find(active.begin(), active.end(), kAnimationStageLayer) != active.end();
  }

  double now = 100;
};

TEST_F(NodeAnimationTest, AnimateToRunsOverItsDurationAndMergesTheStageIntoTheDefaultLayer) {
  run("_creatorUI.animateTo(box._id, {opacity: 0, duration: 200});");
  // Staged, not live: nothing moves inside the script's own call.
  EXPECT_NEAR(layerOf("box").opacity(), 0.8, 1e-6);
  EXPECT_EQ(opacityEntries("box")[kAnimationStageLayer], StyleValue(0.0f));
  settle();
  EXPECT_TRUE(stageLive("box"));
  EXPECT_EQ(layerOf("box").opacity(), 0);
  EXPECT_NEAR(shown("box"), 0.8, 1e-6);
  advance(0.1);  // half way, where ease-in-ease-out is half done too
  EXPECT_NEAR(shown("box"), 0.4, 1e-6);
  advance(0.1001);
  EXPECT_EQ(shown("box"), 0);
  EXPECT_FALSE(stageLive("box"));
  EXPECT_EQ(opacityEntries("box").count(kAnimationStageLayer), 0u);
  EXPECT_EQ(opacityEntries("box")[kDefaultLayer], StyleValue(0.0f));
}

TEST_F(NodeAnimationTest, AnimateFromJumpsToTheStartAndLeavesItsValuesForALaterAnimateTo) {
  run("_creatorUI.animateFrom(box._id, {opacity: 0, duration: 200});");
  EXPECT_EQ(shown("box"), 0);
  settle();
  EXPECT_FALSE(stageLive("box"));
  advance(0.1);
  EXPECT_NEAR(shown("box"), 0.4, 1e-6);
  advance(0.1001);
  EXPECT_NEAR(shown("box"), 0.8, 1e-6);
  EXPECT_EQ(opacityEntries("box")[kAnimationStageLayer], StyleValue(0.0f));

  // The switched-off start values come into force with the next animateTo's own.
  run("_creatorUI.animateTo(box._id, {borderWidth: 4, duration: 100});");
  settle();
  advance(0.1001);
  EXPECT_EQ(layerOf("box").opacity(), 0);
  EXPECT_EQ(layerOf("box").borderWidth(), 4);
  EXPECT_EQ(opacityEntries("box").count(kAnimationStageLayer), 0u);
  EXPECT_EQ(opacityEntries("box")[kDefaultLayer], StyleValue(0.0f));
}

TEST_F(NodeAnimationTest, OptionsGiveTimingInSecondsAndLayerAndCommitAreNoStyles) {
  const NativeValue::Dict options{
      {"duration", "fast"}, {"delay", "x"}, {"layer", 5.0}, {"commit", true}, {"opacity", 0.5}};
  const AnimationTiming timing =
      stageAnimationStyle(options, kAnimationStageLayer, node("box")->nodePtr());
  EXPECT_DOUBLE_EQ(timing.duration, 0.225);
  EXPECT_DOUBLE_EQ(timing.delay, 0);
  EXPECT_EQ(opacityEntries("box")[kAnimationStageLayer], StyleValue(0.5f));
  const auto& styles = nodeContext(node("box")->nodePtr())->styles;
  EXPECT_EQ(styles.count("layer"_h) + styles.count("commit"_h), 0u);
  // Through the script: a duration that is not a number runs 225 ms.
  run("_creatorUI.animateTo(box._id, {opacity: 0, duration: 'fast', delay: 'x'});");
  settle();
  advance(0.2);
  EXPECT_GT(shown("box"), 0);
  advance(0.0251);
  EXPECT_EQ(shown("box"), 0);
}

TEST_F(NodeAnimationTest, NothingHappensForAMissingNodeOrOptionsThatAreNoObject) {
  run("_creatorUI.animateTo(0, {opacity: 0}); _creatorUI.animateFrom(12345, {opacity: 0});"
      "_creatorUI.animateTo(box._id, 5); _creatorUI.animateFrom(box._id, [0]);");
  settle();
  advance(0.5);
  EXPECT_EQ(opacityEntries("box").size(), 2u);  // the default and the class
  EXPECT_FALSE(stageLive("box"));
  EXPECT_NEAR(layerOf("box").opacity(), 0.8, 1e-6);
  EXPECT_NEAR(shown("box"), 0.8, 1e-6);
}

TEST_F(NodeAnimationTest, ADelayHoldsTheNodeAsItWasOrAtItsStart) {
  const double start = dispatch::mediaTime();
  run("_creatorUI.animateTo(box._id, {opacity: 0, delay: 150});"
      "_creatorUI.animateFrom(button._id, {opacity: 0.1, delay: 150});");
  settle();
  EXPECT_FALSE(stageLive("box"));
  EXPECT_NEAR(shown("box"), 0.8, 1e-6);
  EXPECT_NEAR(shown("button"), 0.1, 1e-6);
  ASSERT_TRUE(dispatch::pumpUntil([&] { return stageLive("box") && !stageLive("button"); }, 2));
  EXPECT_GE(dispatch::mediaTime() - start, 0.149);
  EXPECT_EQ(layerOf("button").opacity(), 1);
}

TEST_F(NodeAnimationTest, ANodeRemovedDuringItsDelayIsLeftAlone) {
  const std::shared_ptr<toolkit::View> view = node("box")->viewPtr();
  run("_creatorUI.animateTo(box._id, {opacity: 0, delay: 50});"
      "_creatorUI.removeNode(root._id, box);");
  bool delayOver = false;
  dispatch::postAfter(0.06, [&] { delayOver = true; });
  ASSERT_TRUE(dispatch::pumpUntil([&] { return delayOver; }, 2));
  settle();
  EXPECT_NEAR(view->layer().opacity(), 0.8, 1e-6);
  EXPECT_FALSE(view->layer().hasRunningAnimations());
}

TEST_F(NodeAnimationTest, TransitionsOfAButtonRunThroughANodeAnimation) {
  auto& button = dynamic_cast<NodeButton&>(*node("button"));
  button.mouseDown({10, 10});
  EXPECT_EQ(layerOf("button").opacity(), 1);  // on a later turn
  settle();
  advance(0.1);
  EXPECT_NEAR(shown("button"), 0.75, 1e-6);
  advance(0.1001);
  EXPECT_NEAR(shown("button"), 0.5, 1e-6);
  button.mouseUp({10, 10});
  settle();
  advance(0.2001);

  // setClass goes through the same transition; a node without one changes at once.
  run("_creatorUI.setClass(button._id, 'dim', true); _creatorUI.setClass(box._id, 'dim', true);");
  EXPECT_NEAR(shown("box"), 0.2, 1e-6);
  EXPECT_EQ(shown("button"), 1);
  settle();
  advance(0.1);
  EXPECT_NEAR(shown("button"), 0.6, 1e-6);
}

}  // namespace
}  // namespace talvero
