#include <gtest/gtest.h>

#include "engine/engine.h"
#include "platform/dispatch/main_queue.h"
#include "runtime/animation_manager.h"
#include "runtime/timer_manager.h"
#include "test_support.h"

namespace talvero {
namespace {

using testing::json;

// Timers through the script functions of a real engine and main loop.
class TimersTest : public ::testing::Test {
 protected:
  void SetUp() override { context = engine.currentContext(); }

  std::string log() { return json(context, "log"); }

  TalveroEngine engine;
  ScriptContext context;
};

TEST_F(TimersTest, TimersAndLoopsShareOneIdSequenceFromOne) {
  engine.run(
      "var ids = [setTimeout(function () {}, 10), setLoop(function () {}), setInterval(function () "
      "{}, 10)];"
      "var animation = _creatorUtils.animate(function () {}, 10);");
  EXPECT_EQ(json(context, "ids"), "[1,2,3]");
  EXPECT_EQ(json(context, "animation"), "1");
}

TEST_F(TimersTest, ClearFunctionsAreInterchangeable) {
  engine.run(
      "var log = [];"
      "var loop = setLoop(function () { log.push('loop'); });"
      "var timer = setTimeout(function () { log.push('timer'); }, 1);"
      "clearTimeout(loop); clearLoop(timer); clearTimeout(0); clearInterval(999);");
  engine.animationManager().tick();
  dispatch::pumpFor(0.03);
  EXPECT_EQ(log(), "[]");
  EXPECT_EQ(engine.timerManager().timerCount(), 0u);
  EXPECT_EQ(engine.animationManager().loopCount(), 0u);
}

TEST_F(TimersTest, FireInDelayOrderAndOneShotsStayUntilCleared) {
  engine.run(
      "var log = [];"
      "var slow = setTimeout(function () { log.push('slow'); }, 30);"
      "setTimeout(function () { log.push('fast'); }, 5);");
  ASSERT_TRUE(dispatch::pumpUntil([&] { return log() == R"(["fast","slow"])"; }, 2));
  EXPECT_EQ(engine.timerManager().timerCount(), 2u);
  EXPECT_FALSE(engine.timerManager().hasPendingTimers(context));
  engine.run("clearTimeout(slow);");
  EXPECT_EQ(engine.timerManager().timerCount(), 1u);
}

TEST_F(TimersTest, IntervalRepeatsUntilItClearsItself) {
  engine.run(
      "var log = [];"
      "var every = setInterval(function () { log.push(log.length); if (log.length === 3) "
      "clearInterval(every); }, 2);");
  ASSERT_TRUE(dispatch::pumpUntil([&] { return log() == "[0,1,2]"; }, 2));
  dispatch::pumpFor(0.03);
  EXPECT_EQ(log(), "[0,1,2]");
}

TEST_F(TimersTest, CancelAllEndsOnlyTheTimersOfThatContext) {
  TimerManager& timers = engine.timerManager();
  ScriptContext other = ScriptContext::create();
  engine.configure(other);
  engine.run("var log = []; setTimeout(function () { log.push('kept'); }, 1);");
  other.evaluate(
      "setTimeout(function () { throw new Error('must not fire'); }, 1);"
      "setInterval(function () { throw new Error('must not fire'); }, 1);");
  timers.cancelAll(other);
  EXPECT_EQ(timers.timerCount(), 1u);
  ASSERT_TRUE(dispatch::pumpUntil([&] { return log() == R"(["kept"])"; }, 2));
}

// The animation clock on a clock of the test's own.
class AnimationClockTest : public ::testing::Test {
 protected:
  void SetUp() override {
    context = ScriptContext::create();
    context.setExceptionHandler([](const ScriptContext&, const ScriptValue& exception) {
      ADD_FAILURE() << exception.toString();
    });
    context.evaluate(
        "var calls = []; function record(x) { calls.push(Math.round(x * 1000) / 1000); }");
    record = context.globalObject().get("record");
  }

  std::string calls() { return json(context, "calls"); }

  double now = 100;
  AnimationManager animations{[this] { return now; }};
  ScriptContext context;
  ScriptValue record;
};

TEST_F(AnimationClockTest, FirstLoopStepIsZeroThenTheTimeBetweenTicks) {
  animations.addLoop(1, record);
  animations.tick();
  now += 0.25;
  animations.tick();
  EXPECT_EQ(calls(), "[0,0.25]");
}

TEST_F(AnimationClockTest, LoopAddedAfterAQuietTimeGetsTheWholeGap) {
  animations.addLoop(1, record);
  animations.tick();
  animations.removeLoop(1);
  now += 2;
  animations.tick();  // no loops: the clock keeps its last time
  now += 1;
  animations.addLoop(2, record);
  animations.tick();
  EXPECT_EQ(calls(), "[0,3]");
}

TEST_F(AnimationClockTest, CancelAllResetsTheClockOnlyWhenNoLoopIsLeft) {
  ScriptContext other = ScriptContext::create();
  other.evaluate("function noop() {}");
  animations.addLoop(1, record);
  animations.addLoop(2, other.globalObject().get("noop"));
  animations.tick();
  animations.cancelAll(other);
  EXPECT_EQ(animations.lastTime(), 100);
  animations.cancelAll(context);
  EXPECT_EQ(animations.lastTime(), 0);
  EXPECT_EQ(animations.loopCount(), 0u);
}

TEST_F(AnimationClockTest, ZeroDurationGetsExactlyOneCallWithOne) {
  animations.animate(record, 0);
  animations.tick();  // the same instant as its start
  animations.tick();
  EXPECT_EQ(calls(), "[1]");
}

TEST_F(AnimationClockTest, ProgressRunsToExactlyOneAndEnds) {
  animations.animate(record, 1000);
  now += 0.5;
  animations.tick();
  now += 0.7;
  animations.tick();
  now += 0.1;
  animations.tick();
  EXPECT_EQ(calls(), "[0.5,1]");
  EXPECT_EQ(animations.animationCount(), 0u);
}

TEST_F(AnimationClockTest, PausedAtFortyPercentResumesFromThere) {
  const int64_t id = animations.animate(record, 1000);
  now += 0.4;
  animations.pauseAnimation(id);
  now += 5;
  animations.tick();  // paused: no call
  animations.resumeAnimation(id);
  animations.tick();
  now += 0.1;
  animations.tick();
  EXPECT_EQ(calls(), "[0.4,0.5]");
}

TEST_F(AnimationClockTest, PausingPastTheEndEndsAtTheNextTickAfterResuming) {
  const int64_t id = animations.animate(record, 100);
  now += 3;
  animations.pauseAnimation(id);
  animations.pauseAnimation(id);  // a second pause changes nothing
  now += 1;
  animations.resumeAnimation(id);
  animations.tick();
  EXPECT_EQ(calls(), "[1]");
  EXPECT_EQ(animations.animationCount(), 0u);
}

TEST_F(AnimationClockTest, StoppedAnimationGetsNoLastCall) {
  const int64_t id = animations.animate(record, 100);
  animations.stopAnimation(id);
  now += 1;
  animations.tick();
  EXPECT_EQ(calls(), "[]");
}

TEST_F(AnimationClockTest, WhatACallbackAddsWaitsAndWhatItRemovesStillRuns) {
  int changes = 0;
  ExportTable hooks;
  hooks.add("changeLoops", [&] {
    ++changes;
    animations.removeLoop(2);
    animations.addLoop(3, record);
  });
  hooks.installGlobals(context);
  context.evaluate(
      "function changing() { record(1); changeLoops(); }  function removed() { record(2); }");
  animations.addLoop(1, context.globalObject().get("changing"));
  animations.addLoop(2, context.globalObject().get("removed"));
  animations.tick();
  EXPECT_EQ(calls(), "[1,2]");
  animations.tick();  // loop 3, added during the first pass, runs from here on
  EXPECT_EQ(changes, 2);
  EXPECT_EQ(json(context, "calls.length"), "4");
  EXPECT_EQ(animations.loopCount(), 2u);
}

}  // namespace
}  // namespace talvero
