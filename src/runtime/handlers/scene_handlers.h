#pragma once

#include "runtime/handlers/script_handler.h"

namespace talvero {

// The script objects whose operations belong to subsystems still to come: each exists from
// the engine's construction, as an empty object in every context, and gains its rows when
// its subsystem lands.
class CreatorGLHandler : public ScriptHandler {};
class Creator2DHandler : public ScriptHandler {};
class CreatorCanvasHandler : public ScriptHandler {};

}  // namespace talvero
