#include "platform/dispatch/background_queue.h"

#include <algorithm>

namespace talvero::dispatch {

BackgroundQueue::BackgroundQueue(size_t threads) {
  for (size_t i = 0; i < std::max<size_t>(threads, 1); ++i)
    threads_.emplace_back([this] { work(); });
}

BackgroundQueue::~BackgroundQueue() {
  {
    std::lock_guard guard(lock_);
    stopping_ = true;
  }
  wake_.notify_all();
  for (auto& thread : threads_) thread.join();
}

void BackgroundQueue::post(std::function<void()> block) {
  {
    std::lock_guard guard(lock_);
    blocks_.push_back(std::move(block));
  }
  wake_.notify_one();
}

void BackgroundQueue::work() {
  for (;;) {
    std::function<void()> block;
    {
      std::unique_lock guard(lock_);
      wake_.wait(guard, [this] { return stopping_ || !blocks_.empty(); });
      if (blocks_.empty()) return;
      block = std::move(blocks_.front());
      blocks_.pop_front();
    }
    block();
  }
}

BackgroundQueue& BackgroundQueue::global() {
  // Never destroyed: its threads may still run while the process exits.
  static auto* queue = new BackgroundQueue(std::max(2u, std::thread::hardware_concurrency()));
  return *queue;
}

}  // namespace talvero::dispatch
