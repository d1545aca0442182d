#include "runtime/callback_registry.h"

#include <cstdlib>
#include <cstring>

#include "runtime/log.h"

namespace talvero {

namespace {

void freePath(void* privatePath) {
  std::free(privatePath);
}

}  // namespace

CallbackRegistry::CallbackRegistry() : callbackClass_(&nativeCallback, &freePath) {}

CallbackRegistry& CallbackRegistry::shared() {
  // Never destroyed: script functions of this class may be collected at exit.
  static auto* registry = new CallbackRegistry();
  return *registry;
}

void CallbackRegistry::set(const std::string& path, NativeFunction callback) {
  callbacks_[path] = std::move(callback);
}

const NativeFunction* CallbackRegistry::find(const std::string& path) const {
  auto found = callbacks_.find(path);
  return found == callbacks_.end() ? nullptr : &found->second;
}

ScriptValue CallbackRegistry::makeFunction(const ScriptContext& context,
                                           const std::string& path) const {
  return callbackClass_.make(context, strdup(path.c_str()));
}

ScriptValue nativeCallback(const ScriptContext& context, void* privatePath,
                           const std::vector<ScriptValue>& args) {
  if (context.empty()) return {};
  const std::string path = privatePath ? static_cast<const char*>(privatePath) : "";
  const NativeFunction* callback = CallbackRegistry::shared().find(path);
  if (!callback) {
    logLine("Callback " + path + " not found");
    return context.undefinedValue();
  }
  // A copy: the function may register its own path again while it runs.
  const NativeFunction function = *callback;
  NativeValue result = function(args);
  if (result.isScriptValue()) return result.asScriptValue();
  ScriptValue converted = context.make(result);
  return converted.empty() ? context.undefinedValue() : converted;
}

}  // namespace talvero
