#include "platform/dispatch/main_queue.h"

#include <glib.h>

#include <deque>
#include <mutex>
#include <thread>

namespace talvero::dispatch {

namespace {

const std::thread::id mainThreadId = std::this_thread::get_id();

struct QueueSource {
  GSource base;
  std::mutex* lock;
  std::deque<Block>* blocks;
};

gboolean queueReady(GSource* source) {
  auto* queue = reinterpret_cast<QueueSource*>(source);
  std::lock_guard guard(*queue->lock);
  return !queue->blocks->empty();
}

gboolean queuePrepare(GSource* source, gint* timeout) {
  *timeout = -1;
  return queueReady(source);
}

// Runs the blocks present when the dispatch began; blocks they post wait for the next turn,
// so that timers and input are not starved by a block that reposts itself.
gboolean queueDispatch(GSource* source, GSourceFunc, gpointer) {
  auto* queue = reinterpret_cast<QueueSource*>(source);
  size_t count;
  {
    std::lock_guard guard(*queue->lock);
    count = queue->blocks->size();
  }
  for (size_t i = 0; i < count; ++i) {
    Block block;
    {
      std::lock_guard guard(*queue->lock);
      if (queue->blocks->empty()) break;
      block = std::move(queue->blocks->front());
      queue->blocks->pop_front();
    }
    block();
  }
  return G_SOURCE_CONTINUE;
}

GSourceFuncs queueFuncs = {queuePrepare, queueReady, queueDispatch, nullptr, nullptr, nullptr};

struct MainQueue {
  MainQueue() {
    source = reinterpret_cast<QueueSource*>(g_source_new(&queueFuncs, sizeof(QueueSource)));
    source->lock = &lock;
    source->blocks = &blocks;
    g_source_set_priority(&source->base, G_PRIORITY_DEFAULT);
    g_source_set_name(&source->base, "talvero main queue");
    g_source_attach(&source->base, nullptr);
  }

  std::mutex lock;
  std::deque<Block> blocks;
  QueueSource* source;
};

// Lives for the whole process: blocks may be posted by threads that outlast main().
MainQueue& mainQueue() {
  static auto* queue = new MainQueue();
  return *queue;
}

GMainLoop*& runningLoop() {
  static GMainLoop* loop = nullptr;
  return loop;
}

gboolean setFlag(gpointer flag) {
  *static_cast<bool*>(flag) = true;
  return G_SOURCE_REMOVE;
}

}  // namespace

void post(Block block) {
  MainQueue& queue = mainQueue();
  {
    std::lock_guard guard(queue.lock);
    queue.blocks.push_back(std::move(block));
  }
  g_main_context_wakeup(nullptr);
}

size_t pendingCount() {
  MainQueue& queue = mainQueue();
  std::lock_guard guard(queue.lock);
  return queue.blocks.size();
}

bool isMainThread() {
  return std::this_thread::get_id() == mainThreadId;
}

void runMainLoop() {
  mainQueue();
  GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
  runningLoop() = loop;
  g_main_loop_run(loop);
  runningLoop() = nullptr;
  g_main_loop_unref(loop);
}

void quitMainLoop() {
  if (runningLoop()) g_main_loop_quit(runningLoop());
}

void pumpFor(double seconds) {
  pumpUntil([] { return false; }, seconds);
}

bool pumpUntil(const std::function<bool()>& done, double timeoutSeconds) {
  mainQueue();
  if (done()) return true;
  bool timedOut = false;
  const auto milliseconds = static_cast<guint>(timeoutSeconds > 0 ? timeoutSeconds * 1000.0 : 0);
  const guint wake = g_timeout_add(milliseconds, setFlag, &timedOut);
  while (!timedOut) {
    g_main_context_iteration(nullptr, TRUE);
    if (done()) {
      g_source_remove(wake);
      return true;
    }
  }
  return done();
}

}  // namespace talvero::dispatch
