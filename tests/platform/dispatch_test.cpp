#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "platform/dispatch/background_queue.h"
#include "platform/dispatch/display_link.h"
#include "platform/dispatch/main_queue.h"
#include "platform/dispatch/timer_source.h"

namespace talvero::dispatch {
namespace {

TEST(MainQueue, BlocksPostedFromAnotherThreadRunOnTheMainThreadInOrder) {
  std::vector<int> order;
  std::atomic<int> offMain{0};
  std::thread poster([&] {
    for (int i = 0; i < 100; ++i) {
      post([&order, &offMain, i] {
        if (!isMainThread()) ++offMain;
        order.push_back(i);
      });
    }
  });
  poster.join();
  EXPECT_EQ(pendingCount(), 100u);
  ASSERT_TRUE(pumpUntil([&] { return order.size() == 100; }, 5));
  EXPECT_EQ(offMain, 0);
  for (int i = 0; i < 100; ++i) EXPECT_EQ(order[i], i);
  EXPECT_EQ(pendingCount(), 0u);
}

TEST(MainQueue, BlockPostedByABlockWaitsForTheNextTurn) {
  std::vector<std::string> order;
  post([&] {
    order.push_back("a");
    post([&] { order.push_back("c"); });
  });
  post([&] { order.push_back("b"); });
  ASSERT_TRUE(pumpUntil([&] { return order.size() == 3; }, 5));
  EXPECT_EQ(order, (std::vector<std::string>{"a", "b", "c"}));
}

TEST(TimerSource, TimersDueTogetherFireInDeadlineOrder) {
  std::vector<int> order;
  TimerSource late(30, std::nullopt, [&] { order.push_back(30); });
  TimerSource early(10, std::nullopt, [&] { order.push_back(10); });
  TimerSource sameAsEarly(10, std::nullopt, [&] { order.push_back(11); });
  // Keep the main thread busy past every deadline, so that all fall due in one turn.
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  ASSERT_TRUE(pumpUntil([&] { return order.size() == 3; }, 5));
  EXPECT_EQ(order, (std::vector<int>{10, 11, 30}));
}

TEST(TimerSource, RepeatsUntilCancelledFromItsOwnHandler) {
  int fired = 0;
  TimerSource timer;
  timer = TimerSource(1, 1, [&] {
    if (++fired == 3) timer.cancel();
  });
  ASSERT_TRUE(pumpUntil([&] { return !timer.active(); }, 5));
  pumpFor(0.02);
  EXPECT_EQ(fired, 3);
}

TEST(TimerSource, DroppingTheHandleCancels) {
  bool fired = false;
  {
    TimerSource timer(5, std::nullopt, [&] { fired = true; });
  }
  pumpFor(0.05);
  EXPECT_FALSE(fired);
}

TEST(TimerSource, OneShotIsInactiveOnceFired) {
  TimerSource timer(1, std::nullopt, [] {});
  EXPECT_TRUE(timer.active());
  ASSERT_TRUE(pumpUntil([&] { return !timer.active(); }, 2));
}

TEST(TimerSource, PostAfterWaitsAtLeastItsDelay) {
  const double start = mediaTime();
  double ranAt = 0;
  postAfter(0.03, [&] { ranAt = mediaTime(); });
  ASSERT_TRUE(pumpUntil([&] { return ranAt > 0; }, 2));
  EXPECT_GE(ranAt - start, 0.03);
}

TEST(DisplayLink, CallsBackOnItsOwnThreadUntilStopped) {
  std::atomic<int> frames{0};
  std::atomic<bool> onMain{false};
  DisplayLink link([&] {
    if (isMainThread()) onMain = true;
    ++frames;
  });
  ASSERT_TRUE(link.start());
  for (int waited = 0; frames < 2 && waited < 5000; waited += 10) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  link.stop();
  const int seen = frames;
  EXPECT_GE(seen, 2);
  EXPECT_FALSE(onMain);
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_EQ(frames, seen);
}

TEST(BackgroundQueue, OneThreadRunsBlocksInOrderOffTheMainThread) {
  std::vector<int> order;
  std::atomic<bool> onMain{false};
  {
    BackgroundQueue queue(1);
    for (int i = 0; i < 50; ++i) {
      queue.post([&, i] {
        if (isMainThread()) onMain = true;
        order.push_back(i);
      });
    }
  }  // finishes what was queued
  ASSERT_EQ(order.size(), 50u);
  for (int i = 0; i < 50; ++i) EXPECT_EQ(order[i], i);
  EXPECT_FALSE(onMain);
}

}  // namespace
}  // namespace talvero::dispatch
