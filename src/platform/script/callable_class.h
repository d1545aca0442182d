#pragma once

#include <vector>

#include "platform/script/script_context.h"

namespace talvero {

// A class of script functions, each carrying a private pointer: calling one runs `call`
// with the pointer and the arguments; collecting one runs `finalize` with the pointer.
// Nothing else of a class is offered.
class CallableClass {
 public:
  // The result stands for itself; an empty result is undefined.
  using CallHook = ScriptValue (*)(const ScriptContext& context, void* privateData,
                                   const std::vector<ScriptValue>& args);
  // May run on any thread, at garbage collection.
  using FinalizeHook = void (*)(void* privateData);

  CallableClass(CallHook call, FinalizeHook finalize);
  ~CallableClass();
  CallableClass(const CallableClass&) = delete;
  CallableClass& operator=(const CallableClass&) = delete;

  ScriptValue make(const ScriptContext& context, void* privateData) const;

  CallHook callHook() const { return call_; }
  FinalizeHook finalizeHook() const { return finalize_; }

 private:
  CallHook call_;
  FinalizeHook finalize_;
};

}  // namespace talvero
