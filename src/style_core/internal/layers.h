#pragma once

#include <yoga/Yoga.h>

#include "style_core/internal/node_tree.h"

namespace talvero {

// Stores the value under the property and layer; true when that entry is now in force.
bool insertStyle(NodeContext* context, PropertyId id, LayerId layer, float value);
bool insertStyle(NodeContext* context, PropertyId id, LayerId layer, const char* value);
// The property has an entry in a layer that is live for this node.
bool hasActiveStyle(const NodeContext* context, PropertyId id);
// The entry in force, or null.
const StyleValue* activeStyle(const NodeContext* context, PropertyId id);

void applyLayerToNode(YGNodeRef node, LayerId layer);
void applyLayerToNodeOnResize(YGNodeRef node, LayerId oldLayer, LayerId newLayer);
void applyDynamicValues(YGNodeRef node);
void recalcPaddings(YGNodeRef node);

}  // namespace talvero
