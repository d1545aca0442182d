#include <gtest/gtest.h>

#include "ui/node_views.h"
#include "ui_test_support.h"

namespace talvero {
namespace {

class StoreTest : public testing::UITest {
 protected:
  // A router of `depth` screens named s0, s1, … with open listeners that record.
  void openRouter(int depth) {
    run("function screen(name) { return {type: 'screen', _style: {}, name: name,"
        "  ol: [function () { record('open ' + name); }]}; }"
        "var s0 = screen('s0');"
        "_creatorUI.routerOpen(s0, function (node) { record('change ' + node.name); });");
    for (int i = 1; i < depth; ++i) {
      const std::string name = "s" + std::to_string(i);
      run("var " + name + " = screen('" + name + "'); _creatorUI.routerPush(" + name + ");");
    }
    records.clear();
    opened.clear();
    transitions.clear();
  }
  size_t depth() { return store().navStack.size(); }
};

TEST_F(StoreTest, RouterPopCountsBackForNegativeDeltasAndNamesAnIndexForPositiveOnes) {
  openRouter(3);
  run("_creatorUI.routerPop(7);");  // index 7 is past the top: nothing happens
  EXPECT_EQ(depth(), 3u);
  EXPECT_TRUE(records.empty());
  EXPECT_TRUE(opened.empty());

  run("_creatorUI.routerPop(-5);");  // five back from the top stops at the root
  EXPECT_EQ(depth(), 1u);
  EXPECT_EQ(records, (std::vector<std::string>{"change s0"}));  // and no open listener
  ASSERT_EQ(opened.size(), 1u);
  EXPECT_EQ(opened[0].get(), &node("s0")->view());
  EXPECT_EQ(transitions, (std::vector<int>{-1}));
  EXPECT_EQ(json("[s1._id, s2._id]"), "[0,0]");

  records.clear();
  for (const char* delta : {"-1", "0", "1", "-5", "7"}) {
    run(std::string("_creatorUI.routerPop(") + delta + ");");
  }
  EXPECT_EQ(depth(), 1u);
  EXPECT_TRUE(records.empty());
  EXPECT_EQ(store().currentScreen.get(), store().navStack[0].get());
}

TEST_F(StoreTest, PushSlidesForwardAndPopHandsTheLowerScreensOwnViewBack) {
  openRouter(1);
  NodeProtocol* root = node("s0");
  run("var s1 = screen('s1'); _creatorUI.routerPush(s1);");
  EXPECT_EQ(records, (std::vector<std::string>{"open s1", "change s1"}));
  EXPECT_EQ(transitions, (std::vector<int>{1}));
  run("_creatorUI.routerPop(-1);");
  EXPECT_EQ(opened.back().get(), &root->view());
  EXPECT_EQ(transitions.back(), -1);
  EXPECT_EQ(records.back(), "change s0");
  EXPECT_EQ(json("s0._id !== 0"), "true");
}

TEST_F(StoreTest, RouterPopToAnAbsoluteIndexAndReplaceDropsTheOldTopAfterMounting) {
  openRouter(4);
  run("_creatorUI.routerPop(1);");
  EXPECT_EQ(depth(), 2u);
  EXPECT_EQ(records, (std::vector<std::string>{"change s1"}));
  run("var r = screen('r'); _creatorUI.routerReplace(r);");
  EXPECT_EQ(depth(), 2u);
  EXPECT_EQ(json("[s1._id, r._id !== 0]"), "[0,true]");
  EXPECT_EQ(records.back(), "change r");
  EXPECT_EQ(transitions.back(), 1);
}

TEST_F(StoreTest, HideAndRestoreBringTheSameViewBackWithoutASlide) {
  openRouter(2);
  toolkit::View* top = &node("s1")->view();
  run("s1.kept = s1._id; _creatorUI.routerHide();");
  EXPECT_EQ(closes, 0);  // queued even from the main thread
  settle();
  EXPECT_EQ(closes, 1);
  EXPECT_EQ(depth(), 2u);
  run("_creatorUI.routerRestore();");
  ASSERT_EQ(opened.size(), 1u);
  EXPECT_EQ(opened[0].get(), top);
  EXPECT_EQ(transitions, (std::vector<int>{0}));
  EXPECT_EQ(json("s1._id === s1.kept"), "true");
}

TEST_F(StoreTest, RouterOpenWithoutAListenerForgetsTheOldOneAndFreesTheOldStack) {
  openRouter(2);
  run("var fresh = screen('fresh'); _creatorUI.routerOpen(fresh, undefined, false);"
      "_creatorUI.routerPush(screen('next'));");
  EXPECT_EQ(records, (std::vector<std::string>{"open fresh", "open next"}));
  EXPECT_EQ(json("[s0._id, s1._id]"), "[0,0]");
  EXPECT_EQ(depth(), 2u);
}

TEST_F(StoreTest, WidgetShownBeforeTheDisplaySizeIsKnownIsLaidOutByTheNextWidgetPass) {
  std::vector<std::shared_ptr<toolkit::View>> hosts;
  store().onWidgetOpen = [&](std::shared_ptr<toolkit::View> host) { hosts.push_back(host); };
  store().onWidgetClose = [&](std::shared_ptr<toolkit::View> host) { std::erase(hosts, host); };
  run("var w = {type: 'widget', _style: {width: 100, height: 50},"
      "  otl: [function () { record('tap'); }]};"
      "_creatorUI.showWidget(w);");
  ASSERT_EQ(hosts.size(), 1u);
  EXPECT_EQ(hosts[0]->frame().width(), 0);
  EXPECT_EQ(node("w")->view().frame().width(), 0);
  EXPECT_FALSE(dynamic_cast<WidgetHost&>(*hosts[0]).interceptsTaps);  // no overlay colour

  store().setSize(400, 300);
  store().layoutAllWidgets();
  EXPECT_EQ(hosts[0]->frame().width(), 400);
  EXPECT_EQ(node("w")->view().frame().width(), 100);
  EXPECT_TRUE(store().debugDismissFirstWidget());
  EXPECT_EQ(records, (std::vector<std::string>{"tap"}));

  run("_creatorUI.hideWidget(w); _creatorUI.hideWidget(w);");
  EXPECT_TRUE(hosts.empty());
  EXPECT_EQ(json("w._id"), "0");
  EXPECT_TRUE(store().widgetHosts.empty());
  EXPECT_FALSE(store().debugDismissFirstWidget());
}

TEST_F(StoreTest, TouchesAreTrackedPerPointerAndEndOnce) {
  run("var root = {type: 'screen', _style: {},"
      "  _emitTouchStart: function (id, x, y) {"
      "    record('start ' + id + ' ' + x + ',' + y);"
      "    return {onMove: function (e) { record('move ' + e.clientX + ' ' + e.deltaX); },"
      "            onEnd: function (e) { record('end ' + e.clientX + ',' + e.clientY); }};"
      "  }};"
      "_creatorUI.openScreen(root);");
  EXPECT_TRUE(store().debugScreenDrag(0, 0, 100, 50));
  ASSERT_EQ(records.size(), 12u);
  EXPECT_EQ(records[0], "start 2000 0,0");
  EXPECT_EQ(records[1], "move 10 10");
  EXPECT_EQ(records[10], "move 100 10");
  EXPECT_EQ(records[11], "end 100,50");
  EXPECT_TRUE(store().trackHandlers.empty());

  // A second start under the same pointer replaces the first: its handler sees no end.
  records.clear();
  run("var first = {onEnd: function () { record('first end'); }};"
      "var second = {onEnd: function () { record('second end'); }};");
  const ScriptValue global = engine->currentContext().globalObject();
  store().trackTouch(7, global.get("first"), {0, 0});
  store().trackTouch(7, global.get("second"), {0, 0});
  store().onTouchMove(7, {5, 5});  // no onMove: nothing
  store().onTouchEnd(7, {5, 5});
  store().onTouchEnd(7, {5, 5});
  EXPECT_EQ(records, (std::vector<std::string>{"second end"}));

  // A declined touch leaves no entry.
  run("var declined = null;");
  store().trackTouch(8, global.get("declined"), {0, 0});
  EXPECT_EQ(store().trackHandlers.count(8), 0u);
}

TEST_F(StoreTest, NodesWithoutTouchMethodsAreNoError) {
  run("var plain = {type: 'button', _style: {width: 20, height: 20}};"
      "_creatorUI.openScreen({type: 'screen', _style: {}, children: [plain]});");
  layout();
  EXPECT_TRUE(store().debugClickFirstButton());  // no _emitTouchStart, no _emitClick
  EXPECT_FALSE(store().debugScreenDrag(0, 0, 10, 10));
  EXPECT_TRUE(store().trackHandlers.empty());
}

TEST_F(StoreTest, ReleasingAContextDropsOnlyItsInputCallbacksAndTouches) {
  run("_creatorUI.registerResizeEvent(function (w, h) { record('resize ' + w + 'x' + h); });"
      "_creatorUI.registerTouchStartEvent(function () { return {}; });"
      "var oldHandler = {};");
  store().setSize(320, 200);
  EXPECT_EQ(records, (std::vector<std::string>{"resize 320x200"}));
  store().trackTouch(3, engine->currentContext().globalObject().get("oldHandler"), {});

  engine->openProject("_creatorUI.registerTouchEndEvent(function () {}); var mine = {};", {});
  store().trackTouch(4, engine->currentContext().globalObject().get("mine"), {});
  EXPECT_TRUE(store().onResizeCallback.empty());
  EXPECT_TRUE(store().onTouchStartCallback.empty());
  EXPECT_FALSE(store().onTouchEndCallback.empty());
  EXPECT_EQ(store().trackHandlers.count(3), 0u);
  EXPECT_EQ(store().trackHandlers.count(4), 1u);
}

TEST_F(StoreTest, ScriptFacingQueriesAndToasts) {
  std::vector<std::pair<std::string, int>> toasts;
  store().onToast = [&](const std::string& text, int32_t ms) { toasts.emplace_back(text, ms); };
  EXPECT_EQ(json("_creatorUI.getDisplaySize()"), "[0,0]");
  store().setSize(640.7f, 480.2f);
  EXPECT_EQ(json("_creatorUI.getDisplaySize()"), "[640,480]");
  run("_creatorUI.toast('x'); _creatorUI.toast('y', 0); _creatorUI.toast({}, 5);");
  EXPECT_EQ(toasts, (std::vector<std::pair<std::string, int>>{
                        {"x", 2000}, {"y", 0}, {"[object Object]", 5}}));
  run("var t = {type: 'text', _text: 'hi', _style: {}};"
      "_creatorUI.openScreen({type: 'screen', _style: {}, children: [t]});");
  EXPECT_EQ(json("_creatorUI.getTextValue(t._id)"), "\"\"");
  EXPECT_EQ(json("_creatorUI.isButtonPressed(t._id)"), "false");
}

TEST_F(StoreTest, UpdateStyleSchedulesAFlushEvenForAValueItCannotApply) {
  run("var box = {_style: {}};"
      "_creatorUI.openScreen({type: 'screen', _style: {}, children: [box]});");
  settle();
  UIScreen& screen = *store().currentScreen;
  run("_creatorUI.updateStyle(box._id, 'width', {});");
  EXPECT_TRUE(screen.flushScheduled);
  settle();
  run("_creatorUI.updateStyle(box._id, 'flexGrow', true);"
      "_creatorUI.updateStyle(0, 'flexGrow', 1);");
  EXPECT_EQ(YGNodeStyleGetFlexGrow(node("box")->nodePtr()), 1.0f);
}

TEST_F(StoreTest, UpdateNodeLandsOnALaterTurn) {
  run("var t = {type: 'text', _text: 'old', _style: {}};"
      "_creatorUI.openScreen({type: 'screen', _style: {}, children: [t]});"
      "_creatorUI.updateNode(t._id, 'text', 'new');");
  auto& label = dynamic_cast<toolkit::Label&>(node("t")->view());
  EXPECT_EQ(label.string(), "old");
  settle();
  EXPECT_EQ(label.string(), "new");
}

}  // namespace
}  // namespace talvero
