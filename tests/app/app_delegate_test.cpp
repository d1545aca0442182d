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
    write("launcher.js", "function launch(argv) { record('launch ' + argv.length); }");
    bundle = root;
  }

  fs::path bundle;
};

TEST_F(AppDelegateTest, VerificationModesOpenNoWindowAndSayTheyDoNotExistYet) {
  AppDelegate delegate({"talvero", "--verify", "--verify-launcher"}, bundle.string());
  EXPECT_TRUE(delegate.headlessVerify);
  EXPECT_TRUE(delegate.headlessVerifyLauncher);
  ::testing::internal::CaptureStdout();
  EXPECT_EQ(delegate.runVerification(), 1);
  EXPECT_EQ(::testing::internal::GetCapturedStdout(),
            "[TalveroApp] applicationDidFinishLaunching\n"
            "[TalveroApp] --verify-launcher: the launcher self-test is not implemented yet\n");
  EXPECT_EQ(delegate.window, nullptr);
  EXPECT_EQ(delegate.container, nullptr);
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
    EXPECT_EQ(delegate.container, delegate.window->contentView());
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
