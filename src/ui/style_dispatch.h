#pragma once

#include <yoga/Yoga.h>

#include <string>

#include "platform/script/script_value.h"
#include "style_core/style_core.h"

namespace talvero {

// Feeds one script style value into the style core: a text or a number as it is, an object
// with `_id` as "id:<number>", any other object as a conditional block whose key names a
// layer, with blocks nesting (a `duration` there is a button's transition, in milliseconds).
// Other values are ignored.
void applyStyle(LayerId layer, YGNodeRef nodePtr, const std::string& key, const NativeValue& value);

// The handlers the style core calls back for the properties a view must see; each finds the
// node by screen id and changes its view, and does nothing when the screen, the node or the
// capability it needs is missing. Registering again changes nothing.
void registerStyleHandlers();

}  // namespace talvero
