#include "platform/script/callable_class.h"

#include "platform/script/jsc_glue.h"

namespace talvero {

namespace {

// The engine's private slot holds this pair, so that one engine class serves every
// CallableClass and the hooks reach their own private pointer.
struct Instance {
  const CallableClass* owner;
  void* privateData;
};

JSValueRef callInstance(JSContextRef ctx, JSObjectRef function, JSObjectRef, size_t argc,
                        const JSValueRef argv[], JSValueRef*) {
  if (!ctx) return nullptr;
  auto* instance = static_cast<Instance*>(JSObjectGetPrivate(function));
  if (!instance) return JSValueMakeUndefined(ctx);
  glue::CallingScope scope(ctx);
  auto state = glue::stateFor(ctx);
  std::vector<ScriptValue> args;
  args.reserve(argc);
  for (size_t i = 0; i < argc; ++i) {
    if (argv[i]) args.push_back(glue::wrap(state, argv[i]));
  }
  ScriptValue result =
      instance->owner->callHook()(ScriptContext(state), instance->privateData, args);
  return result.empty() ? JSValueMakeUndefined(ctx) : result.raw();
}

void finalizeInstance(JSObjectRef object) {
  auto* instance = static_cast<Instance*>(JSObjectGetPrivate(object));
  if (!instance) return;
  if (instance->owner->finalizeHook()) instance->owner->finalizeHook()(instance->privateData);
  delete instance;
}

JSClassRef instanceClass() {
  static JSClassRef cls = glue::makeFunctionClass("NativeCallback", callInstance, finalizeInstance);
  return cls;
}

}  // namespace

CallableClass::CallableClass(CallHook call, FinalizeHook finalize)
    : call_(call), finalize_(finalize) {}

CallableClass::~CallableClass() = default;

ScriptValue CallableClass::make(const ScriptContext& context, void* privateData) const {
  if (context.empty()) return {};
  JSContextRef ctx = context.state()->context;
  JSObjectRef object = JSObjectMake(ctx, instanceClass(), new Instance{this, privateData});
  return glue::wrap(context.state(), object);
}

}  // namespace talvero
