#include "ui/node_vlist.h"

#include <gtest/gtest.h>

#include <string>

#include "style_core/style_core.h"
#include "ui_test_support.h"

namespace talvero {
namespace {

// A virtual list 300 x 400 at the top left of the screen, held in the global `list`, whose
// items are plain boxes as high as `heights` says (20 by default, also the estimate). Its
// `_syncWindow` counts what it mounts and unmounts, and keeps the subtrees in `made`.
class VListViewTest : public testing::UITest {
 protected:
  void open(int count, const std::string& options = "{}") {
    run("var heights = {}, made = {}, mounts = 0, unmounts = 0, ends = 0, starts = 0;"
        "function item(key) { return {_style: {height: heights[key] || 20}}; }"
        "var keys = [], estimates = [];"
        "for (var i = 0; i < " +
        std::to_string(count) +
        "; i++) { keys.push('k' + i); estimates.push(20); }"
        "var list = Object.assign({type: 'vlist', _style: {width: 300, height: 400},"
        "  _keys: keys, _estimates: estimates,"
        "  erl: [function () { ends++; }], strl: [function () { starts++; }],"
        "  _syncWindow: function (removed, added) {"
        "    unmounts += removed.length;"
        "    for (var i = 0; i < added.length; i++) {"
        "      mounts++; made[added[i]] = item(added[i]);"
        "      _creatorUI.vlistMount(list, added[i], made[added[i]]);"
        "    }"
        "  }}, " +
        options +
        ");"
        "var root = {type: 'screen', _style: {}, children: [list]};"
        "_creatorUI.openScreen(root);");
    layout();
    settle();
  }
  NodeVList& list() { return *dynamic_cast<NodeVList*>(node("list")); }
  double offset() { return list().scrollView->contentOffset().y; }
  int number(const std::string& global) {
    return engine->currentContext().globalObject().get(global).toInt32();
  }
  // Where an item's wrapper lies in the document, or -1 when it is not mounted.
  double topOf(const std::string& key) {
    const auto found = list().items.find(key);
    return found == list().items.end() ? -1 : found->second.wrapper->frame().y();
  }
  void command(const std::string& name, const std::string& argument) {
    run("_creatorUI.command(list, '" + name + "', " + argument + ");");
  }
};

TEST_F(VListViewTest, TenThousandKeysMountOnlyTheWindowAroundTheViewport) {
  open(10000);
  // One viewport of overscan below the first 400 points: 800 points of 20-point items.
  EXPECT_EQ(list().items.size(), 40u);
  EXPECT_EQ(number("mounts"), 40);
  EXPECT_EQ(list().docView->subviews().size(), 40u);
  EXPECT_EQ(store().currentScreen->nodes.size(), 2u + 40u);
  EXPECT_EQ(list().docView->frame().size, (toolkit::Size{300, 200000}));
  EXPECT_EQ(topOf("k39"), 780);
  EXPECT_TRUE(list().items.at("k39").placed);
  EXPECT_FALSE(list().items.at("k39").wrapper->isHidden());

  command("scrollTo", "100000");
  // 400 points either side of the viewport at 100000: k4980 to k5039.
  EXPECT_EQ(offset(), 100000);
  EXPECT_EQ(list().items.size(), 60u);
  EXPECT_EQ(number("unmounts"), 40);
  EXPECT_EQ(topOf("k4979"), -1);
  EXPECT_EQ(topOf("k4980"), 99600);
  EXPECT_EQ(topOf("k5039"), 100780);
  EXPECT_EQ(list().docView->subviews().size(), 60u);
  EXPECT_EQ(store().currentScreen->nodes.size(), 2u + 60u);
}

TEST_F(VListViewTest, CommandsScrollToAnOffsetAKeyOrTheEnd) {
  open(1000);
  command("scrollToKey", "'k777'");
  EXPECT_EQ(offset(), 15540);
  EXPECT_EQ(topOf("k777"), 15540);
  command("scrollToKey", "'nothing'");
  command("launch", "0");
  EXPECT_EQ(offset(), 15540);
  command("scrollTo", "-20");
  EXPECT_EQ(offset(), 0);
  EXPECT_EQ(topOf("k0"), 0);
  command("scrollToEnd", "undefined");
  EXPECT_EQ(offset(), 20000 - 400);
  EXPECT_EQ(topOf("k999"), 19980);
  EXPECT_EQ(number("ends"), 0);  // no threshold, no end event

  // A plain scrollable takes no commands.
  run("var plain = {type: 'scrollable', _style: {height: 100},"
      "  children: [{_style: {height: 900}}]};"
      "_creatorUI.insertNode(1, root._id, plain);");
  settle();
  auto* plain = dynamic_cast<NodeScrollable*>(node("plain"));
  ASSERT_NE(plain, nullptr);
  run("_creatorUI.command(plain, 'scrollTo', 300);");
  EXPECT_EQ(plain->scrollView->contentOffset().y, 0);
  EXPECT_EQ(plain->debugScroll(300), 300);
}

TEST_F(VListViewTest, AnItemThatGrowsAboveTheViewportLeavesTheVisibleContentStill) {
  open(1000);
  command("scrollTo", "1000");  // k50 at the top; k45 mounted above it in the overscan
  ASSERT_EQ(topOf("k45"), 900);
  const double k50OnScreen = topOf("k50") - offset();

  run("heights.k45 = 60; _creatorUI.vlistInvalidate(list, 'k45');");
  EXPECT_EQ(offset(), 1040);
  EXPECT_EQ(topOf("k50") - offset(), k50OnScreen);
  EXPECT_EQ(list().items.at("k45").wrapper->frame().height(), 60);

  // Keys inserted above take the scroll position with them too.
  run("_creatorUI.vlistInsertKeys(list, 0, ['a', 'b', 'c'], [10, 10, 10]);");
  EXPECT_EQ(offset(), 1070);
  EXPECT_EQ(topOf("k50") - offset(), k50OnScreen);
  // Three keys with two estimates are refused.
  run("_creatorUI.vlistInsertKeys(list, 0, ['x', 'y', 'z'], [10, 10]);");
  EXPECT_EQ(offset(), 1070);
  EXPECT_EQ(list().docView->frame().height(), 20000 + 40 + 30);
}

TEST_F(VListViewTest, AnInvertedListStartsAtItsEnd) {
  open(1000, "{_inverted: true}");
  EXPECT_EQ(offset(), 20000 - 400);
  EXPECT_EQ(topOf("k999"), 19980);
  EXPECT_EQ(topOf("k0"), -1);
  // A new last key is followed while the list is at its end.
  run("_creatorUI.vlistInsertKeys(list, -1, ['last'], [20]);");
  EXPECT_EQ(offset(), 20020 - 400);
  EXPECT_EQ(topOf("last"), 20000);
}

TEST_F(VListViewTest, AWidthChangeLaysTheMountedItemsOutAgain) {
  open(100);
  run("item = function () { return {_style: {aspectRatio: 4}}; };"
      "_creatorUI.vlistSetKeys(list, ['a', 'b', 'c'], [10, 10, 10]);");
  EXPECT_EQ(list().items.size(), 3u);
  EXPECT_EQ(topOf("c"), 150);  // 300 wide, 75 high
  run("_creatorUI.updateStyle(list._id, 'width', 200);");
  settle();
  EXPECT_EQ(list().items.at("a").contentView->frame().size, (toolkit::Size{200, 50}));
  EXPECT_EQ(topOf("b"), 50);
  EXPECT_EQ(topOf("c"), 100);
  EXPECT_EQ(list().items.at("c").wrapper->frame().size, (toolkit::Size{200, 50}));
}

TEST_F(VListViewTest, EdgeListenersOfTheScriptObjectAreCalled) {
  open(1000, "{_endThreshold: 100, _startThreshold: 50}");
  EXPECT_EQ(number("starts"), 1);
  command("scrollToEnd", "0");
  EXPECT_EQ(number("ends"), 1);
  run("list.erl = 'none';");  // read at each event: anything but an array is ignored
  command("scrollTo", "0");
  command("scrollToEnd", "0");
  EXPECT_EQ(number("starts"), 2);
  EXPECT_EQ(number("ends"), 1);
}

TEST_F(VListViewTest, RemovingTheListTakesItsItemsAwayAndLeavesLaterCallsWithoutEffect) {
  open(1000);
  const YGNodeRef listNode = list().nodePtr();
  const std::shared_ptr<NodeVList> view = std::dynamic_pointer_cast<NodeVList>(list().viewPtr());
  run("_creatorUI.removeNode(root._id, list);");
  float height = 0;
  EXPECT_FALSE(vlistTryContentHeight(listNode, &height));  // no longer a list
  EXPECT_TRUE(view->items.empty());
  EXPECT_TRUE(view->docView->subviews().empty());
  EXPECT_EQ(store().currentScreen->nodes.size(), 1u);
  EXPECT_EQ(json("[list._id, made.k0._id, made.k39._id]"), "[0,0,0]");

  run("_creatorUI.command(list, 'scrollTo', 100);"
      "_creatorUI.vlistSetKeys(list, ['x'], [5]);"
      "_creatorUI.vlistMount(list, 'x', {_style: {}});");
  view->scrollView->scrollToPoint({0, 50});  // the view still moves until the flush drops it
  settle();
  EXPECT_EQ(number("mounts"), 40);
  EXPECT_TRUE(view->items.empty());
  EXPECT_EQ(view->superview(), nullptr);
}

}  // namespace
}  // namespace talvero
