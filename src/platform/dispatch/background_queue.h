#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace talvero::dispatch {

// Worker threads for work that must stay off the main thread (decoding, file writes).
// Blocks never touch script values; they hand results back with `post`. A queue of one
// thread runs its blocks in order.
class BackgroundQueue {
 public:
  explicit BackgroundQueue(size_t threads);
  // Finishes the blocks already queued, then stops.
  ~BackgroundQueue();
  BackgroundQueue(const BackgroundQueue&) = delete;
  BackgroundQueue& operator=(const BackgroundQueue&) = delete;

  void post(std::function<void()> block);

  // The shared concurrent queue, for work with no order of its own.
  static BackgroundQueue& global();

 private:
  void work();

  std::mutex lock_;
  std::condition_variable wake_;
  std::deque<std::function<void()>> blocks_;
  bool stopping_ = false;
  std::vector<std::thread> threads_;
};

}  // namespace talvero::dispatch
