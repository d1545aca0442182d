#pragma once

#include "platform/script/script_context.h"

namespace talvero {

// A subsystem as the engine sees it: what it puts into every new context, and what it ends
// when a context is retired. The engine keeps its modules in one list, in release order.
class EngineModule {
 public:
  virtual ~EngineModule() = default;

  // Sets this module's script globals in a context being configured.
  virtual void install(const ScriptContext& context) = 0;
  // Ends everything native that `context` left running here; what belongs to other contexts
  // stays.
  virtual void release(const ScriptContext& context) = 0;
};

}  // namespace talvero
