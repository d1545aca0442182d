#pragma once

// The style and layout core as the view side sees it: node trees over Yoga, styles by
// property name and layer, the hooks through which finished values reach the views, the
// virtual-list arithmetic and the parsed form of gradients. Plain functions over node
// handles; nothing here knows views or scripts. Everything else in this folder is the core's
// own business.

#include <yoga/Yoga.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <variant>
#include <vector>

#include "style_core/hash.h"

namespace talvero {

// ---- Node tree and layout pass

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

// ---- Gradients, as they cross to the view side

// The forms shared by the core and the view side.
struct CUIGradientStop {
  uint32_t rgba = 0;   // 0xRRGGBBAA
  float position = 0;  // 0 to 1
};

struct CUIGradient {
  float angle = 0;    // degrees in [0, 360); linear only
  uint32_t kind = 0;  // 0 linear, 1 radial
  uint32_t stopCount = 0;
  const CUIGradientStop* stops = nullptr;  // owned by the cache
  // From here on all 0 for a linear gradient, cx and cy included.
  uint32_t shape = 0;  // 0 ellipse, 1 circle
  uint32_t extent =
      0;  // 0 farthest-corner, 1 closest-side, 2 closest-corner, 3 farthest-side, 4 explicit
  float cx = 0;
  float cy = 0;
  float rx = 0;
  float ry = 0;
  uint32_t rUnitX = 0;  // 0 points, 1 fraction of the box
  uint32_t rUnitY = 0;
};

// The first gradient of the cached entry for this string (trimmed, keyed by its hash), or
// null when the entry failed; `count` receives the number of gradients. Parses once per
// distinct string; entries are never evicted. A null value reads as the empty string.
const CUIGradient* getOrParseGradients(const char* value, uint32_t* count);

// ---- Styles and the view side's handlers

// Handlers of the view side, registered by property name and called with finished values:
// a text, a float, a colour number 0xRRGGBBAA, a reset, a 3x3 matrix (nine floats, column
// order) or a parsed gradient. The core never parses for the view and never looks at views.
using StringHandler = void (*)(int32_t screenId, YGNodeRef node, const char* value);
using FloatHandler = void (*)(int32_t screenId, YGNodeRef node, float value);
using UIntHandler = void (*)(int32_t screenId, YGNodeRef node, uint32_t colour);
using ResetHandler = void (*)(int32_t screenId, YGNodeRef node);
using MatrixHandler = void (*)(int32_t screenId, YGNodeRef node, const float* matrix);
using GradientHandler = void (*)(int32_t screenId, YGNodeRef node, const CUIGradient* gradient);

// The name is hashed as it stands (short names are not mapped); a name that is taken keeps
// its first handler.
void addStringHandler(const char* name, StringHandler handler);
void addFloatHandler(const char* name, FloatHandler handler);
void addUIntHandler(const char* name, UIntHandler handler);
void addResetHandler(const char* name, ResetHandler handler);
void setMatrixHandler(MatrixHandler handler);
void setGradientHandler(GradientHandler handler);
// Empties every handler table and slot (for tests).
void clearStyleHandlers();

// Style a node by property name, in the default layer or in `layer`. Short names (`mt`,
// `bgColor`, …) are the same properties as their long forms.
void setString(YGNodeRef node, const char* name, const char* value);
void setFloat(YGNodeRef node, const char* name, float value);
void setStringExt(LayerId layer, YGNodeRef node, const char* name, const char* value);
void setFloatExt(LayerId layer, YGNodeRef node, const char* name, float value);

// The colour number of a text, 0 when it is no colour.
uint32_t getColor(const char* value);

// The id of a property name after mapping a short name to its long form.
PropertyId propertyIdOf(const char* name);

// ---- Layers, classes and conditions

// Layer numbers. Class layers run from 272 to 59999, given out at first use of a name.
inline constexpr LayerId kPortraitLayer = 257;
inline constexpr LayerId kLandscapeLayer = 258;
inline constexpr LayerId kFirstClassLayer = 272;
inline constexpr LayerId kClassLayerLimit = 60000;
inline constexpr LayerId kPressedLayer = 60270;
inline constexpr LayerId kFocusedLayer = 60271;
inline constexpr LayerId kAnimationStageLayer = 61044;

LayerId getLayer(YGNodeRef node, const char* name);
void enableNodeLayer(YGNodeRef node, LayerId layer);
void disableNodeLayer(YGNodeRef node, LayerId layer);
void resetNodeLayer(YGNodeRef node, LayerId layer);
void mergeNodeLayer(YGNodeRef node, LayerId from, LayerId to);
void setConditionValue(float width, float height);
void setSafePaddings(YGNodeRef node, float top, float right, float bottom, float left);

// Forgets every class name (for tests): the next class takes layer 272 again.
void resetClassLayers();

// ---- Virtual lists

// Hooks of the view side, set once.
using VListSyncHook = void (*)(int32_t screenId, YGNodeRef list, const char** removed,
                               int32_t removedCount, const char** added, int32_t addedCount);
using VListAdjustHook = void (*)(int32_t screenId, YGNodeRef list, float y);
using VListEdgeHook = void (*)(int32_t screenId, YGNodeRef list, bool isEnd);
void setVListHandlers(VListSyncHook sync, VListAdjustHook adjust, VListEdgeHook edge);

void vlistInit(YGNodeRef node, bool inverted, float overscan, float startThreshold,
               float endThreshold);
void vlistFree(YGNodeRef node);
void vlistSetKeys(YGNodeRef node, const char** keys, const float* estimates, int32_t count);
void vlistInsertKeys(YGNodeRef node, int32_t index, const char** keys, const float* estimates,
                     int32_t count);
void vlistRemoveKeys(YGNodeRef node, const char** keys, int32_t count);
void vlistInvalidate(YGNodeRef node, const char* key);
YGNodeRef vlistCreateItemRoot(YGNodeRef node, const char* key);
void vlistItemMounted(YGNodeRef node, const char* key);
void vlistItemUnmounted(YGNodeRef node, const char* key);
void vlistOnScroll(YGNodeRef node, float y);
void vlistUpdateLayout(YGNodeRef node);
// The top of the item, NaN when list or key is unknown; inverted lists shift it down.
float vlistOffsetOf(YGNodeRef node, const char* key);
// False when the node is no list; else the total height (inverted: at least the viewport).
bool vlistTryContentHeight(YGNodeRef node, float* out);

}  // namespace talvero
