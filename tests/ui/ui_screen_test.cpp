#include <gtest/gtest.h>
#include <cmath>

#include "style_core/style_core.h"
#include "ui/ui_screen.h"
#include "ui_test_support.h"

namespace talvero {
namespace {

using ScreenTest = testing::UITest;

// The ids of a node's native children and of its view's subviews, in order.
std::vector<uint64_t> nativeChildren(NodeProtocol& node) {
  std::vector<uint64_t> ids;
  for (size_t i = 0; i < YGNodeGetChildCount(node.nodePtr()); ++i) {
    ids.push_back(reinterpret_cast<uintptr_t>(YGNodeGetChild(node.nodePtr(), i)));
  }
  return ids;
}
std::vector<uint64_t> viewChildren(NodeProtocol& node) {
  std::vector<uint64_t> ids;
  for (const auto& view : node.view().subviews()) ids.push_back(asNode(view.get())->nodeId());
  return ids;
}

TEST_F(ScreenTest, BuildMakesTheWholeTreeWithIdsAndSkipsNonObjectChildren) {
  run("var a = {type: 'text', _text: 'A', _style: {}};"
      "var b = {type: 'button', _style: {}, children: [null, 7, {_style: {}}]};"
      "var root = {type: 'screen', _style: {}, children: [a, null, 'x', b]};"
      "_creatorUI.openScreen(root);");
  UIScreen& screen = *store().currentScreen;
  EXPECT_EQ(screen.nodes.size(), 4u);
  ASSERT_TRUE(node("root") && node("a") && node("b"));
  // Null and non-object children leave no gap in the native indexes.
  EXPECT_EQ(nativeChildren(*node("root")),
            (std::vector<uint64_t>{node("a")->nodeId(), node("b")->nodeId()}));
  EXPECT_EQ(viewChildren(*node("root")), nativeChildren(*node("root")));
  EXPECT_EQ(viewChildren(*node("b")).size(), 1u);
  ASSERT_EQ(opened.size(), 1u);
  EXPECT_EQ(opened[0].get(), &node("root")->view());
}

TEST_F(ScreenTest, TenInsertsInOneTurnQueueOneFlushAndEndInNativeOrder) {
  run("var root = {type: 'screen', _style: {}, children: [{_style: {}}]};"
      "_creatorUI.openScreen(root);");
  layout();
  settle();
  UIScreen& screen = *store().currentScreen;
  run("for (var i = 0; i < 10; i++)"
      "  _creatorUI.insertNode(i % 3, root._id, {_style: {height: i}});");
  EXPECT_TRUE(screen.flushScheduled);  // one flush, queued by the first insert, for the ten
  EXPECT_EQ(screen.pendingOps.size(), 10u);
  EXPECT_EQ(node("root")->view().subviews().size(), 1u);  // views wait for the flush
  EXPECT_EQ(nativeChildren(*node("root")).size(), 11u);   // the native tree does not
  settle();
  EXPECT_TRUE(screen.pendingOps.empty());
  EXPECT_EQ(viewChildren(*node("root")), nativeChildren(*node("root")));
}

TEST_F(ScreenTest, RemoveQueuedBehindItsInsertLeavesTheViewOut) {
  run("var root = {type: 'screen', _style: {}, children: []};"
      "_creatorUI.openScreen(root);"
      "var late = {_style: {}};"
      "_creatorUI.insertNode(0, root._id, late);"
      "_creatorUI.removeNode(root._id, late);");
  EXPECT_EQ(json("late._id"), "0");
  settle();
  EXPECT_TRUE(node("root")->view().subviews().empty());
  EXPECT_EQ(store().currentScreen->nodes.size(), 1u);
  EXPECT_EQ(YGNodeGetChildCount(node("root")->nodePtr()), 0u);
}

TEST_F(ScreenTest, SetContentReplacesChildrenAndEvenEmptyListsFlush) {
  run("var old = [{_style: {}}, {_style: {}}];"
      "var root = {type: 'screen', _style: {}, children: old};"
      "_creatorUI.openScreen(root);");
  settle();
  UIScreen& screen = *store().currentScreen;
  run("_creatorUI.setContent(root._id, [], []);");
  EXPECT_TRUE(screen.flushScheduled);
  settle();
  run("var fresh = [{type: 'text', _text: 'x', _style: {}}];"
      "_creatorUI.setContent(root._id, old, fresh);");
  EXPECT_EQ(json("old.map(function (n) { return n._id; })"), "[0,0]");
  // All removals go ahead of all inserts.
  ASSERT_EQ(screen.pendingOps.size(), 3u);
  EXPECT_TRUE(std::holds_alternative<MountRemove>(screen.pendingOps[0]));
  EXPECT_TRUE(std::holds_alternative<MountInsert>(screen.pendingOps[2]));
  settle();
  EXPECT_EQ(viewChildren(*node("root")), nativeChildren(*node("root")));
  EXPECT_EQ(viewChildren(*node("root")).size(), 1u);
}

TEST_F(ScreenTest, FramesAreWholePointsAndOnLayoutFiresOnFirstLayoutAndRealChangesOnly) {
  run("var child = {_style: {width: '33.3%', height: 20}, ll: [function (e) {"
      "  record(JSON.stringify(e)); }]};"
      "var root = {type: 'screen', _style: {paddingLeft: 0.4}, children: [child]};"
      "_creatorUI.openScreen(root);");
  store().currentScreen->calculateLayout(100, 100);
  const toolkit::Rect frame = node("child")->view().frame();
  const NodeLayout layout = getLayout(node("child")->nodePtr());
  EXPECT_EQ(frame.width(), std::trunc(layout.width));
  EXPECT_EQ(frame.x(), std::trunc(layout.left));
  ASSERT_EQ(records.size(), 1u);
  // The event carries the layout's own floats, not the cut frame.
  EXPECT_NE(records[0].find("\"width\":" + std::to_string(static_cast<int>(layout.width))),
            std::string::npos);

  store().currentScreen->calculateLayout(100, 100);  // nothing changed: no event
  EXPECT_EQ(records.size(), 1u);
  store().currentScreen->calculateLayout(200, 100);
  EXPECT_EQ(records.size(), 2u);
  EXPECT_EQ(node("child")->view().frame().width(),
            std::trunc(getLayout(node("child")->nodePtr()).width));
}

TEST_F(ScreenTest, AScreenWithoutASizeReplaysItsOperationsButLaysNothingOut) {
  run("var root = {type: 'screen', _style: {}, children: []};"
      "_creatorUI.openScreen(root);"
      "_creatorUI.insertNode(0, root._id, {_style: {width: 50, height: 50}});");
  settle();
  EXPECT_EQ(node("root")->view().subviews().size(), 1u);
  EXPECT_EQ(node("root")->view().subviews()[0]->frame().width(), 0);
  layout();
  EXPECT_EQ(node("root")->view().subviews()[0]->frame().width(), 50);
}

TEST_F(ScreenTest, AHiddenScreenReplaysOperationsWithoutLayingOut) {
  run("var root = {type: 'screen', _style: {}, children: []};"
      "_creatorUI.openScreen(root);");
  layout();
  UIScreen& screen = *store().currentScreen;
  screen.show = false;
  run("_creatorUI.insertNode(0, root._id, {_style: {width: 50, height: 50}});");
  settle();
  ASSERT_EQ(node("root")->view().subviews().size(), 1u);
  EXPECT_EQ(node("root")->view().subviews()[0]->frame().width(), 0);
}

TEST_F(ScreenTest, RemovedNodesReadIdZeroAndLaterCallsWithThemDoNothing) {
  run("var inner = {_style: {}};"
      "var child = {_style: {}, children: [inner]};"
      "var root = {type: 'screen', _style: {}, children: [child]};"
      "_creatorUI.openScreen(root);"
      "var childId = child._id;"
      "_creatorUI.removeNode(root._id, child);"
      "_creatorUI.insertNode(0, childId, {_style: {}});"
      "_creatorUI.removeNode(root._id, child);");
  EXPECT_EQ(json("[child._id, inner._id]"), "[0,0]");
  EXPECT_EQ(store().currentScreen->nodes.size(), 1u);
  settle();
  EXPECT_TRUE(node("root")->view().subviews().empty());
}

TEST_F(ScreenTest, OpenAndCloseListenersRunOnTheRootAndClosingFreesTheTree) {
  run("var first = {type: 'screen', _style: {}, ol: [function () { record('open 1'); }],"
      "  cl: [function () { record('close 1'); }]};"
      "var second = {type: 'screen', _style: {}, ol: [function () { record('open 2'); }]};"
      "_creatorUI.openScreen(first);"
      "_creatorUI.openScreen(second);"
      "_creatorUI.closeScreen();");
  EXPECT_EQ(records, (std::vector<std::string>{"open 1", "close 1", "open 2"}));
  EXPECT_EQ(json("[first._id, second._id]"), "[0,0]");
  EXPECT_FALSE(store().currentScreen);
  EXPECT_EQ(closes, 0);  // the host hears of the close on a later turn
  settle();
  EXPECT_EQ(closes, 1);
}

}  // namespace
}  // namespace talvero
