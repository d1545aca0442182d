#include <gtest/gtest.h>

#include "runtime/host/command_line.h"

namespace talvero {
namespace {

TEST(CommandLine, TakesOneScriptAndTheIdleFlagInAnyOrder) {
  CommandLine line = parseCommandLine({"--exit-when-idle", "app.js"});
  EXPECT_FALSE(line.error.has_value());
  EXPECT_EQ(line.script, "app.js");
  EXPECT_TRUE(line.exitWhenIdle);
}

TEST(CommandLine, RefusesWhatItCannotUse) {
  EXPECT_TRUE(parseCommandLine({}).error.has_value());
  EXPECT_TRUE(parseCommandLine({"--frobnicate", "a.js"}).error.has_value());
  EXPECT_TRUE(parseCommandLine({"a.js", "b.js"}).error.has_value());
  EXPECT_TRUE(parseCommandLine({"notes.txt"}).error.has_value());
}

TEST(CommandLine, HelpNeedsNoScript) {
  CommandLine line = parseCommandLine({"--help"});
  EXPECT_TRUE(line.help);
  EXPECT_FALSE(line.error.has_value());
  EXPECT_NE(usage().find("--exit-when-idle"), std::string::npos);
}

}  // namespace
}  // namespace talvero
