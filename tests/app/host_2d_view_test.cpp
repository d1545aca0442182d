#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "app/app_delegate.h"
#include "platform/dispatch/main_queue.h"
#include "platform/dispatch/timer_source.h"
#include "runtime/animation_manager.h"
#include "scratch_dir.h"

namespace talvero {
namespace {

// The host's window with a launcher that opens a 2D scene under a transparent screen holding one
// button in its top left corner.
class Host2dViewTest : public testing::ScratchDirTest {
 protected:
  void SetUp() override {
    ScratchDirTest::SetUp();
    write("launcher.js",
          "function launch() {"
          "  _creatorUI.openScreen({type: 'screen', _style: {backgroundColor: 'transparent',"
          "    padding: 20}, children: [{type: 'button', _style: {width: 100, height: 40},"
          "    _emitTouchStart: function () { return null; },"
          "    _emitClick: function () { record('button'); }}]});"
          "  _creator2d.setOnPointer(function (phase, id, x, y) {"
          "    record('pointer ' + [phase, id, x, y].join(' ')); });"
          "  _creator2d.onUpdate(function () { updates++; });"
          "  _creator2d.openScene(_creator2d.createScene());"
          "}"
          "var updates = 0;");
  }

  int updates(AppDelegate& delegate) {
    return delegate.engine->currentContext().globalObject().get("updates").toInt32();
  }
};

TEST_F(Host2dViewTest, TheViewSitsUnderTheScreenDrivesTheClockAndGetsThePressesTheUILetsThrough) {
  ASSERT_TRUE(toolkit::initToolkit()) << "no display: run the tests under xvfb-run";
  toolkit::Application application("local.talvero.Host2dViewTest");
  AppDelegate delegate({"talvero"}, root.string());
  std::vector<std::string> records;
  delegate.engine->registerCallback("record", [&records](const std::vector<ScriptValue>& args) {
    records.push_back(args[0].toString());
    return NativeValue();
  });
  application.run([&] {
    delegate.applicationDidFinishLaunching(application);
    ASSERT_NE(delegate.host.view2d, nullptr);
    const auto& stacked = delegate.host.container->subviews();
    ASSERT_GE(stacked.size(), 2u);
    EXPECT_EQ(stacked[0], delegate.host.view2d);
    EXPECT_EQ(stacked[1], delegate.host.currentScreen);
    // The display's frames run the updates, with the display link stopped.
    EXPECT_TRUE(dispatch::pumpUntil([&] { return updates(delegate) > 2; }, 30));
    EXPECT_FALSE(delegate.engine->animationManager().displayLinkRunning());

    using Kind = toolkit::MouseEventKind;
    delegate.window->injectMouse(Kind::LeftDown, {400, 300});
    delegate.window->injectMouse(Kind::LeftUp, {410, 320});
    delegate.window->injectMouse(Kind::LeftDown, {60, 40});
    delegate.window->injectMouse(Kind::LeftUp, {60, 40});
    dispatch::pumpFor(0.05);
    delegate.window->close();
  });
  EXPECT_EQ(records,
            (std::vector<std::string>{"pointer 0 0 400 300", "pointer 2 0 410 320", "button"}));
}

}  // namespace
}  // namespace talvero
