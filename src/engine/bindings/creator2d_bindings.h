#pragma once

#include "engine/bindings/script_handler.h"

namespace talvero {

// `_creator2d`, the script's door to 2D scenes. The object exists in every context from the
// engine's construction and gains its rows, in table order, when its subsystem lands.
class Creator2DHandler : public ScriptHandler {
 public:
  Creator2DHandler() : ScriptHandler("_creator2d") {}
};

}  // namespace talvero
