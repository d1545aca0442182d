#include <gtest/gtest.h>

#include "ui/node_views.h"
#include "ui_window_fixture.h"

namespace talvero {
namespace {

using testing::Events;
using toolkit::Rect;

class NodeViewsTest : public testing::UIWindowTest {};

TEST_F(NodeViewsTest, BoxCentresRowLinesUpSpacerFillsUnseenAndALaterStyleWins) {
  inWindow([&] {
    open(R"JS({ type: 'screen', children: [
      { type: 'box', _style: at(0, 0, 100, 100),
        children: [centred = { type: 'view', _style: { width: 20, height: 20 } }] },
      { type: 'box', _style: Object.assign(at(100, 0, 100, 100), { alignItems: 'flex-start' }),
        children: [leftAligned = { type: 'view', _style: { width: 20, height: 20 } }] },
      { type: 'row', _style: at(0, 150, 300, 10), children: [
        first = { type: 'view', _style: { width: 100 } },
        spacer = { type: 'spacer' },
        last = { type: 'view', _style: { width: 50 } }] }] })JS");
    EXPECT_EQ(node("centred")->view().frame(), (Rect{{40, 40}, {20, 20}}));
    EXPECT_EQ(node("leftAligned")->view().frame(), (Rect{{0, 40}, {20, 20}}));
    EXPECT_EQ(node("first")->view().frame(), (Rect{{0, 0}, {100, 10}}));
    EXPECT_EQ(node("spacer")->view().frame(), (Rect{{100, 0}, {150, 10}}));
    EXPECT_EQ(node("last")->view().frame(), (Rect{{250, 0}, {50, 10}}));
    EXPECT_TRUE(node("spacer")->view().isHidden());
    EXPECT_FALSE(node("first")->view().isHidden());
  });
}

TEST_F(NodeViewsTest, EmptyContainersAndPlainScreensPassPressesToWhatLiesBehind) {
  inWindow([&] {
    open(R"JS({ type: 'screen', children: [
      touchable('under', { type: 'button', _style: at(10, 10, 100, 100) }),
      cover = { type: 'view', _style: at(0, 0, 200, 200) }] })JS");
    tap(50, 50);
    EXPECT_EQ(takeEvents(),
              (Events{"under start 1 50,50", "under end 50,50", "under click 1 50,50"}));
    // Beside the button only the window itself is left.
    EXPECT_EQ(window->contentView()->hitTest({250, 250}), window->contentView().get());
  });
}

TEST_F(NodeViewsTest, InteractionOffShutsAContainerOrAButtonOffWithWhatItHolds) {
  inWindow([&] {
    open(R"JS({ type: 'screen', children: [
      touchable('under', { type: 'button', _style: at(0, 0, 300, 300) }),
      panel = { type: 'view', _style: at(50, 50, 100, 100), children: [
        touchable('inner', inner = { type: 'button', _style: at(10, 10, 50, 50),
                                     children: [{ type: 'view', _style: at(0, 0, 10, 10) }] })] }] })JS");
    press(62, 62);  // on the button's child: the button takes it
    EXPECT_EQ(takeEvents(), (Events{"inner start 1 62,62"}));
    release(62, 62);
    takeEvents();

    node("panel")->extras.userInteractionEnabled = false;
    press(70, 70);
    EXPECT_EQ(takeEvents(), (Events{"under start 1 70,70"}));
    release(70, 70);
    takeEvents();

    node("panel")->extras.userInteractionEnabled = true;
    node("inner")->extras.userInteractionEnabled = false;
    press(70, 70);
    EXPECT_EQ(takeEvents(), (Events{"under start 1 70,70"}));
    release(70, 70);
  });
}

}  // namespace
}  // namespace talvero
