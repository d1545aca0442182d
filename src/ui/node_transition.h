#pragma once

#include <functional>

#include "ui/node.h"

namespace talvero {

// Runs a change of a node's layers: over the node's transition when it has one of more than
// zero seconds (the views' property changes inside animate, ease-in-ease-out), else at once.
void runNodeTransition(NodeProtocol& node, const std::function<void()>& change);

}  // namespace talvero
