#include <gtest/gtest.h>
#include <yoga/Yoga.h>

#include "style_core/style_core.h"
#include "ui/node_views.h"
#include "ui_window_fixture.h"

namespace talvero {
namespace {

using testing::Events;

class ButtonTouchTest : public testing::UIWindowTest {
 protected:
  // A button at (60, 80) to (160, 130) in the window, inside a container, so that its own
  // coordinates differ from the window's.
  void openButton(const std::string& answer = "undefined") {
    open(
        "{ type: 'screen', children: [holder = { type: 'view', _style: at(50, 60, 200, 100),"
        " children: [btn = touchable('b', { type: 'button', _style: at(10, 20, 100, 50) }, " +
        answer + ")] }] }");
  }
  bool isButtonPressed() {
    engine.run("var held = _creatorUI.isButtonPressed(btn._id);");
    return global("held").toBool();
  }
};

TEST_F(ButtonTouchTest, PressAndReleaseInsideClickInWindowCoordinatesAndHoldOnlyWhileDown) {
  inWindow([&] {
    openButton();
    EXPECT_FALSE(isButtonPressed());
    press(70, 90);
    EXPECT_EQ(takeEvents(), (Events{"b start 1 70,90"}));
    EXPECT_TRUE(isButtonPressed());
    EXPECT_EQ(store().trackHandlers.count(kButtonPointerId), 1u);
    drag(100, 100);
    release(110, 120);
    EXPECT_EQ(takeEvents(), (Events{"b move 100,100", "b end 110,120", "b click 1 110,120"}));
    EXPECT_FALSE(isButtonPressed());
    EXPECT_TRUE(store().trackHandlers.empty());
  });
}

TEST_F(ButtonTouchTest, ReleaseOutsideEndsTheTouchWithoutAClick) {
  inWindow([&] {
    openButton();
    press(70, 90);
    drag(200, 200);
    release(200, 200);
    EXPECT_EQ(takeEvents(), (Events{"b start 1 70,90", "b move 200,200", "b end 200,200"}));
    EXPECT_FALSE(isButtonPressed());
  });
}

TEST_F(ButtonTouchTest, PressedStyleLayerIsOnOnlyWhileHeld) {
  inWindow([&] {
    openButton();
    YGNodeRef button = node("btn")->nodePtr();
    setFloatExt(kPressedLayer, button, "width", 150);
    press(70, 90);
    EXPECT_EQ(YGNodeStyleGetWidth(button).value, 150);
    release(200, 200);
    EXPECT_EQ(YGNodeStyleGetWidth(button).value, 100);
  });
}

TEST_F(ButtonTouchTest, AClickThatRemovesItsButtonLeavesTheFreedNodeAlone) {
  inWindow([&] {
    openButton();
    engine.run("btn._emitClick = function () { _creatorUI.removeNode(holder._id, btn); };");
    const std::shared_ptr<NodeProtocol> button =
        store().currentScreen->nodes.at(scriptNodeId(global("btn")));
    press(70, 90);
    release(70, 90);
    EXPECT_FALSE(button->show);
    EXPECT_TRUE(store().pressedButtons.empty());
    EXPECT_EQ(global("btn").get("_id").toDouble(), 0);
  });
}

TEST_F(ButtonTouchTest, ANullAnswerTracksNothingButTheClickStillComes) {
  inWindow([&] {
    openButton("null");
    press(70, 90);
    EXPECT_TRUE(store().trackHandlers.empty());
    EXPECT_TRUE(isButtonPressed());
    drag(80, 95);
    release(80, 95);
    EXPECT_EQ(takeEvents(), (Events{"b start 1 70,90", "b click 1 80,95"}));
  });
}

TEST_F(ButtonTouchTest, ASecondPressOnPointerOneReplacesTheFirstTouchWhichSeesNoEnd) {
  inWindow([&] {
    open(R"JS({ type: 'screen', children: [
      touchable('a', { type: 'button', _style: at(0, 0, 100, 100) }),
      touchable('b', { type: 'button', _style: at(150, 0, 100, 100) })] })JS");
    press(50, 50);
    press(200, 50);  // a new press ends the first without a release
    release(200, 50);
    EXPECT_EQ(takeEvents(),
              (Events{"a start 1 50,50", "b start 1 200,50", "b end 200,50", "b click 1 200,50"}));
    EXPECT_TRUE(store().trackHandlers.empty());
  });
}

TEST_F(ButtonTouchTest, AHeadlessClickPressesTheMiddleAndTracksNothing) {
  inWindow([&] {
    openButton();
    EXPECT_TRUE(store().debugClickFirstButton());
    EXPECT_EQ(takeEvents(), (Events{"b start 1 110,105", "b click 1 110,105"}));
    EXPECT_TRUE(store().trackHandlers.empty());
    EXPECT_FALSE(isButtonPressed());
  });
}

class ScreenTouchTest : public testing::UIWindowTest {
 protected:
  ScreenTouchHandler* rootHandler() {
    auto* root = dynamic_cast<NodeScreen*>(store().currentScreen->rootNode.get());
    return root ? root->touchHandler.get() : nullptr;
  }
  // Pointer ids come from a counter of the whole process: other tests may have taken some.
  std::string rootId(int64_t after = 0) { return std::to_string(rootHandler()->pointerId + after); }
};

TEST_F(ScreenTouchTest, AnInteractiveRootStartsItsTouchBeforeTheButtonAndFollowsTheDrag) {
  inWindow([&] {
    open(R"JS(touchable('root', { type: 'screen', _interactive: true, children: [
      touchable('b', { type: 'button', _style: at(10, 10, 100, 100) })] }))JS");
    const std::string id = rootId();
    press(20, 30);
    drag(40, 50);
    release(200, 200);
    EXPECT_EQ(takeEvents(),
              (Events{"root start " + id + " 20,30", "b start 1 20,30", "root move 40,50",
                      "b move 40,50", "root end 200,200", "b end 200,200"}));
    tap(150, 150);  // beside the button: the root alone
    EXPECT_EQ(takeEvents(), (Events{"root start " + id + " 150,150", "root end 150,150"}));
    EXPECT_TRUE(store().trackHandlers.empty());
    EXPECT_FALSE(rootHandler()->tracking);
  });
}

TEST_F(ScreenTouchTest, EachInteractiveRootTakesTheNextPointerIdAndGoesWithItsMonitor) {
  inWindow([&] {
    open("touchable('first', { type: 'screen', _interactive: true })");
    EXPECT_GE(rootHandler()->pointerId, kFirstScreenPointerId);
    const std::string first = rootId(), widget = rootId(1), second = rootId(2);
    engine.run(R"JS(_creatorUI.showWidget(touchable('widget', { type: 'widget',
        _interactive: true, _style: { left: 100, top: 100, width: 100, height: 100 } })))JS");
    tap(150, 150);  // on the widget: the screen below is not pressed
    EXPECT_EQ(takeEvents(), (Events{"widget start " + widget + " 150,150", "widget end 150,150"}));
    tap(20, 20);  // beside it: the widget's host lets it through to the screen
    EXPECT_EQ(takeEvents(), (Events{"first start " + first + " 20,20", "first end 20,20"}));

    const std::weak_ptr<ScreenTouchHandler> firstHandler = rootHandler()->weak_from_this();
    open("touchable('second', { type: 'screen', _interactive: true })");
    EXPECT_TRUE(firstHandler.expired());  // its monitor held it only weakly
    tap(20, 20);
    EXPECT_EQ(takeEvents(), (Events{"second start " + second + " 20,20", "second end 20,20"}));
  });
}

TEST_F(ScreenTouchTest, ANullAnswerLeavesTheRootNotTracking) {
  inWindow([&] {
    open("touchable('root', { type: 'screen', _interactive: true }, null)");
    press(20, 20);
    EXPECT_FALSE(rootHandler()->tracking);
    EXPECT_TRUE(store().trackHandlers.empty());
    drag(30, 30);
    release(30, 30);
    EXPECT_EQ(takeEvents(), (Events{"root start " + rootId() + " 20,20"}));
  });
}

TEST_F(ScreenTouchTest, ARootOutOfTheWindowForgetsItsTouchAtTheReleaseAndTakesNoPress) {
  inWindow([&] {
    open("touchable('root', { type: 'screen', _interactive: true })");
    press(20, 20);
    EXPECT_TRUE(rootHandler()->tracking);
    screenView->removeFromSuperview();
    drag(30, 30);
    release(30, 30);
    EXPECT_FALSE(rootHandler()->tracking);
    tap(20, 20);
    EXPECT_EQ(takeEvents(), (Events{"root start " + rootId() + " 20,20"}));
  });
}

}  // namespace
}  // namespace talvero
