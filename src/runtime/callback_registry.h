#pragma once

#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/script/callable_class.h"

namespace talvero {

// A host function reachable from script. Its result goes back as a plain value: null (also
// for "nothing"), a script value standing for itself, or data converted into the context.
using NativeFunction = std::function<NativeValue(const std::vector<ScriptValue>& args)>;

// Script functions backed by native closures, shared by every context. A script function
// holds only its dotted path and finds its native function by it at each call, so a later
// registration of the same path takes over in every context at once.
class CallbackRegistry {
 public:
  static CallbackRegistry& shared();

  // Enters `callback` under `path`, replacing an entry of the same path. Never removes.
  void set(const std::string& path, NativeFunction callback);
  const NativeFunction* find(const std::string& path) const;

  // A new callable object of `context` whose private pointer is a copy of `path`.
  ScriptValue makeFunction(const ScriptContext& context, const std::string& path) const;

  const CallableClass& callbackClass() const { return callbackClass_; }

 private:
  CallbackRegistry();

  std::unordered_map<std::string, NativeFunction> callbacks_;
  CallableClass callbackClass_;
};

// The call operation of the registry's class: looks the path up and runs its function.
ScriptValue nativeCallback(const ScriptContext& context, void* privatePath,
                           const std::vector<ScriptValue>& args);

}  // namespace talvero
