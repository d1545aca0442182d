#pragma once

#include <yoga/Yoga.h>

#include <string>

#include "style_core/node_tree.h"

namespace talvero {

// Layer numbers. Class layers run from 272 to 59999, given out at first use of a name.
inline constexpr LayerId kPortraitLayer = 257;
inline constexpr LayerId kLandscapeLayer = 258;
inline constexpr LayerId kFirstClassLayer = 272;
inline constexpr LayerId kClassLayerLimit = 60000;
inline constexpr LayerId kPressedLayer = 60270;
inline constexpr LayerId kFocusedLayer = 60271;
inline constexpr LayerId kAnimationStageLayer = 61044;

// Stores the value under the property and layer; true when that entry is now in force.
bool insertStyle(NodeContext* context, PropertyId id, LayerId layer, float value);
bool insertStyle(NodeContext* context, PropertyId id, LayerId layer, const char* value);
// The property has an entry in a layer that is live for this node.
bool hasActiveStyle(const NodeContext* context, PropertyId id);
// The entry in force, or null.
const StyleValue* activeStyle(const NodeContext* context, PropertyId id);

LayerId getLayer(YGNodeRef node, const char* name);
void enableNodeLayer(YGNodeRef node, LayerId layer);
void disableNodeLayer(YGNodeRef node, LayerId layer);
void resetNodeLayer(YGNodeRef node, LayerId layer);
void mergeNodeLayer(YGNodeRef node, LayerId from, LayerId to);
void setConditionValue(float width, float height);
void setSafePaddings(YGNodeRef node, float top, float right, float bottom, float left);

void applyLayerToNode(YGNodeRef node, LayerId layer);
void applyLayerToNodeOnResize(YGNodeRef node, LayerId oldLayer, LayerId newLayer);
void applyDynamicValues(YGNodeRef node);
void recalcPaddings(YGNodeRef node);

// Forgets every class name (for tests): the next class takes layer 272 again.
void resetClassLayers();

}  // namespace talvero
