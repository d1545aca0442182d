#include "platform/toolkit/animation.h"

#include <gtk/gtk.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>
#include <vector>

#include "platform/toolkit/layer.h"

namespace talvero::toolkit {

// ---- Timing ------------------------------------------------------------------------------

namespace {

struct CubicBezier {
  double x1, y1, x2, y2;

  static double sample(double p1, double p2, double s) {
    const double c = 3 * p1, b = 3 * (p2 - p1) - c, a = 1 - c - b;
    return ((a * s + b) * s + c) * s;
  }
  static double slope(double p1, double p2, double s) {
    const double c = 3 * p1, b = 3 * (p2 - p1) - c, a = 1 - c - b;
    return (3 * a * s + 2 * b) * s + c;
  }

  // The curve's y where its x is `x`: Newton's method, then bisection where it stalls.
  double at(double x) const {
    double s = x;
    for (int i = 0; i < 8; ++i) {
      const double error = sample(x1, x2, s) - x;
      if (std::abs(error) < 1e-9) return sample(y1, y2, s);
      const double d = slope(x1, x2, s);
      if (std::abs(d) < 1e-9) break;
      s -= error / d;
    }
    double low = 0, high = 1;
    s = x;
    for (int i = 0; i < 60; ++i) {
      const double value = sample(x1, x2, s);
      if (std::abs(value - x) < 1e-9) break;
      (value < x ? low : high) = s;
      s = (low + high) / 2;
    }
    return sample(y1, y2, s);
  }
};

}  // namespace

double timingCurve(TimingFunction timing, double t) {
  t = std::clamp(t, 0.0, 1.0);
  switch (timing) {
    case TimingFunction::Linear:
      return t;
    case TimingFunction::EaseIn:
      return CubicBezier{0.42, 0, 1, 1}.at(t);
    case TimingFunction::EaseOut:
      return CubicBezier{0, 0, 0.58, 1}.at(t);
    case TimingFunction::EaseInEaseOut:
      return CubicBezier{0.42, 0, 0.58, 1}.at(t);
    case TimingFunction::Default:
      return CubicBezier{0.25, 0.1, 0.25, 1}.at(t);
  }
  return t;
}

// ---- Groups and the clock ------------------------------------------------------------------

namespace {

struct GroupState {
  std::function<void()> completion;
  int pending = 0;  // animations of the group not yet ended
  bool open = true;

  void animationEnded() {
    if (--pending == 0 && !open && completion) std::exchange(completion, nullptr)();
  }
};

struct TimedGroup {
  double end;
  std::shared_ptr<GroupState> state;
};

}  // namespace

struct AnimationGroupContext {
  double duration;
  TimingFunction timing;
  std::shared_ptr<GroupState> state;
};

// Brings animations to time. Layers whose view's widget is on screen are driven by its frame
// clock, so that each frame shows the values of its own time; the others, and groups with
// nothing to animate, by a timer, so that completions come even without a window.
struct AnimationClock {
  std::function<double()> clock;
  std::vector<Layer*> layers;  // every layer with running animations
  std::vector<TimedGroup> timedGroups;
  std::vector<std::pair<std::function<void(bool)>, bool>> due;
  std::vector<bool> transactions;  // disable-actions flag of each open transaction
  std::vector<AnimationGroupContext*> groups;
  guint timer = 0;
  guint idle = 0;

  // Never destroyed: layers held in static storage may outlive any exit-time destructor.
  static AnimationClock& get() {
    static auto* instance = new AnimationClock;
    return *instance;
  }

  double now() const {
    return clock ? clock() : static_cast<double>(g_get_monotonic_time()) / G_USEC_PER_SEC;
  }

  static bool onScreen(const Layer& layer) {
    auto* host = static_cast<GtkWidget*>(layer.animationHost_);
    return host && gtk_widget_get_mapped(host);
  }

  void schedule(Layer& layer) {
    if (!layer.scheduled_) {
      layer.scheduled_ = true;
      layers.push_back(&layer);
    }
    if (onScreen(layer)) {
      if (!layer.frameCallback_) {
        layer.frameCallback_ = gtk_widget_add_tick_callback(
            static_cast<GtkWidget*>(layer.animationHost_), onFrame, &layer,
            [](gpointer data) { static_cast<Layer*>(data)->frameCallback_ = 0; });
      }
    } else {
      stopFrameCallback(layer);
      startTimer();
    }
  }

  void unschedule(Layer& layer) {
    stopFrameCallback(layer);
    if (!layer.scheduled_) return;
    layer.scheduled_ = false;
    layers.erase(std::remove(layers.begin(), layers.end(), &layer), layers.end());
  }

  static void stopFrameCallback(Layer& layer) {
    if (const guint id = std::exchange(layer.frameCallback_, 0))
      gtk_widget_remove_tick_callback(static_cast<GtkWidget*>(layer.animationHost_), id);
  }

  static gboolean onFrame(GtkWidget*, GdkFrameClock*, gpointer data) {
    auto& self = get();
    auto& layer = *static_cast<Layer*>(data);
    if (layer.advanceAnimations(self.now())) return G_SOURCE_CONTINUE;
    layer.frameCallback_ = 0;
    layer.scheduled_ = false;
    self.layers.erase(std::remove(self.layers.begin(), self.layers.end(), &layer),
                      self.layers.end());
    return G_SOURCE_REMOVE;
  }

  void startTimer() {
    if (timer) return;
    timer = g_timeout_add(
        16,
        [](gpointer) -> gboolean {
          auto& self = get();
          if (self.advance(false)) return G_SOURCE_CONTINUE;
          self.timer = 0;
          return G_SOURCE_REMOVE;
        },
        nullptr);
  }

  // Advances the layers (all, or those the timer drives) and the timed groups; true while
  // the timer still has work.
  bool advance(bool all) {
    const double time = now();
    bool timerWork = false;
    for (size_t i = 0; i < layers.size();) {
      Layer& layer = *layers[i];
      if (!all && layer.frameCallback_) {
        ++i;
        continue;
      }
      if (layer.advanceAnimations(time)) {
        // A view put on screen since its animation started moves to its frame clock.
        if (!layer.frameCallback_ && onScreen(layer)) schedule(layer);
        timerWork = timerWork || !layer.frameCallback_;
        ++i;
        continue;
      }
      stopFrameCallback(layer);
      layer.scheduled_ = false;
      layers.erase(layers.begin() + static_cast<std::ptrdiff_t>(i));
    }
    for (size_t i = 0; i < timedGroups.size();) {
      if (time < timedGroups[i].end) {
        ++i;
        continue;
      }
      std::shared_ptr<GroupState> state = std::move(timedGroups[i].state);
      timedGroups.erase(timedGroups.begin() + static_cast<std::ptrdiff_t>(i));
      queue(
          [state](bool) {
            if (state->completion) std::exchange(state->completion, nullptr)();
          },
          true);
    }
    return timerWork || !timedGroups.empty();
  }

  void queue(std::function<void(bool)> completion, bool finished) {
    due.emplace_back(std::move(completion), finished);
    if (!idle) {
      idle = g_idle_add(
          [](gpointer) -> gboolean {
            get().idle = 0;
            get().runDue();
            return G_SOURCE_REMOVE;
          },
          nullptr);
    }
  }

  // Completions may add or remove animations and views: they run with no list in use.
  void runDue() {
    std::vector<std::pair<std::function<void(bool)>, bool>> running;
    running.swap(due);
    for (auto& [completion, finished] : running) completion(finished);
  }
};

void setAnimationClock(std::function<double()> clock) {
  AnimationClock::get().clock = std::move(clock);
}

double animationTime() {
  return AnimationClock::get().now();
}

void advanceAnimations() {
  auto& clock = AnimationClock::get();
  clock.advance(true);
  clock.runDue();
}

void scheduleAnimations(Layer& layer) {
  AnimationClock::get().schedule(layer);
}

void unscheduleAnimations(Layer& layer) {
  AnimationClock::get().unschedule(layer);
}

void queueAnimationCompletion(std::function<void(bool)> completion, bool finished) {
  AnimationClock::get().queue(std::move(completion), finished);
}

// ---- Transactions --------------------------------------------------------------------------

void Transaction::begin() {
  auto& open = AnimationClock::get().transactions;
  open.push_back(!open.empty() && open.back());
}

void Transaction::commit() {
  auto& open = AnimationClock::get().transactions;
  if (!open.empty()) open.pop_back();
}

void Transaction::setDisableActions(bool disable) {
  auto& open = AnimationClock::get().transactions;
  if (!open.empty()) open.back() = disable;
}

bool Transaction::disableActions() {
  const auto& open = AnimationClock::get().transactions;
  return !open.empty() && open.back();
}

ScopedTransaction::ScopedTransaction(bool disableActions) {
  Transaction::begin();
  Transaction::setDisableActions(disableActions);
}

ScopedTransaction::~ScopedTransaction() {
  Transaction::commit();
}

// ---- Animation groups ----------------------------------------------------------------------

void runGroup(double duration, TimingFunction timing, const std::function<void()>& changes,
              std::function<void()> completion) {
  auto& clock = AnimationClock::get();
  auto state = std::make_shared<GroupState>();
  state->completion = std::move(completion);
  AnimationGroupContext context{std::max(0.0, duration), timing, state};
  const size_t openTransactions = clock.transactions.size();
  clock.groups.push_back(&context);
  // The group's own transaction lets its changes animate whatever encloses it.
  clock.transactions.push_back(false);
  if (changes) changes();
  clock.transactions.resize(openTransactions);
  clock.groups.pop_back();
  state->open = false;
  if (state->pending == 0 && state->completion) {
    clock.timedGroups.push_back(TimedGroup{clock.now() + context.duration, state});
    clock.startTimer();
  }
}

double runningGroupDuration() {
  const auto& clock = AnimationClock::get();
  return clock.groups.empty() ? 0 : clock.groups.back()->duration;
}

AnimationGroupContext* implicitAnimationContext() {
  const auto& clock = AnimationClock::get();
  if (clock.groups.empty() || Transaction::disableActions()) return nullptr;
  AnimationGroupContext* context = clock.groups.back();
  return context->duration > 0 ? context : nullptr;
}

void addImplicitAnimation(Layer& layer, AnimationGroupContext& context, const char* keyPath,
                          AnimationValue from) {
  BasicAnimation animation;
  animation.keyPath = keyPath;
  animation.from = std::move(from);
  animation.duration = context.duration;
  animation.timing = context.timing;
  ++context.state->pending;
  animation.completion = [state = context.state](bool) { state->animationEnded(); };
  layer.addAnimation(std::move(animation), keyPath);
}

}  // namespace talvero::toolkit
