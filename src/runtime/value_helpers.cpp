#include "runtime/value_helpers.h"

#include "platform/script/script_context.h"

namespace talvero {

void call_reject(const ScriptValue& reject, const std::string& message) {
  if (reject.empty()) return;
  ScriptValue error = reject.context().newError(message);
  if (error.empty()) {
    reject.call({message});
  } else {
    reject.call({error});
  }
}

void call_list(const ScriptValue& list, const std::vector<NativeValue>& args) {
  if (list.empty()) return;
  const int32_t length = list.get("length").toInt32();
  for (int32_t i = 0; i < length; ++i) list.at(static_cast<uint32_t>(i)).call(args);
}

ScriptValue getIfNotEmpty(const ScriptValue& value) {
  if (value.empty() || !value.isArray()) return {};
  if (value.get("length").toInt32() == 0) return {};
  return value;
}

ScriptValue invokeIfPresent(const ScriptValue& object, const std::string& name,
                            const std::vector<NativeValue>& args) {
  if (!object.isObject() || !object.get(name).isFunction()) return {};
  return object.invokeMethod(name, args);
}

}  // namespace talvero
