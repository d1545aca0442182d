#pragma once

#include <string>
#include <vector>

#include "platform/dispatch/main_queue.h"
#include "platform/script/script_context.h"

namespace talvero::testing {

// Evaluates `source` in `context`, failing the test on any exception it throws.
inline void evaluateOrFail(const ScriptContext& context, const std::string& source,
                           std::vector<std::string>* errors) {
  context.setExceptionHandler([errors](const ScriptContext&, const ScriptValue& exception) {
    errors->push_back(exception.toString());
  });
  context.evaluate(source);
}

// The value of a global of `context`, as plain data.
inline NativeValue global(const ScriptContext& context, const std::string& name) {
  return context.globalObject().get(name).toNative();
}

// JSON text of an expression, for compact comparisons.
inline std::string json(const ScriptContext& context, const std::string& expression) {
  context.evaluate("var __json = JSON.stringify(" + expression + ");");
  return context.globalObject().get("__json").toString();
}

}  // namespace talvero::testing
