#pragma once

#include <yoga/Yoga.h>

#include <cstddef>
#include <cstdint>

#include "style_core/internal/gradients.h"
#include "style_core/internal/node_tree.h"

namespace talvero {

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
