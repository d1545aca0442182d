#include "runtime/exception_handler.h"

#include <cstdio>
#include <string>

#include "runtime/log.h"

namespace talvero {

namespace {

// Where the exception came from, for the developer reading the standard error.
void printOrigin(const ScriptContext& context, const ScriptValue& exception) {
  if (!exception.isObject()) return;
  // Reading properties may throw again; nothing may come back here while we report.
  context.setExceptionHandler(nullptr);
  const ScriptValue url = exception.get("sourceURL");
  const ScriptValue line = exception.get("line");
  const ScriptValue stack = exception.get("stack");
  if (line.isNumber()) {
    std::fprintf(stderr, "  at %s:%d\n", url.isString() ? url.toString().c_str() : "<script>",
                 line.toInt32());
  }
  if (stack.isString() && !stack.toString().empty()) {
    std::fprintf(stderr, "%s\n", stack.toString().c_str());
  }
}

}  // namespace

void defaultExeptionHandler(const ScriptContext& context, const ScriptValue& exception) {
  if (exception.empty()) fatalStop("Unknown JavaScript error");
  const std::string text = exception.toStringIfAny().value_or("Unknown error");
  logLine("JavaScript error: " + text);
  std::fflush(stdout);
  printOrigin(context, exception);
  fatalStop("JavaScript error: " + text);
}

}  // namespace talvero
