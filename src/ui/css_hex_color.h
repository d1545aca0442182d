#pragma once

#include <optional>
#include <string_view>

#include "platform/script/script_value.h"
#include "platform/toolkit/geometry.h"

namespace talvero {

// "#rgb", "#rrggbb" (opaque) or "#rrggbbaa"; nothing for any other text, colour names included.
std::optional<toolkit::Color> cssHexColor(std::string_view text);
// The same for a script value; nothing unless it is a string.
std::optional<toolkit::Color> cssColor(const ScriptValue& value);

}  // namespace talvero
