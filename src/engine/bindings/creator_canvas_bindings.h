#pragma once

#include "engine/bindings/script_handler.h"

namespace talvero {

// `_creatorCanvas`, the script's door to canvases and SVG. The object exists in every context from
// the engine's construction and gains its rows, in table order, when its subsystem lands.
class CreatorCanvasHandler : public ScriptHandler {
 public:
  CreatorCanvasHandler() : ScriptHandler("_creatorCanvas") {}
};

}  // namespace talvero
