#include "platform/script/script_context.h"

#include "platform/script/jsc_glue.h"

namespace talvero {

namespace {

// One group for all contexts: values may pass between them, as a replaced program's
// reject function is called with values made for it in its own context.
JSContextGroupRef sharedGroup() {
  static JSContextGroupRef group = JSContextGroupCreate();
  return group;
}

}  // namespace

ScriptContext ScriptContext::create() {
  JSGlobalContextRef ctx = JSGlobalContextCreateInGroup(sharedGroup(), nullptr);
  if (!ctx) return {};
  auto state = glue::stateFor(ctx);
  JSGlobalContextRelease(ctx);  // the state holds its own retain
  return ScriptContext(std::move(state));
}

ScriptContext ScriptContext::current() {
  JSContextRef ctx = glue::currentCallingContext();
  return ctx ? ScriptContext(glue::stateFor(ctx)) : ScriptContext();
}

void ScriptContext::evaluate(std::string_view source, const std::string& sourceUrl) const {
  if (!state_) return;
  JSStringRef script = glue::makeString(source);
  JSStringRef url = sourceUrl.empty() ? nullptr : glue::makeString(sourceUrl);
  JSValueRef exception = nullptr;
  // The state may be released by a handler that replaces the program: hold it.
  auto state = state_;
  JSEvaluateScript(state->context, script, nullptr, url, 1, &exception);
  JSStringRelease(script);
  if (url) JSStringRelease(url);
  if (exception) glue::report(state, exception);
}

void ScriptContext::setExceptionHandler(ExceptionHandler handler) const {
  if (state_) state_->exceptionHandler = std::move(handler);
}

void ScriptContext::reportException(const ScriptValue& exception) const {
  if (state_) glue::report(state_, exception.raw());
}

ScriptValue ScriptContext::globalObject() const {
  if (!state_) return {};
  return glue::wrap(state_, JSContextGetGlobalObject(state_->context));
}

void ScriptContext::setGlobal(const std::string& name, const NativeValue& value) const {
  if (!state_) return;
  JSStringRef key = glue::makeString(name);
  JSObjectSetProperty(state_->context, JSContextGetGlobalObject(state_->context), key,
                      glue::toEngine(state_->context, value), kJSPropertyAttributeNone, nullptr);
  JSStringRelease(key);
}

ScriptValue ScriptContext::make(const NativeValue& value) const {
  if (!state_) return {};
  return glue::wrap(state_, glue::toEngine(state_->context, value));
}

ScriptValue ScriptContext::newObject() const {
  if (!state_) return {};
  return glue::wrap(state_, JSObjectMake(state_->context, nullptr, nullptr));
}

ScriptValue ScriptContext::newArray() const {
  if (!state_) return {};
  return glue::wrap(state_, JSObjectMakeArray(state_->context, 0, nullptr, nullptr));
}

ScriptValue ScriptContext::undefinedValue() const {
  if (!state_) return {};
  return glue::wrap(state_, JSValueMakeUndefined(state_->context));
}

ScriptValue ScriptContext::nullValue() const {
  if (!state_) return {};
  return glue::wrap(state_, JSValueMakeNull(state_->context));
}

ScriptValue ScriptContext::newError(const std::string& message) const {
  ScriptValue constructor = globalObject().get("Error");
  if (!constructor.isObject()) return {};
  ScriptValue error = constructor.construct({message});
  return error.isObject() ? error : ScriptValue();
}

ScriptValue ScriptContext::parseJson(std::string_view text) const {
  if (!state_) return {};
  JSStringRef json = glue::makeString(text);
  JSValueRef value = JSValueMakeFromJSONString(state_->context, json);
  JSStringRelease(json);
  return glue::wrap(state_, value);
}

}  // namespace talvero
