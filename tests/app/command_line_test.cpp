#include <gtest/gtest.h>

#include "app/command_line.h"

namespace talvero {
namespace {

using Args = std::vector<std::string>;

TEST(CommandLine, RunTakesOneScriptAndTheIdleFlagInAnyOrder) {
  CommandLine line = parseCommandLine({"talvero", "--exit-when-idle", "app.js", "--run"});
  EXPECT_FALSE(line.error.has_value());
  EXPECT_EQ(line.mode, RunMode::Script);
  EXPECT_EQ(line.script, "app.js");
  EXPECT_TRUE(line.exitWhenIdle);
}

TEST(CommandLine, RunRefusesWhatItCannotUse) {
  EXPECT_TRUE(parseCommandLine({"talvero", "--run"}).error.has_value());
  EXPECT_TRUE(parseCommandLine({"talvero", "--run", "--frobnicate", "a.js"}).error.has_value());
  EXPECT_TRUE(parseCommandLine({"talvero", "--run", "a.js", "b.js"}).error.has_value());
  EXPECT_TRUE(parseCommandLine({"talvero", "--run", "notes.txt"}).error.has_value());
  EXPECT_TRUE(parseCommandLine({"talvero", "--run", "a.js", "--bundle", "dir"}).error.has_value());
}

TEST(CommandLine, HostPassesEveryArgumentButItsOwnToTheLauncher) {
  CommandLine line = parseCommandLine(
      {"/opt/talvero", "-x", "--bundle", "/tmp/b", "game.js", "--verify", "https://a.b/c"});
  EXPECT_FALSE(line.error.has_value());
  EXPECT_EQ(line.mode, RunMode::Host);
  EXPECT_EQ(line.bundle, "/tmp/b");
  EXPECT_EQ(line.argv, (Args{"/opt/talvero", "-x", "game.js", "--verify", "https://a.b/c"}));

  // A script argument alone no longer runs directly: it is handed to the launcher.
  line = parseCommandLine({"talvero", "app.js"});
  EXPECT_EQ(line.mode, RunMode::Host);
  EXPECT_EQ(line.argv, (Args{"talvero", "app.js"}));
  EXPECT_TRUE(line.bundle.empty());
}

TEST(CommandLine, HostRefusesABundleWithoutDirectoryAndTheIdleFlag) {
  EXPECT_TRUE(parseCommandLine({"talvero", "--bundle"}).error.has_value());
  EXPECT_TRUE(parseCommandLine({"talvero", "--bundle", ""}).error.has_value());
  EXPECT_TRUE(parseCommandLine({"talvero", "app.js", "--exit-when-idle"}).error.has_value());
}

TEST(CommandLine, HelpNeedsNoScriptAndNamesEveryOption) {
  CommandLine line = parseCommandLine({"talvero", "--help"});
  EXPECT_TRUE(line.help);
  EXPECT_FALSE(line.error.has_value());
  EXPECT_TRUE(parseCommandLine({"talvero", "--run", "-h"}).help);
  for (const char* option : {"--run", "--exit-when-idle", "--bundle", "--verify-launcher"}) {
    EXPECT_NE(usage().find(option), std::string::npos) << option;
  }
}

}  // namespace
}  // namespace talvero
