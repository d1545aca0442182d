#pragma once

#include <yoga/Yoga.h>

#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <variant>
#include <vector>

#include "style_core/hash.h"

namespace talvero {

// A style layer: a higher number beats a lower one. The default layer is 256.
using LayerId = uint16_t;
inline constexpr LayerId kDefaultLayer = 256;

// A stored style value: a number (index 0) or an owned text (index 1).
using StyleValue = std::variant<float, std::string>;

// The record on each node: its screen, its whole style memory by property and layer, the
// properties whose applied value came from the viewport, insets or font size, the layers
// switched on (in order), and the base of its `em` unit.
struct NodeContext {
  int32_t screenId = 0;
  std::unordered_map<PropertyId, std::map<LayerId, StyleValue>> styles;
  std::vector<PropertyId> dynamicProps;
  std::vector<LayerId> activeLayers;
  float fontSize = 14.0f;  // not inherited
};

// The measure hook of the view side: returns the measured size packed as the bits of the
// float width (high 32 bits) and of the float height (low 32 bits).
using MeasureHook = uint64_t (*)(int32_t screenId, YGNodeRef node, float width, uint8_t widthMode,
                                 float height, uint8_t heightMode);

uint64_t packMeasuredSize(float width, float height);

struct NodeLayout {
  float left = 0;
  float top = 0;
  float width = 0;
  float height = 0;
};

YGNodeRef createNodeRoot(int32_t screenId);
YGNodeRef createNode(YGNodeRef parent, uint32_t index, uint32_t hasMeasure);
// Frees the contexts of the whole subtree, then the nodes; does not detach from a parent.
void freeNode(YGNodeRef node);
void removeNode(YGNodeRef parent, YGNodeRef child);
void setMeasureFunc(MeasureHook hook);

// The layout pass of a screen: sets the viewport values and the condition, re-applies on a
// flip of orientation when the same root was laid out last, then runs Yoga left to right.
void calculate(YGNodeRef root, float width, float height);
// The layout pass of a widget: absolute, centred in a clipped wrapper of the given size.
void calculateWidget(YGNodeRef root, float width, float height);
void freeWidget(YGNodeRef root);

// True once after a pass that changed the node; the second call gives false.
bool hasNewLayout(YGNodeRef node);
NodeLayout getLayout(YGNodeRef node);
float getContentHeight(YGNodeRef node);
void markNodeDirty(YGNodeRef node);
int32_t getScreenId(YGNodeRef node);

NodeContext* nodeContext(YGNodeRef node);
// The root last laid out by `calculate`, or null; never a root freed since.
YGNodeRef cachedRoot();

}  // namespace talvero
