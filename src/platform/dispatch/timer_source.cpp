#include "platform/dispatch/timer_source.h"

#include <glib.h>

#include <atomic>
#include <cmath>
#include <mutex>
#include <queue>
#include <vector>

namespace talvero::dispatch {

struct TimerState {
  std::function<void()> handler;
  int64_t intervalUs = 0;  // 0: one-shot
  std::atomic<bool> cancelled{false};
};

namespace {

struct Due {
  int64_t deadlineUs;
  uint64_t sequence;
  std::shared_ptr<TimerState> state;
  bool operator>(const Due& other) const {
    return deadlineUs != other.deadlineUs ? deadlineUs > other.deadlineUs
                                          : sequence > other.sequence;
  }
};

// All timers share one main-loop source over a heap of deadlines, so that timers due
// together keep their deadline order.
struct TimerHeap {
  std::mutex lock;
  std::priority_queue<Due, std::vector<Due>, std::greater<>> heap;
  uint64_t nextSequence = 0;
  GSource* source = nullptr;

  void add(int64_t deadlineUs, std::shared_ptr<TimerState> state) {
    {
      std::lock_guard guard(lock);
      heap.push(Due{deadlineUs, nextSequence++, std::move(state)});
    }
    g_main_context_wakeup(nullptr);
  }

  // The earliest live deadline, dropping cancelled timers from the top.
  std::optional<int64_t> earliest() {
    std::lock_guard guard(lock);
    while (!heap.empty() && heap.top().state->cancelled) heap.pop();
    if (heap.empty()) return std::nullopt;
    return heap.top().deadlineUs;
  }
};

TimerHeap& timerHeap();

int64_t toMicroseconds(double milliseconds) {
  if (std::isnan(milliseconds) || milliseconds <= 0) return 0;
  if (milliseconds > 1e15) return static_cast<int64_t>(1e18);
  return static_cast<int64_t>(std::ceil(milliseconds * 1000.0));
}

gboolean heapPrepare(GSource* source, gint* timeout) {
  const auto deadline = timerHeap().earliest();
  if (!deadline) {
    *timeout = -1;
    return FALSE;
  }
  const int64_t now = g_source_get_time(source);
  if (*deadline <= now) {
    *timeout = 0;
    return TRUE;
  }
  const int64_t waitUs = *deadline - now;
  *timeout = static_cast<gint>(std::min<int64_t>((waitUs + 999) / 1000, G_MAXINT));
  return FALSE;
}

gboolean heapCheck(GSource* source) {
  const auto deadline = timerHeap().earliest();
  return deadline && *deadline <= g_source_get_time(source);
}

gboolean heapDispatch(GSource*, GSourceFunc, gpointer) {
  TimerHeap& timers = timerHeap();
  const int64_t now = g_get_monotonic_time();
  std::vector<Due> due;
  {
    std::lock_guard guard(timers.lock);
    while (!timers.heap.empty() && timers.heap.top().deadlineUs <= now) {
      due.push_back(timers.heap.top());
      timers.heap.pop();
    }
  }
  for (Due& entry : due) {
    if (entry.state->cancelled) continue;
    if (entry.state->intervalUs > 0) {
      // Keep the cadence of the first deadline, but never queue up missed beats.
      int64_t next = entry.deadlineUs + entry.state->intervalUs;
      if (next <= now) next = now + entry.state->intervalUs;
      timers.add(next, entry.state);
    }
    auto handler = entry.state->handler;  // the handler may cancel and drop its own timer
    if (entry.state->intervalUs == 0) entry.state->cancelled = true;
    handler();
  }
  return G_SOURCE_CONTINUE;
}

GSourceFuncs heapFuncs = {heapPrepare, heapCheck, heapDispatch, nullptr, nullptr, nullptr};

TimerHeap& timerHeap() {
  static auto* timers = [] {
    auto* heap = new TimerHeap();
    heap->source = g_source_new(&heapFuncs, sizeof(GSource));
    g_source_set_priority(heap->source, G_PRIORITY_DEFAULT);
    g_source_set_name(heap->source, "talvero timers");
    g_source_attach(heap->source, nullptr);
    return heap;
  }();
  return *timers;
}

std::shared_ptr<TimerState> schedule(double delayMs, std::optional<double> repeatMs,
                                     std::function<void()> handler) {
  auto state = std::make_shared<TimerState>();
  state->handler = std::move(handler);
  if (repeatMs) state->intervalUs = std::max<int64_t>(toMicroseconds(*repeatMs), 1000);
  timerHeap().add(g_get_monotonic_time() + toMicroseconds(delayMs), state);
  return state;
}

}  // namespace

TimerSource::TimerSource(double delayMs, std::optional<double> repeatMs,
                         std::function<void()> handler)
    : state_(schedule(delayMs, repeatMs, std::move(handler))) {}

TimerSource& TimerSource::operator=(TimerSource&& other) noexcept {
  if (this != &other) {
    cancel();
    state_ = std::move(other.state_);
  }
  return *this;
}

TimerSource::~TimerSource() {
  cancel();
}

void TimerSource::cancel() {
  if (state_) state_->cancelled = true;
  state_.reset();
}

bool TimerSource::active() const {
  return state_ && !state_->cancelled;
}

void postAfter(double seconds, std::function<void()> block) {
  schedule(seconds * 1000.0, std::nullopt, std::move(block));
}

double mediaTime() {
  return static_cast<double>(g_get_monotonic_time()) / 1e6;
}

}  // namespace talvero::dispatch
