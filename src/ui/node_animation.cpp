#include "ui/node_animation.h"

#include <utility>

#include "platform/dispatch/main_queue.h"
#include "platform/dispatch/timer_source.h"
#include "platform/toolkit/animation.h"
#include "style_core/style_core.h"
#include "ui/capabilities.h"
#include "ui/style_dispatch.h"
#include "ui/ui_store.h"

namespace talvero {

namespace NodeAnimation {

namespace {

bool groupInFlight = false;
double groupDuration = 0;

}  // namespace

bool inFlight() {
  return groupInFlight;
}

double duration() {
  return groupDuration;
}

void run(double duration, double delay, std::function<void()> animations,
         std::function<void()> completion) {
  auto group = [duration, animations = std::move(animations),
                completion = std::move(completion)]() mutable {
    toolkit::runGroup(
        duration, toolkit::TimingFunction::EaseInEaseOut,
        [&] {
          groupDuration = duration;
          groupInFlight = true;
          if (animations) animations();
          groupInFlight = false;
        },
        std::move(completion));
  };
  if (delay > 0) {
    dispatch::postAfter(delay, std::move(group));
  } else {
    dispatch::post(std::move(group));
  }
}

}  // namespace NodeAnimation

namespace {

constexpr double kDefaultDurationMs = 225;

// The node of `id` while it is still on its screen: work that runs later must leave a removed
// node alone.
NodeProtocol* liveNode(uint64_t id) {
  NodeProtocol* node = CreatorUIStore::getNode(id);
  return node && node->show ? node : nullptr;
}

}  // namespace

AnimationTiming stageAnimationStyle(const NativeValue::Dict& options, LayerId layer,
                                    YGNodeRef nodePtr) {
  AnimationTiming timing;
  for (const auto& [key, value] : options) {
    if (key == "layer" || key == "commit") continue;
    if (key == "duration") {
      timing.duration = (value.isNumber() ? value.asNumber() : kDefaultDurationMs) / 1000;
    } else if (key == "delay") {
      timing.delay = value.isNumber() ? value.asNumber() / 1000 : 0;
    } else {
      applyStyle(layer, nodePtr, key, value);
    }
  }
  return timing;
}

void animateTo(uint64_t id, const NativeValue::Dict& options) {
  NodeProtocol* node = CreatorUIStore::getNode(id);
  if (!node) return;
  // The stage is not live yet, so nothing changes on screen until the group switches it on.
  const AnimationTiming timing =
      stageAnimationStyle(options, kAnimationStageLayer, node->nodePtr());
  NodeAnimation::run(
      timing.duration, timing.delay,
      [id] {
        if (NodeProtocol* live = liveNode(id))
          enableNodeLayer(live->nodePtr(), kAnimationStageLayer);
      },
      [id] {
        if (NodeProtocol* live = liveNode(id))
          mergeNodeLayer(live->nodePtr(), kAnimationStageLayer, kDefaultLayer);
      });
}

void animateFrom(uint64_t id, const NativeValue::Dict& options) {
  NodeProtocol* node = CreatorUIStore::getNode(id);
  if (!node) return;
  // With the emptied stage live, each staged value takes effect now: the node jumps to the
  // start, and stands there for the whole delay.
  resetNodeLayer(node->nodePtr(), kAnimationStageLayer);
  enableNodeLayer(node->nodePtr(), kAnimationStageLayer);
  const AnimationTiming timing =
      stageAnimationStyle(options, kAnimationStageLayer, node->nodePtr());
  NodeAnimation::run(timing.duration, timing.delay, [id] {
    if (NodeProtocol* live = liveNode(id)) disableNodeLayer(live->nodePtr(), kAnimationStageLayer);
  });
}

void runNodeTransition(NodeProtocol& node, std::function<void()> change) {
  auto* transition = dynamic_cast<NodeTransition*>(&node);
  if (transition && transition->duration > 0) {
    NodeAnimation::run(transition->duration, 0, std::move(change));
  } else {
    change();
  }
}

}  // namespace talvero
