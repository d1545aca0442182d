#include <gtest/gtest.h>

#include "ui/node_views.h"
#include "ui_window_fixture.h"

namespace talvero {
namespace {

using testing::Events;

// A widget whose content lies at (100, 100) to (200, 200) and whose backdrop taps say so.
constexpr const char* kSheet = R"JS(
var sheet = { type: 'widget', _style: { left: 100, top: 100, width: 100, height: 100 },
              otl: [function () { say('backdrop tap'); }] };
)JS";

class WidgetHostTest : public testing::UIWindowTest {
 protected:
  void SetUp() override {
    UIWindowTest::SetUp();
    // Stands in for an overlay colour: the hosts open now take the presses beside the content.
    engine.registerCallback("interceptTaps", [this](const std::vector<ScriptValue>&) {
      for (auto& [id, host] : store().widgetHosts) host->interceptsTaps = true;
      return NativeValue();
    });
  }
  WidgetHost& onlyHost() { return *store().widgetHosts.begin()->second; }
};

TEST_F(WidgetHostTest, AWidgetOpenedDuringAButtonPressOutlivesThatRelease) {
  inWindow([&] {
    engine.run(kSheet);
    open(R"JS({ type: 'screen', children: [b = touchable('b', { type: 'button',
                                                                 _style: at(0, 0, 300, 300) })] })JS");
    engine.run(R"JS(var startB = b._emitTouchStart;
      b._emitTouchStart = function (id, x, y) {
        _creatorUI.showWidget(sheet);
        interceptTaps();
        return startB(id, x, y);
      };)JS");
    tap(20, 20);
    EXPECT_EQ(takeEvents(), (Events{"b start 1 20,20", "b end 20,20", "b click 1 20,20"}));
    EXPECT_EQ(store().widgetHosts.size(), 1u);
  });
}

TEST_F(WidgetHostTest, TheReleaseOfThePressThatOpenedAWidgetOverItIsSwallowedOnce) {
  inWindow([&] {
    engine.run(kSheet);
    // The root sees the press before the views: the host is hit by the very press that made it.
    open(R"JS({ type: 'screen', _interactive: true,
                _emitTouchStart: function () { _creatorUI.showWidget(sheet); interceptTaps();
                                               return null; } })JS");
    tap(20, 20);
    EXPECT_TRUE(takeEvents().empty());
    EXPECT_FALSE(onlyHost().bornMidPress);
    tap(20, 20);
    EXPECT_EQ(takeEvents(), (Events{"backdrop tap"}));
  });
}

TEST_F(WidgetHostTest, ABackdropPressEndingOnVisibleContentIsNoTap) {
  inWindow([&] {
    engine.run(kSheet);
    open("{ type: 'screen' }");
    engine.run("_creatorUI.showWidget(sheet); interceptTaps();");
    press(20, 20);
    drag(150, 150);
    release(150, 150);
    EXPECT_TRUE(takeEvents().empty());
    tap(20, 20);
    EXPECT_EQ(takeEvents(), (Events{"backdrop tap"}));

    node("sheet")->view().setHidden(true);  // hidden content is backdrop
    press(20, 20);
    release(150, 150);
    EXPECT_EQ(takeEvents(), (Events{"backdrop tap"}));
  });
}

TEST_F(WidgetHostTest, AWidgetWithoutOverlayLetsPressesBesideItsContentThrough) {
  inWindow([&] {
    engine.run(kSheet);
    open(
        "{ type: 'screen', children: [touchable('b', { type: 'button', _style: at(0, 0, 300, "
        "300) })] }");
    engine.run("_creatorUI.showWidget(sheet);");
    EXPECT_FALSE(onlyHost().interceptsTaps);
    tap(20, 20);
    EXPECT_EQ(takeEvents(), (Events{"b start 1 20,20", "b end 20,20", "b click 1 20,20"}));
  });
}

}  // namespace
}  // namespace talvero
