#pragma once

#include "engine/bindings/script_handler.h"

namespace talvero {

// `_creator`, the script's door to 3D scenes. The object exists in every context from the
// engine's construction and gains its rows, in table order, when its subsystem lands.
class CreatorGLHandler : public ScriptHandler {
 public:
  CreatorGLHandler() : ScriptHandler("_creator") {}
};

}  // namespace talvero
