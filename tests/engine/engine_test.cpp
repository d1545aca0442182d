#include <gtest/gtest.h>

#include <thread>

#include "engine/engine.h"
#include "platform/dispatch/main_queue.h"
#include "runtime/log.h"
#include "test_support.h"

namespace talvero {
namespace {

using testing::json;

// An engine whose scripts report through `record(value)`.
class EngineTest : public ::testing::Test {
 protected:
  void SetUp() override {
    engine.registerCallback("record", [this](const std::vector<ScriptValue>& args) -> NativeValue {
      records.push_back(args.empty() ? "" : args[0].toString());
      return {};
    });
  }

  bool waitFor(size_t count, double seconds = 3) {
    return dispatch::pumpUntil([&] { return records.size() >= count; }, seconds);
  }

  TalveroEngine engine;
  std::vector<std::string> records;
};

TEST_F(EngineTest, EveryContextHasTheGlobalsOfTheRuntime) {
  engine.run(
      "record([typeof _creator, typeof _creator2d, typeof _creatorUI, typeof _creatorUtils,"
      " typeof _creatorCanvas, typeof console.log, typeof setTimeout, typeof setInterval,"
      " typeof setLoop, typeof clearTimeout, typeof clearInterval, typeof clearLoop,"
      " typeof _creatorUtils.animate, typeof _creatorUtils.resumeAnimation].join())");
  ASSERT_EQ(records.size(), 1u);
  EXPECT_EQ(records[0],
            "object,object,object,object,object,function,function,function,function,function,"
            "function,function,function,function");
  EXPECT_EQ(engine.creatorUtilsHandler().platform, "linux");
}

TEST_F(EngineTest, ConsoleOfEachContextIsItsOwn) {
  engine.run("console.tag = 'old';");
  engine.openProject("record(String(console.tag));", {});
  ASSERT_EQ(records.size(), 1u);
  EXPECT_EQ(records[0], "undefined");
}

TEST_F(EngineTest, RegistrationReachesLaterProjectsAndTheLaterOneWinsEverywhere) {
  engine.registerCallback("app.version",
                          [](const std::vector<ScriptValue>&) -> NativeValue { return "one"; });
  engine.run("var oldVersion = app.version;");
  ScriptValue oldVersion = engine.currentContext().globalObject().get("oldVersion");
  engine.openProject("record(app.version());", {});
  engine.registerCallback("app.version",
                          [](const std::vector<ScriptValue>&) -> NativeValue { return "two"; });
  engine.run("record(app.version());");
  EXPECT_EQ(oldVersion.call().toString(), "two");  // a function of the replaced context
  EXPECT_EQ(records, (std::vector<std::string>{"one", "two"}));
}

TEST_F(EngineTest, RegistrationPathsJoinExistingObjectsAndCreateMissingOnes) {
  engine.registerCallback("_creatorUtils.getArgv",
                          [](const std::vector<ScriptValue>&) -> NativeValue { return "a.js"; });
  engine.registerCallback("deep..nested.fn",
                          [](const std::vector<ScriptValue>&) -> NativeValue { return 7; });
  engine.run(
      "record([_creatorUtils.getArgv(), typeof _creatorUtils.animate, deep.nested.fn(),"
      " Object.getPrototypeOf(deep) === Object.prototype].join())");
  EXPECT_EQ(records.back(), "a.js,function,7,true");
}

TEST_F(EngineTest, RegistrationNeverReplacesAnExistingValueOnThePath) {
  engine.run("var host = { keep: 1 };");
  engine.registerCallback("host.fn",
                          [](const std::vector<ScriptValue>&) -> NativeValue { return {}; });
  engine.run("record(host.keep + ',' + typeof host.fn);");
  EXPECT_EQ(records.back(), "1,function");
}

TEST_F(EngineTest, ProjectThatThrowsRejectsAndLeavesTheOldProgramRunning) {
  engine.run(
      "var rejected; function onReject(e) { rejected = e; }"
      "setInterval(function () { record('old'); }, 5);");
  const ScriptContext old = engine.currentContext();
  engine.openProject(
      "setTimeout(function () { record('new'); }, 1); throw new Error('bad project');",
      old.globalObject().get("onReject"));
  EXPECT_TRUE(engine.currentContext() == old);
  engine.run("record([rejected instanceof Error, rejected.message].join());");
  ASSERT_FALSE(records.empty());
  EXPECT_EQ(records[0], "true,Error: bad project");  // the text of the exception
  ASSERT_TRUE(waitFor(4));
  dispatch::pumpFor(0.05);
  for (size_t i = 1; i < records.size(); ++i) EXPECT_EQ(records[i], "old");
}

TEST_F(EngineTest, ProjectThatThrowsANonErrorStillRejectsWithItsText) {
  engine.run("var message; function onReject(e) { message = e.message; }");
  engine.openProject("throw 'plain text';", engine.currentContext().globalObject().get("onReject"));
  engine.run("record(message);");
  EXPECT_EQ(records.back(), "plain text");
}

TEST_F(EngineTest, SuccessfulProjectEndsTheOldProgramBeforeAnythingElseRuns) {
  engine.run(
      "setTimeout(function () { record('old timeout'); }, 0);"
      "setLoop(function () { record('old loop'); });"
      "_creatorUtils.animate(function () { record('old animation'); }, 1000);");
  const ScriptContext old = engine.currentContext();
  bool rejected = false;
  engine.registerCallback("failed", [&](const std::vector<ScriptValue>&) -> NativeValue {
    rejected = true;
    return {};
  });
  engine.openProject("setTimeout(function () { record('new'); }, 20);",
                     old.globalObject().get("failed"));
  EXPECT_FALSE(engine.currentContext() == old);
  EXPECT_FALSE(engine.animationManager().hasWork(old));
  EXPECT_FALSE(engine.timerManager().hasPendingTimers(old));
  ASSERT_TRUE(waitFor(1));
  dispatch::pumpFor(0.05);
  EXPECT_EQ(records, (std::vector<std::string>{"new"}));
  EXPECT_FALSE(rejected);
}

TEST_F(EngineTest, OpenProjectSlotOfUtilsReachesTheEngine) {
  ASSERT_TRUE(engine.creatorUtilsHandler().openProject);
  engine.creatorUtilsHandler().openProject("record('switched');", {});
  EXPECT_EQ(records, (std::vector<std::string>{"switched"}));
}

TEST_F(EngineTest, RunFromAnotherThreadIsQueuedForTheContextOfThatMoment) {
  const ScriptContext first = engine.currentContext();
  std::thread other([&] { engine.run("var fromThread = 'yes';"); });
  other.join();
  EXPECT_TRUE(first.globalObject().get("fromThread").isUndefined());
  engine.openProject("var project = true;", {});
  ASSERT_TRUE(
      dispatch::pumpUntil([&] { return first.globalObject().get("fromThread").isString(); }, 2));
  EXPECT_TRUE(engine.currentContext().globalObject().get("fromThread").isUndefined());
}

TEST_F(EngineTest, PendingWorkCountsOnlyTheCurrentProgram) {
  EXPECT_FALSE(engine.hasPendingWork());
  engine.run("var t = setTimeout(function () {}, 1);");
  EXPECT_TRUE(engine.hasPendingWork());
  ASSERT_TRUE(dispatch::pumpUntil([&] { return !engine.hasPendingWork(); }, 2));
  engine.run("var id = _creatorUtils.animate(function () {}, 10000);");
  EXPECT_TRUE(engine.hasPendingWork());
  engine.run("_creatorUtils.stopAnimation(id);");
  EXPECT_FALSE(engine.hasPendingWork());
}

TEST_F(EngineTest, DisplayLinkDrivesLoopsWithoutARenderView) {
  engine.run(
      "var frames = 0; setLoop(function () { if (++frames === 3) record('three frames'); });");
  EXPECT_TRUE(waitFor(1, 2));
}

using EngineDeathTest = EngineTest;

TEST_F(EngineDeathTest, UncaughtExceptionReportsAndStopsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        engine.run("setTimeout(function () { throw new RangeError('late'); }, 1);");
        dispatch::pumpFor(1);
      },
      ::testing::ExitedWithCode(kFatalExitStatus),
      "Fatal error: JavaScript error: RangeError: late");
}

}  // namespace
}  // namespace talvero
