#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace talvero::dispatch {

// A per-frame callback at 60 Hz on a thread of its own. The callback must only queue work
// on the main queue; it touches nothing else.
class DisplayLink {
 public:
  explicit DisplayLink(std::function<void()> onFrame);
  ~DisplayLink();  // stops and joins
  DisplayLink(const DisplayLink&) = delete;
  DisplayLink& operator=(const DisplayLink&) = delete;

  // False when the thread could not be started.
  bool start();
  void stop();
  bool running() const { return thread_.joinable(); }

  static constexpr double kFramesPerSecond = 60.0;

 private:
  void run();

  std::function<void()> onFrame_;
  std::mutex lock_;
  std::condition_variable wake_;
  bool stopping_ = false;
  std::thread thread_;
};

}  // namespace talvero::dispatch
