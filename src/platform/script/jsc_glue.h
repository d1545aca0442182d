#pragma once

// Shared between the files of this folder only: JavaScriptCore's types and the conversions
// between them and ours. Nothing outside src/platform/script includes this.

#include <JavaScriptCore/JavaScript.h>

#include <memory>
#include <string>
#include <string_view>

#include "platform/script/script_context.h"

namespace talvero {

struct ContextState {
  explicit ContextState(JSGlobalContextRef context);
  ~ContextState();
  ContextState(const ContextState&) = delete;
  ContextState& operator=(const ContextState&) = delete;

  JSGlobalContextRef context;
  ScriptContext::ExceptionHandler exceptionHandler;
};

namespace glue {

// The state of the context that `ctx` belongs to; made on first sight.
std::shared_ptr<ContextState> stateFor(JSContextRef ctx);
void forget(JSGlobalContextRef context);
// The context of the script that called the native operation now running, or null.
JSContextRef currentCallingContext();
ScriptValue wrap(JSContextRef ctx, JSValueRef value);
ScriptValue wrap(const std::shared_ptr<ContextState>& state, JSValueRef value);

// Hands a thrown value to the handler of the context it was thrown in.
void report(const std::shared_ptr<ContextState>& state, JSValueRef exception);

std::string toUtf8(JSStringRef text);
JSStringRef makeString(std::string_view utf8);  // caller releases
JSValueRef makeStringValue(JSContextRef ctx, std::string_view utf8);
std::string valueToString(JSContextRef ctx, JSValueRef value, bool* threw = nullptr);

JSValueRef toEngine(JSContextRef ctx, const NativeValue& value);
NativeValue fromEngine(JSContextRef ctx, JSValueRef value);

// An engine class whose objects are functions with a private pointer, nothing else.
JSClassRef makeFunctionClass(const char* name, JSObjectCallAsFunctionCallback call,
                             JSObjectFinalizeCallback finalize);

// Sets the calling context for the duration of a native operation.
class CallingScope {
 public:
  explicit CallingScope(JSContextRef ctx);
  ~CallingScope();
  CallingScope(const CallingScope&) = delete;
  CallingScope& operator=(const CallingScope&) = delete;

 private:
  JSContextRef previous_;
};

}  // namespace glue
}  // namespace talvero
