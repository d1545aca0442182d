#pragma once

#include "platform/script/script_context.h"

namespace talvero {

// The exception handler of every context outside a project's top level: an uncaught script
// exception is reported on the standard output and ends the process.
[[noreturn]] void defaultExeptionHandler(const ScriptContext& context,
                                         const ScriptValue& exception);

}  // namespace talvero
