#pragma once

#include <yoga/Yoga.h>

#include <cstdint>
#include <functional>

#include "platform/script/script_value.h"
#include "style_core/style_core.h"
#include "ui/node.h"

namespace talvero {

// The one animation primitive of node views. An animation is no timeline of its own: it is a
// style change made inside a toolkit animation group, so that the view properties that the
// style handlers set run over the group's duration.
namespace NodeAnimation {

// True only while the changes of a group run; `duration` is that group's, in seconds. The
// transform of a view reads them, so a transform set outside a group does not animate.
bool inFlight();
double duration();

// Runs `animations` inside a group of `duration` seconds, ease-in-ease-out: `delay` seconds
// from now, or on the next turn of the main queue without one, never inside the caller's own
// call. `completion` runs once, on the main queue, when the toolkit has ended the group.
void run(double duration, double delay, std::function<void()> animations,
         std::function<void()> completion = {});

}  // namespace NodeAnimation

// The timing that script options asked for, in seconds.
struct AnimationTiming {
  double duration = 0.225;
  double delay = 0;
};

// Applies each style pair of `options` to `layer` of the node, in no particular order, and
// reads the timing: `duration` and `delay` are milliseconds, and a value of either that is not
// a number gives its default. `layer` and `commit` are never taken for style properties.
AnimationTiming stageAnimationStyle(const NativeValue::Dict& options, LayerId layer,
                                    YGNodeRef nodePtr);

// Moves a node to the style values of `options`: they wait on the animation stage, which goes
// live inside a group and at the end moves down to the default layer, leaving the stage empty.
// A second call while one runs adds to the same stage; the first end merges all of it.
void animateTo(uint64_t id, const NativeValue::Dict& options);

// Moves a node from the style values of `options` back to those under them: the emptied stage
// takes them at once and goes off inside a group. The values stay on the stage, switched off,
// and come into force again with those of a later `animateTo` of the node.
void animateFrom(uint64_t id, const NativeValue::Dict& options);

// A change of a node's layers: over the node's transition when it has one of more than zero
// seconds, on a later turn (the change must look its node up again), else at once.
void runNodeTransition(NodeProtocol& node, std::function<void()> change);

}  // namespace talvero
