#include "platform/script/export_table.h"

#include <cmath>
#include <limits>

#include "platform/script/jsc_glue.h"

namespace talvero {

namespace export_detail {

double argNumber(const ExportCall& call, size_t index) {
  if (index >= call.argc) return std::numeric_limits<double>::quiet_NaN();
  return JSValueToNumber(call.ctx, call.argv[index], nullptr);
}

bool argBool(const ExportCall& call, size_t index) {
  return index < call.argc && JSValueToBoolean(call.ctx, call.argv[index]);
}

std::string argString(const ExportCall& call, size_t index) {
  if (index >= call.argc) return "undefined";
  return glue::valueToString(call.ctx, call.argv[index]);
}

ScriptValue argValue(const ExportCall& call, size_t index) {
  return glue::wrap(call.ctx, index < call.argc ? call.argv[index] : nullptr);
}

uint32_t toUInt32(double number) {
  // Ids and counts are almost always in range already: skip the modulo for them.
  if (number >= 0 && number < 4294967296.0) return static_cast<uint32_t>(number);
  if (!std::isfinite(number)) return 0;
  double wrapped = std::fmod(std::trunc(number), 4294967296.0);
  if (wrapped < 0) wrapped += 4294967296.0;
  return static_cast<uint32_t>(wrapped);
}

int32_t toInt32(double number) {
  return static_cast<int32_t>(toUInt32(number));
}

int64_t toInt64(double number) {
  if (std::isnan(number)) return 0;
  if (number >= 9223372036854775807.0) return std::numeric_limits<int64_t>::max();
  if (number <= -9223372036854775808.0) return std::numeric_limits<int64_t>::min();
  return static_cast<int64_t>(number);
}

}  // namespace export_detail

namespace {

using OperationRef = std::shared_ptr<const ExportTable::Operation>;

JSValueRef resultToEngine(JSContextRef ctx, const ExportResult& result) {
  switch (result.index()) {
    case 1:
      return JSValueMakeNumber(ctx, std::get<double>(result));
    case 2:
      return JSValueMakeBoolean(ctx, std::get<bool>(result));
    case 3:
      return glue::makeStringValue(ctx, std::get<std::string>(result));
    case 4: {
      const ScriptValue& value = std::get<ScriptValue>(result);
      return value.empty() ? JSValueMakeUndefined(ctx) : value.raw();
    }
    case 5:
      return glue::toEngine(ctx, std::get<NativeValue>(result));
    default:
      return JSValueMakeUndefined(ctx);
  }
}

JSValueRef callOperation(JSContextRef ctx, JSObjectRef function, JSObjectRef, size_t argc,
                         const JSValueRef argv[], JSValueRef*) {
  const auto* op = static_cast<OperationRef*>(JSObjectGetPrivate(function))->get();
  glue::CallingScope scope(ctx);
  return resultToEngine(ctx, op->thunk(op->callable.get(), ExportCall{ctx, argc, argv}));
}

// May run on any thread, at garbage collection: it only drops a reference.
void finalizeOperation(JSObjectRef function) {
  delete static_cast<OperationRef*>(JSObjectGetPrivate(function));
}

JSClassRef operationClass() {
  static JSClassRef cls =
      glue::makeFunctionClass("NativeFunction", callOperation, finalizeOperation);
  return cls;
}

// A callable object that also has Function.prototype, so call, apply and bind work on it.
JSObjectRef makeFunction(JSContextRef ctx, const OperationRef& op) {
  JSObjectRef function = JSObjectMake(ctx, operationClass(), new OperationRef(op));
  JSObjectRef global = JSContextGetGlobalObject(ctx);
  JSStringRef functionName = JSStringCreateWithUTF8CString("Function");
  JSValueRef constructor = JSObjectGetProperty(ctx, global, functionName, nullptr);
  JSStringRelease(functionName);
  if (JSValueIsObject(ctx, constructor)) {
    JSStringRef prototypeName = JSStringCreateWithUTF8CString("prototype");
    JSValueRef prototype = JSObjectGetProperty(ctx, JSValueToObject(ctx, constructor, nullptr),
                                               prototypeName, nullptr);
    JSStringRelease(prototypeName);
    if (JSValueIsObject(ctx, prototype)) JSObjectSetPrototype(ctx, function, prototype);
  }
  return function;
}

// Object.defineProperty(object, name, {get, enumerable: true}): a getter with no setter.
void defineReadOnly(JSContextRef ctx, JSObjectRef object, const OperationRef& op) {
  ScriptValue objectConstructor = glue::wrap(ctx, JSContextGetGlobalObject(ctx)).get("Object");
  NativeValue::Dict descriptor{{"get", glue::wrap(ctx, makeFunction(ctx, op))},
                               {"enumerable", true},
                               {"configurable", false}};
  objectConstructor.invokeMethod("defineProperty",
                                 {glue::wrap(ctx, object), op->name, NativeValue(descriptor)});
}

}  // namespace

ScriptValue ExportTable::instantiate(const ScriptContext& context) const {
  if (context.empty()) return {};
  JSContextRef ctx = context.state()->context;
  JSObjectRef object = JSObjectMake(ctx, nullptr, nullptr);
  for (const auto& op : operations_) {
    if (op->isProperty) {
      defineReadOnly(ctx, object, op);
      continue;
    }
    JSStringRef name = glue::makeString(op->name);
    JSObjectSetProperty(ctx, object, name, makeFunction(ctx, op), kJSPropertyAttributeNone,
                        nullptr);
    JSStringRelease(name);
  }
  return glue::wrap(context.state(), object);
}

void ExportTable::installGlobals(const ScriptContext& context) const {
  if (context.empty()) return;
  JSContextRef ctx = context.state()->context;
  for (const auto& op : operations_) {
    context.setGlobal(op->name, glue::wrap(ctx, makeFunction(ctx, op)));
  }
}

}  // namespace talvero
