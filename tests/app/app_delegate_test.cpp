#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "app/app_delegate.h"
#include "platform/dispatch/timer_source.h"
#include "runtime/keyboard_state.h"
#include "scratch_dir.h"

namespace talvero {
namespace {

namespace fs = std::filesystem;

class AppDelegateTest : public testing::ScratchDirTest {
 protected:
  void SetUp() override {
    ScratchDirTest::SetUp();
    write("launcher.js",
          "function launch(argv) { record('launch ' + argv.length);"
          "  _creatorUI.openScreen({type: 'screen', _style: {}}); }");
    bundle = root;
  }

  fs::path bundle;
};

TEST_F(AppDelegateTest, BothVerifyFlagsRunTheLauncherTestInAContainerWithoutAWindow) {
  write("launcher.js",
        "function launch(argv) { _creatorUI.openScreen({type: 'screen', _style: {padding: 20},"
        "  children: [{type: 'text', _style: {}, _text: 'The launcher test draws this line of "
        "text, and this one is long enough to count as content of the picture.'},"
        "  {type: 'text', _style: {}, _text: 'A second line of text, drawn below the first.'}]});"
        "}");
  AppDelegate delegate({"talvero", "--verify", "--verify-launcher", "game.js"}, bundle.string());
  EXPECT_TRUE(delegate.headlessVerify);
  EXPECT_TRUE(delegate.headlessVerifyLauncher);
  delegate.snapshotFolder = root.string();
  ::testing::internal::CaptureStdout();
  const int status = delegate.runVerification();
  const std::string output = ::testing::internal::GetCapturedStdout();

  EXPECT_EQ(status, 0) << output;
  EXPECT_EQ(output.rfind("[TalveroApp] applicationDidFinishLaunching\n[provenance] ", 0), 0u);
  EXPECT_NE(output.find("[launcher] UI rendered\n"
                        "[launcher] inputKey: A-down=true D-down=false A-up=false -> OK\n"
                        "[launcher] OK\n"),
            std::string::npos)
      << output;
  EXPECT_EQ(output.find("[verify]"), std::string::npos) << output;
  EXPECT_EQ(delegate.window, nullptr);
  ASSERT_NE(delegate.host.container, nullptr);
  EXPECT_EQ(delegate.host.container->bounds().size.width, 800);
  EXPECT_EQ(delegate.host.container->bounds().size.height, 600);
  EXPECT_TRUE(fs::exists(root / "talvero-launcher.png"));
  EXPECT_TRUE(fs::exists(root / "talvero-launcher-layer.png"));
}

// Needs a display: the whole suite runs under xvfb-run.
TEST_F(AppDelegateTest, LaunchWiresWindowEngineAndKeysAndClosingTheWindowEndsIt) {
  ASSERT_TRUE(toolkit::initToolkit()) << "no display: run the tests under xvfb-run";
  toolkit::Application application("local.talvero.AppDelegateTest");
  AppDelegate delegate({"talvero", "-x.js", "game.js"}, bundle.string());
  std::vector<std::string> records;
  delegate.engine->registerCallback("record", [&records](const std::vector<ScriptValue>& args) {
    records.push_back(args[0].toString());
    return NativeValue();
  });

  // Closing the window must end the loop; the timer only keeps a broken close from hanging.
  bool endedByClosing = true;
  dispatch::TimerSource safety(5000, std::nullopt, [&] {
    endedByClosing = false;
    application.quit();
  });
  ::testing::internal::CaptureStdout();
  const int status = application.run([&] {
    delegate.applicationDidFinishLaunching(application);
    ASSERT_NE(delegate.window, nullptr);
    EXPECT_EQ(delegate.host.container, delegate.window->contentView());
    ASSERT_NE(delegate.host.currentScreen, nullptr);  // the launcher's screen, shown in it
    EXPECT_EQ(delegate.host.currentScreen->superview(), delegate.host.container.get());
    EXPECT_TRUE(delegate.keyMonitor.has_value());
    delegate.engine->run(
        "record(JSON.stringify(_creatorUtils.systemInfo().window) + ' ' +"
        " _creatorUtils.getArgv());");
    delegate.window->deliverKey(*KeyboardState::code("KeyA"), true);
    delegate.engine->run("record('KeyA ' + _creatorUtils.inputKey('KeyA'));");
    delegate.window->deliverKey(*KeyboardState::code("KeyA"), false);
    delegate.engine->run("record('KeyA ' + _creatorUtils.inputKey('KeyA'));");
    delegate.window->close();
  });
  const std::string output = ::testing::internal::GetCapturedStdout();

  EXPECT_TRUE(endedByClosing);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(output.rfind("[TalveroApp] applicationDidFinishLaunching\n"
                         "[provenance] runtime 1.0.0 · creator-gl physics=",
                         0),
            0u)
      << output;
  EXPECT_NE(output.find("[TalveroApp] launch([\"talvero\",\"-x.js\",\"game.js\"])\n"),
            std::string::npos)
      << output;
  EXPECT_EQ(records, (std::vector<std::string>{"launch 3", "{\"width\":960,\"height\":640} game.js",
                                               "KeyA true", "KeyA false"}));
}

}  // namespace
}  // namespace talvero
