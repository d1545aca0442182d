#include <gtest/gtest.h>

#include <algorithm>

#include "style_test_support.h"

namespace talvero {
namespace {

using namespace hash_literals;
using LayerTest = testing::StyleTest;

std::vector<uint32_t> colours(const std::vector<testing::HandlerCall>& calls) {
  std::vector<uint32_t> out;
  for (const auto& call : calls) out.push_back(call.kind == "reset" ? 0xDEADu : call.colour);
  return out;
}

TEST_F(LayerTest, LayerNamesAndClassNumbers) {
  EXPECT_EQ(getLayer(root, ""), kDefaultLayer);
  EXPECT_EQ(getLayer(root, "onPortait"), 257);
  EXPECT_EQ(getLayer(root, "onPortrait"), kDefaultLayer);  // the keyword has no r after the t
  EXPECT_EQ(getLayer(root, "onLandscape"), 258);
  EXPECT_EQ(getLayer(root, "onPressed"), 60270);
  EXPECT_EQ(getLayer(root, "onFocused"), 60271);
  EXPECT_EQ(getLayer(root, "card"), kDefaultLayer);
  EXPECT_EQ(getLayer(root, "$card"), 272);
  EXPECT_EQ(getLayer(nullptr, "$title"), 273);
  EXPECT_EQ(getLayer(root, "$card"), 272);
}

TEST_F(LayerTest, ExhaustedClassRangeFallsBackToTheDefaultLayer) {
  for (int i = kFirstClassLayer; i < kClassLayerLimit; ++i) {
    getLayer(root, ("$c" + std::to_string(i)).c_str());
  }
  ::testing::internal::CaptureStdout();
  EXPECT_EQ(getLayer(root, "$one-too-many"), kDefaultLayer);
  EXPECT_EQ(::testing::internal::GetCapturedStdout(),
            "[WARN] getLayer: class layer range exhausted, \"$one-too-many\" falls back to the "
            "default layer\n");
  EXPECT_EQ(getLayer(root, "$c300"), 300);
}

TEST_F(LayerTest, ValueOfAnIdleLayerWaitsUntilTheLayerGoesLive) {
  const LayerId card = getLayer(root, "$card");
  setStringExt(card, root, "width", "40px");
  EXPECT_TRUE(YGFloatIsUndefined(YGNodeStyleGetWidth(root).value) ||
              YGNodeStyleGetWidth(root).unit == YGUnitAuto);
  enableNodeLayer(root, card);
  EXPECT_EQ(YGNodeStyleGetWidth(root).value, 40.0f);
}

TEST_F(LayerTest, SwitchingAClassOffRestoresTheDefaultOrResets) {
  const LayerId card = getLayer(root, "$card");
  setString(root, "color", "red");
  setStringExt(card, root, "color", "blue");
  setStringExt(card, root, "backgroundColor", "green");
  enableNodeLayer(root, card);
  disableNodeLayer(root, card);
  auto calls = takeCalls();
  // red; on: blue and green (any order); off: red again, and a reset for the class-only property.
  ASSERT_EQ(calls.size(), 5u);
  EXPECT_EQ(calls[0].colour, 0xFF0000FFu);
  std::vector<uint32_t> afterOff = colours({calls.begin() + 3, calls.end()});
  std::sort(afterOff.begin(), afterOff.end());
  EXPECT_EQ(afterOff, (std::vector<uint32_t>{0xDEADu, 0xFF0000FFu}));
  const auto reset = std::find_if(calls.begin() + 3, calls.end(),
                                  [](const auto& call) { return call.kind == "reset"; });
  ASSERT_NE(reset, calls.end());
  EXPECT_EQ(reset->id, "backgroundColor"_h);
}

TEST_F(LayerTest, LaterNamedClassWinsWhateverTheOrderOfSwitching) {
  const LayerId first = getLayer(root, "$first");
  const LayerId second = getLayer(root, "$second");
  setStringExt(second, root, "width", "20px");
  setStringExt(first, root, "width", "10px");
  enableNodeLayer(root, second);
  enableNodeLayer(root, first);
  EXPECT_EQ(YGNodeStyleGetWidth(root).value, 20.0f);
}

TEST_F(LayerTest, ClassBeatsOrientationInBothOrientations) {
  const LayerId card = getLayer(root, "$card");
  setStringExt(257, root, "width", "10px");
  setStringExt(258, root, "width", "15px");
  setStringExt(card, root, "width", "30px");
  enableNodeLayer(root, card);
  calculate(root, 300, 400);
  EXPECT_EQ(YGNodeStyleGetWidth(root).value, 30.0f);
  calculate(root, 400, 300);
  EXPECT_EQ(YGNodeStyleGetWidth(root).value, 30.0f);
  disableNodeLayer(root, card);
  EXPECT_EQ(YGNodeStyleGetWidth(root).value, 15.0f);
}

TEST_F(LayerTest, EnablingTwiceAppliesOnce) {
  const LayerId card = getLayer(root, "$card");
  setStringExt(card, root, "color", "blue");
  enableNodeLayer(root, card);
  enableNodeLayer(root, card);
  EXPECT_EQ(takeCalls().size(), 1u);
  EXPECT_EQ(nodeContext(root)->activeLayers.size(), 1u);
  disableNodeLayer(root, 999);  // a layer the node does not have
  EXPECT_TRUE(takeCalls().empty());
}

TEST_F(LayerTest, MergingTheStageKeepsTheValueAndEmptiesTheStage) {
  setString(root, "opacity", "1");
  enableNodeLayer(root, kAnimationStageLayer);
  setFloatExt(kAnimationStageLayer, root, "opacity", 0.25f);
  takeCalls();
  mergeNodeLayer(root, kAnimationStageLayer, kDefaultLayer);
  EXPECT_TRUE(takeCalls().empty());  // no re-application: the value was already in force
  const auto& layers = nodeContext(root)->styles.at("opacity"_h);
  ASSERT_EQ(layers.size(), 1u);
  EXPECT_EQ(std::get<float>(layers.at(kDefaultLayer)), 0.25f);
  EXPECT_TRUE(nodeContext(root)->activeLayers.empty());
}

TEST_F(LayerTest, ResetNodeLayerEmptiesOnlyThatLayerOfThisNode) {
  YGNodeRef child = createNode(root, 0, 0);
  setStringExt(kAnimationStageLayer, root, "width", "5px");
  setStringExt(kAnimationStageLayer, child, "width", "6px");
  setString(root, "width", "7px");
  resetNodeLayer(root, kAnimationStageLayer);
  EXPECT_EQ(nodeContext(root)->styles.at("width"_h).count(kAnimationStageLayer), 0u);
  EXPECT_EQ(nodeContext(root)->styles.at("width"_h).count(kDefaultLayer), 1u);
  EXPECT_EQ(nodeContext(child)->styles.at("width"_h).count(kAnimationStageLayer), 1u);
}

TEST_F(LayerTest, ChildrenAreJudgedByTheirOwnLayers) {
  const LayerId pressed = kPressedLayer;
  YGNodeRef child = createNode(root, 0, 0);
  setString(child, "width", "10px");
  setStringExt(pressed, child, "width", "20px");
  enableNodeLayer(root, pressed);  // the child does not have the layer: it keeps its value
  EXPECT_EQ(YGNodeStyleGetWidth(child).value, 10.0f);
  enableNodeLayer(child, pressed);
  EXPECT_EQ(YGNodeStyleGetWidth(child).value, 20.0f);
}

TEST_F(LayerTest, OrientationFlipReappliesViewportLengthsOnly) {
  setString(root, "width", "50vw");
  calculate(root, 300, 400);
  setString(root, "width", "50vw");  // worked out at vw = 3
  EXPECT_EQ(YGNodeStyleGetWidth(root).value, 150.0f);
  calculate(root, 350, 450);  // same orientation: nothing re-applied
  EXPECT_EQ(YGNodeStyleGetWidth(root).value, 150.0f);
  calculate(root, 450, 350);
  EXPECT_EQ(YGNodeStyleGetWidth(root).value, 225.0f);
  setConditionValue(200, 600);  // through the cached root
  EXPECT_EQ(YGNodeStyleGetWidth(root).value, 100.0f);
}

TEST_F(LayerTest, StringsAppliedLaterByALayerAreNotMarkedDynamic) {
  const LayerId card = getLayer(root, "$card");
  setStringExt(card, root, "width", "10vw");
  enableNodeLayer(root, card);
  EXPECT_TRUE(nodeContext(root)->dynamicProps.empty());
  setString(root, "height", "10vh");
  EXPECT_EQ(nodeContext(root)->dynamicProps, (std::vector<PropertyId>{"height"_h}));
}

}  // namespace
}  // namespace talvero
