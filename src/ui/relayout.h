#pragma once

namespace talvero {

class NodeProtocol;

// After a measured node's content changed: the layout core measures it again on the next
// pass, when it measured it before and the node is still shown, and its screen (or the current
// one, for a node no screen knows) gets a flush.
void relayoutMeasuredNode(NodeProtocol& node, bool hasMeasure);

}  // namespace talvero
