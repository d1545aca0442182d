#include "ui/node_scrollable.h"

#include <gtest/gtest.h>
#include <gtk/gtk.h>

#include <string>
#include <vector>

#include "ui_test_support.h"

namespace talvero {
namespace {

using toolkit::ScrollAxis;
using toolkit::Size;

// A 200 x 100 scroll container at the top left of the screen, held in the global `box`; its
// listeners write to `said`.
class ScrollableTest : public testing::UITest {
 protected:
  void open(const std::string& style, const std::string& children) {
    run("var said = [];"
        "function at(l, t, w, h) { return {position: 'absolute', left: l, top: t, width: w,"
        "                                  height: h}; }"
        "var box = {type: 'scrollable', _style: Object.assign({width: 200, height: 100}, " +
        style + "), children: " + children +
        ","
        "  sl: [function () { said.push('sl ' + Array.prototype.join.call(arguments, ' ')); }],"
        "  ssl: [function () { said.push('ssl ' + arguments.length); }]};"
        "_creatorUI.openScreen({type: 'screen', _style: {}, children: [box]});");
    layout();
    settle();
  }
  NodeScrollable& box() { return *dynamic_cast<NodeScrollable*>(node("box")); }
  Size content() { return box().docView->frame().size; }
  std::vector<std::string> said() {
    std::vector<std::string> lines;
    for (const NativeValue& line : engine->currentContext().globalObject().get("said").toArray())
      lines.push_back(line.asString());
    run("said.length = 0;");
    return lines;
  }
};

TEST_F(ScrollableTest, ContentReachesTheShownChildrenButNeverLessThanTheView) {
  open("{}",
       "[{_style: at(0, 0, 50, 40)},"
       " wide = {_style: at(150, 300, 200, 40)},"
       " hidden = {_style: Object.assign(at(0, 0, 10, 900), {display: 'none'})}]");
  // The wide child reaches below the view and past its right edge: a vertical container
  // grows downwards only. The hidden child counts for nothing.
  EXPECT_EQ(content(), (Size{200, 340}));
  for (const auto& child : box().docView->subviews()) EXPECT_TRUE(asNode(child.get()));
  EXPECT_EQ(box().view().subviews().size(), 1u);  // the scroll view alone

  run("_creatorUI.updateStyle(box._id, 'scrollDirection', 'all');");
  settle();
  EXPECT_EQ(content(), (Size{350, 340}));
  run("_creatorUI.updateStyle(box._id, 'scrollDirection', 'horizontal');"
      "_creatorUI.updateStyle(wide._id, 'width', 20);");
  settle();
  EXPECT_EQ(content(), (Size{200, 100}));  // everything fits: the view's own size
}

TEST_F(ScrollableTest, ChildrenInsertedInOneTurnCountWithTheFramesTheFlushGaveThem) {
  open("{}", "[]");
  EXPECT_EQ(content(), (Size{200, 100}));
  run("for (var i = 0; i < 10; i++) _creatorUI.insertNode(0, box._id, {_style: {height: 30}});");
  settle();
  EXPECT_EQ(box().docView->subviews().size(), 10u);
  EXPECT_EQ(content(), (Size{200, 300}));
  EXPECT_EQ(box().debugScroll(1000), 200);
}

TEST_F(ScrollableTest, ScrollDirectionPicksTheAxesAndTheScrollersFollowTheFlag) {
  open("{}", "[]");
  EXPECT_EQ(box().scrollView->axis(), ScrollAxis::Vertical);
  EXPECT_TRUE(box().scrollView->showsScrollbars());
  run("_creatorUI.updateStyle(box._id, 'scrollDirection', 'horizontal');");
  EXPECT_EQ(box().scrollView->axis(), ScrollAxis::Horizontal);
  run("_creatorUI.updateStyle(box._id, 'showScrollbar', 0);");
  EXPECT_EQ(box().scrollView->axis(), ScrollAxis::Horizontal);
  EXPECT_FALSE(box().scrollView->showsScrollbars());
  run("_creatorUI.updateStyle(box._id, 'scrollDirection', 'all');");
  EXPECT_EQ(box().scrollView->axis(), ScrollAxis::Both);
  EXPECT_FALSE(box().scrollView->showsScrollbars());  // an axis change keeps the flag
  box().setScrollAxis(7);
  EXPECT_EQ(box().scrollView->axis(), ScrollAxis::Vertical);
}

TEST_F(ScrollableTest, AScrollableScreenStartsVertical) {
  run("var page = {type: 'screen', scrollable: true, _style: {},"
      "  children: [{_style: {height: 1500}}]};"
      "_creatorUI.openScreen(page);");
  layout();
  settle();
  auto* page = dynamic_cast<NodeScrollable*>(node("page"));
  ASSERT_NE(page, nullptr);
  EXPECT_EQ(page->scrollAxis(), 1);
  EXPECT_EQ(page->docView->frame().size, (Size{800, 1500}));
  EXPECT_EQ(store().debugScrollFirst(250), 250);
}

TEST_F(ScrollableTest, TheSelfTestHooksLookInsideScrollContainers) {
  run("_creatorUI.openScreen({type: 'screen', _style: {}, children: [{_style: {}}]});");
  EXPECT_FALSE(store().debugScrollFirst(10));
  open("{}",
       "[{type: 'button', _style: at(0, 0, 50, 50), _emitClick: function () { said.push('click'); "
       "}},"
       " {type: 'scrollable', _style: at(0, 60, 100, 30), children: [{_style: {height: 300}}]}]");
  EXPECT_TRUE(store().debugClickFirstButton());
  EXPECT_EQ(said(), (std::vector<std::string>{"click"}));
  EXPECT_EQ(store().debugScrollFirst(50), 0);  // the outer one comes first, and has no room
}

TEST_F(ScrollableTest, ScrollListenersGetOneNumberOnTheAxis) {
  open("{}", "[{_style: at(0, 0, 500, 500)}]");
  EXPECT_EQ(box().debugScroll(120), 120);
  EXPECT_EQ(box().debugScroll(5000), 400);  // kept inside the content
  EXPECT_EQ(box().debugScroll(0), 0);
  EXPECT_EQ(said(), (std::vector<std::string>{"sl 120", "sl 400", "sl 0"}));

  run("_creatorUI.updateStyle(box._id, 'scrollDirection', 'horizontal');");
  settle();
  EXPECT_EQ(box().debugScroll(30), 30);
  run("_creatorUI.updateStyle(box._id, 'scrollDirection', 'all');");
  settle();
  box().scrollView->scrollToPoint({60, 70});
  // With both axes only the vertical offset is heard, also when the move is sideways.
  EXPECT_EQ(said(), (std::vector<std::string>{"sl 30", "sl 0", "sl 70"}));

  run("box.sl = 'not a list';");
  box().debugScroll(10);
  EXPECT_TRUE(said().empty());
}

TEST_F(ScrollableTest, TheEndOfAUserScrollIsHeardOnceItComesToRest) {
  open("{}", "[{_style: at(0, 0, 200, 500)}]");
  // A wheel turn as the platform delivers it: the event to the scroll watchers that see it
  // before the scroller, then the scroller moving.
  auto* scroller = static_cast<GtkWidget*>(box().scrollView->nativeContent());
  GListModel* controllers = gtk_widget_observe_controllers(scroller);
  int watchers = 0;
  for (guint i = 0; i < g_list_model_get_n_items(controllers); ++i) {
    auto* controller = static_cast<GtkEventController*>(g_list_model_get_item(controllers, i));
    if (GTK_IS_EVENT_CONTROLLER_SCROLL(controller) &&
        gtk_event_controller_get_propagation_phase(controller) == GTK_PHASE_CAPTURE) {
      gboolean handled = FALSE;
      g_signal_emit_by_name(controller, "scroll", 0.0, 3.0, &handled);
      ++watchers;
    }
    g_object_unref(controller);
  }
  g_object_unref(controllers);
  ASSERT_GT(watchers, 0);
  box().scrollView->scrollToPoint({0, 90});
  EXPECT_EQ(said(), (std::vector<std::string>{"sl 90"}));
  std::vector<std::string> ended;
  EXPECT_TRUE(dispatch::pumpUntil(
      [&] {
        ended = said();
        return !ended.empty();
      },
      2));
  EXPECT_EQ(ended, (std::vector<std::string>{"ssl 0"}));
  dispatch::pumpFor(0.3);
  EXPECT_TRUE(said().empty());  // heard once
}

}  // namespace
}  // namespace talvero
