#include <gtest/gtest.h>

#include "style_test_support.h"

namespace talvero {
namespace {

using NodeTreeTest = testing::StyleTest;

uint64_t measureFixed(int32_t screenId, YGNodeRef, float, uint8_t, float, uint8_t) {
  EXPECT_EQ(screenId, 7);
  return packMeasuredSize(30.0f, 12.0f);
}

TEST_F(NodeTreeTest, ChildrenTakeTheScreenOfTheirParentButNotItsFontSize) {
  setFloat(root, "fontSize", 30);
  YGNodeRef child = createNode(root, 0, 0);
  EXPECT_EQ(getScreenId(child), 7);
  EXPECT_EQ(nodeContext(child)->fontSize, 14.0f);
  YGNodeRef first = createNode(root, 0, 0);
  EXPECT_EQ(YGNodeGetChild(root, 0), first);
  EXPECT_EQ(YGNodeGetChild(root, 1), child);
}

TEST_F(NodeTreeTest, SquareViewportIsLandscape) {
  calculate(root, 300, 300);
  EXPECT_EQ(current_condition, 258);
  calculate(root, 300, 301);
  EXPECT_EQ(current_condition, 257);
  EXPECT_EQ(vw, 3.0f);
  EXPECT_FLOAT_EQ(vmax, 3.01f);
}

TEST_F(NodeTreeTest, NewLayoutIsReportedOnce) {
  setString(root, "width", "100px");
  calculate(root, 400, 300);
  EXPECT_TRUE(hasNewLayout(root));
  EXPECT_FALSE(hasNewLayout(root));
  const NodeLayout layout = getLayout(root);
  EXPECT_EQ(layout.width, 100.0f);
  EXPECT_EQ(layout.height, 300.0f);
}

TEST_F(NodeTreeTest, MeasuredLeavesTakeTheHooksSize) {
  setMeasureFunc(&measureFixed);
  setString(root, "alignItems", "flex-start");
  YGNodeRef text = createNode(root, 0, 1);
  calculate(root, 400, 300);
  EXPECT_EQ(getLayout(text).width, 30.0f);
  EXPECT_EQ(getLayout(text).height, 12.0f);
  EXPECT_EQ(packMeasuredSize(1.0f, 2.0f), 0x3F80000040000000u);  // width high, height low
  markNodeDirty(text);
  EXPECT_TRUE(YGNodeIsDirty(text));
  markNodeDirty(root);  // no measure function: never marked
  setMeasureFunc(nullptr);
}

TEST_F(NodeTreeTest, ContentHeightIsTheLowestChildEdgePlusBottomPadding) {
  setString(root, "paddingBottom", "8px");
  calculate(root, 400, 300);
  EXPECT_EQ(getContentHeight(root), 8.0f);
  YGNodeRef a = createNode(root, 0, 0);
  setString(a, "height", "50px");
  setString(a, "marginBottom", "5px");
  YGNodeRef b = createNode(root, 1, 0);
  setString(b, "position", "absolute");
  setString(b, "top", "-100px");
  setString(b, "height", "20px");
  calculate(root, 400, 300);
  EXPECT_EQ(getContentHeight(root), 50.0f + 5.0f + 8.0f);
  removeNode(root, a);
  calculate(root, 400, 300);
  EXPECT_EQ(getContentHeight(root), 8.0f);  // a child above the top cannot go below 0
}

TEST_F(NodeTreeTest, WidgetIsCentredInAReusedWrapper) {
  YGNodeRef widget = createNodeRoot(3);
  setString(widget, "width", "100px");
  setString(widget, "height", "50px");
  calculateWidget(widget, 400, 300);
  YGNodeRef wrapper = YGNodeGetParent(widget);
  ASSERT_NE(wrapper, nullptr);
  EXPECT_EQ(nodeContext(wrapper), nullptr);
  EXPECT_EQ(getLayout(widget).left, 150.0f);
  EXPECT_EQ(getLayout(widget).top, 125.0f);
  calculateWidget(widget, 200, 100);
  EXPECT_EQ(YGNodeGetParent(widget), wrapper);
  EXPECT_EQ(getLayout(widget).left, 50.0f);
  EXPECT_EQ(vw, 0.0f);  // a widget pass leaves the viewport alone
  freeWidget(widget);
}

TEST_F(NodeTreeTest, AnotherRootInBetweenPreventsReapplication) {
  setStringExt(257, root, "width", "10px");
  setStringExt(258, root, "width", "20px");
  calculate(root, 300, 400);
  YGNodeRef other = createNodeRoot(8);
  calculate(other, 400, 300);
  calculate(root, 400, 300);  // a different root was laid out last: no re-application
  EXPECT_EQ(YGNodeStyleGetWidth(root).value, 10.0f);
  freeNode(other);
}

TEST_F(NodeTreeTest, FreedRootIsNeverUsedAgain) {
  YGNodeRef screen = createNodeRoot(9);
  setString(screen, "width", "50vw");
  calculate(screen, 300, 400);
  EXPECT_EQ(cachedRoot(), screen);
  freeNode(screen);
  EXPECT_EQ(cachedRoot(), nullptr);
  setConditionValue(400, 300);  // would touch freed memory if the root were kept
  EXPECT_EQ(current_condition, 258);
  freeNode(nullptr);
}

}  // namespace
}  // namespace talvero
