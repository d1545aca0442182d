#pragma once

#include <yoga/Yoga.h>

#include "style_core/style_core.h"

namespace talvero {

// The root last laid out by `calculate`, or null; never a root freed since.
YGNodeRef cachedRoot();

}  // namespace talvero
