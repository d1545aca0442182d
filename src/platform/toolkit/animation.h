#pragma once

#include <functional>
#include <optional>
#include <string>
#include <variant>

#include "platform/toolkit/geometry.h"

namespace talvero::toolkit {

class Layer;

// ---- Timing ------------------------------------------------------------------------------

// The curves of the platform's animations: cubic Béziers from (0,0) to (1,1).
enum class TimingFunction { Linear, EaseIn, EaseOut, EaseInEaseOut, Default };

// The eased progress of a curve at a linear progress `t` in [0, 1].
double timingCurve(TimingFunction timing, double t);

// What an animation shows outside its active time: Backwards holds the start value during
// its delay, Forwards the end value after it ends (kept only when not removed on completion).
enum class FillMode { Removed, Forwards, Backwards, Both };

// ---- Basic animations ----------------------------------------------------------------------

// A value of an animated property: a number for "opacity", "borderWidth", "cornerRadius" and
// the transform components ("transform.translation.x", ".translation.y", ".scale",
// ".scale.x", ".scale.y", ".rotation.z" in radians); a Transform3D for "transform"; a Color for
// "backgroundColor" and "borderColor"; a Point for "position"; a Rect for "bounds".
using AnimationValue = std::variant<double, Point, Rect, Color, Transform3D>;

// One property of a layer running from one value to another. A missing `from` starts at the
// value on screen when the animation is added; a missing `to` ends at the model value, read
// on every frame.
struct BasicAnimation {
  std::string keyPath;
  std::optional<AnimationValue> from;
  std::optional<AnimationValue> to;
  double duration = 0.25;  // seconds
  double delay = 0;        // seconds from the moment it is added
  TimingFunction timing = TimingFunction::Default;
  FillMode fillMode = FillMode::Removed;
  bool removedOnCompletion = true;
  // Called once, on a later turn of the main loop: `finished` is false when the animation was
  // removed or replaced before its end, or could not run.
  std::function<void(bool finished)> completion;
};

// ---- Transactions --------------------------------------------------------------------------

// Groups layer changes. With actions disabled, changes made inside do not animate even in an
// animation group. Transactions nest; an inner one starts with the setting of the one around
// it. Outside any transaction, setDisableActions does nothing.
class Transaction {
 public:
  static void begin();
  static void commit();  // no-op without a matching begin
  static void setDisableActions(bool disable);
  static bool disableActions();
};

// A transaction for the lifetime of the scope.
class ScopedTransaction {
 public:
  explicit ScopedTransaction(bool disableActions = true);
  ~ScopedTransaction();
  ScopedTransaction(const ScopedTransaction&) = delete;
  ScopedTransaction& operator=(const ScopedTransaction&) = delete;
};

// ---- Animation groups ----------------------------------------------------------------------

// Runs `changes` now; the animatable layer properties it changes (opacity, transform,
// position, bounds and frame, background and border colour, border width, corner radius) move
// from the value on screen to the new value over `duration` seconds along `timing`. Each
// change is an animation under the property's name as key, so it replaces an earlier one of
// the same property. `completion` runs once, on a later turn of the main loop, when every one
// of them has ended, or after `duration` when nothing animated. Groups nest.
void runGroup(double duration, TimingFunction timing, const std::function<void()>& changes,
              std::function<void()> completion = {});

// The duration of the innermost group whose changes run now, or 0 outside any group, with or
// without actions disabled: for code that animates a property by hand over the group's time.
double runningGroupDuration();

// ---- The clock -----------------------------------------------------------------------------

// The time animations run on, in seconds. The monotonic clock unless replaced; a null clock
// restores it. Tests replace it and call `advanceAnimations` themselves.
void setAnimationClock(std::function<double()> clock);
double animationTime();

// Brings every running animation to the current time: ends those past their end and runs the
// due completions. The toolkit calls it on each frame of a window and from a timer for layers
// that are not on screen.
void advanceAnimations();

// ---- For the toolkit's own files -----------------------------------------------------------

// The group whose changes are open now, or null; null too while actions are disabled.
struct AnimationGroupContext;
AnimationGroupContext* implicitAnimationContext();
// Adds the implicit animation of a layer property changed inside the open group.
void addImplicitAnimation(Layer& layer, AnimationGroupContext& context, const char* keyPath,
                          AnimationValue from);
// A layer with running animations to be brought to time; the view's widget, when the layer
// has one and it is on screen, drives it from its frame clock.
void scheduleAnimations(Layer& layer);
void unscheduleAnimations(Layer& layer);
// Completions to run on the next turn, even when their layer is gone by then.
void queueAnimationCompletion(std::function<void(bool)> completion, bool finished);

}  // namespace talvero::toolkit
