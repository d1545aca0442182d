#include "engine/bindings/console_bindings.h"

#include "runtime/log.h"

namespace talvero {

namespace {

void printLine(const ScriptValue& value) {
  logLine(value.toStringIfAny().value_or(""));
}

}  // namespace

ConsoleHandler::ConsoleHandler() : ScriptHandler("console") {
  exports_.add("log", &printLine).add("info", &printLine).add("error", &printLine);
}

}  // namespace talvero
