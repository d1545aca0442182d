#pragma once

#include <yoga/Yoga.h>

#include <cstddef>
#include <cstdint>

#include "style_core/gradients.h"
#include "style_core/node_tree.h"

namespace talvero {

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

// Apply a value now, whatever layer it came from. `dynamic` is only ever set.
void setString_internal(YGNodeRef node, PropertyId id, const char* value, bool& dynamic);
void setFloat_internal(YGNodeRef node, PropertyId id, float value);
void setUInt_internal(YGNodeRef node, PropertyId id, uint32_t colour);
void resetProp_internal(YGNodeRef node, PropertyId id);
void invokeSetStringHandler(YGNodeRef node, PropertyId id, const char* value);
void invokeSetFloatHandler(YGNodeRef node, PropertyId id, float value);
void invokeResetHandler(YGNodeRef node, PropertyId id);

void parseFlex_internal(YGNodeRef node, const char* value);
// Prints a warning and changes nothing when the radius list is refused.
void applyBorderRadiusString(YGNodeRef node, const char* value, size_t length, bool& dynamic,
                             float em);

}  // namespace talvero
