#include "ui/node_transition.h"

#include "platform/toolkit/animation.h"
#include "ui/capabilities.h"

namespace talvero {

void runNodeTransition(NodeProtocol& node, const std::function<void()>& change) {
  auto* transition = dynamic_cast<NodeTransition*>(&node);
  if (transition && transition->duration > 0) {
    toolkit::runGroup(transition->duration, toolkit::TimingFunction::EaseInEaseOut, change);
  } else {
    change();
  }
}

}  // namespace talvero
