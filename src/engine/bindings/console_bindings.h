#pragma once

#include "engine/bindings/script_handler.h"

namespace talvero {

// The global `console`: `log`, `info` and `error` alike write their first argument's text
// as one line on the standard output; later arguments are not looked at. Each context gets
// an object of its own.
class ConsoleHandler : public ScriptHandler {
 public:
  ConsoleHandler();
};

}  // namespace talvero
