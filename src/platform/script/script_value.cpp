#include "platform/script/script_value.h"

#include <cmath>
#include <limits>

#include "platform/script/export_table.h"
#include "platform/script/jsc_glue.h"

namespace talvero {

namespace {

TypedArrayKind kindOf(JSTypedArrayType type) {
  switch (type) {
    case kJSTypedArrayTypeInt8Array:
      return TypedArrayKind::Int8;
    case kJSTypedArrayTypeUint8Array:
      return TypedArrayKind::Uint8;
    case kJSTypedArrayTypeUint8ClampedArray:
      return TypedArrayKind::Uint8Clamped;
    case kJSTypedArrayTypeInt16Array:
      return TypedArrayKind::Int16;
    case kJSTypedArrayTypeUint16Array:
      return TypedArrayKind::Uint16;
    case kJSTypedArrayTypeInt32Array:
      return TypedArrayKind::Int32;
    case kJSTypedArrayTypeUint32Array:
      return TypedArrayKind::Uint32;
    case kJSTypedArrayTypeFloat32Array:
      return TypedArrayKind::Float32;
    case kJSTypedArrayTypeFloat64Array:
      return TypedArrayKind::Float64;
    case kJSTypedArrayTypeBigInt64Array:
      return TypedArrayKind::BigInt64;
    case kJSTypedArrayTypeBigUint64Array:
      return TypedArrayKind::BigUint64;
    default:
      return TypedArrayKind::Uint8;
  }
}

std::vector<JSValueRef> toEngineArgs(JSContextRef ctx, const std::vector<NativeValue>& args) {
  std::vector<JSValueRef> out;
  out.reserve(args.size());
  for (const auto& arg : args) out.push_back(glue::toEngine(ctx, arg));
  return out;
}

}  // namespace

ScriptValue::ScriptValue(std::shared_ptr<ContextState> state, const OpaqueJSValue* raw)
    : state_(std::move(state)), raw_(raw) {
  if (state_ && raw_) JSValueProtect(state_->context, raw_);
}

ScriptValue::ScriptValue(const ScriptValue& other) : ScriptValue(other.state_, other.raw_) {}

ScriptValue::ScriptValue(ScriptValue&& other) noexcept
    : state_(std::move(other.state_)), raw_(other.raw_) {
  other.raw_ = nullptr;
}

ScriptValue& ScriptValue::operator=(const ScriptValue& other) {
  if (this != &other) *this = ScriptValue(other);
  return *this;
}

ScriptValue& ScriptValue::operator=(ScriptValue&& other) noexcept {
  if (this != &other) {
    release();
    state_ = std::move(other.state_);
    raw_ = other.raw_;
    other.raw_ = nullptr;
  }
  return *this;
}

ScriptValue::~ScriptValue() {
  release();
}

void ScriptValue::release() {
  if (state_ && raw_) JSValueUnprotect(state_->context, raw_);
  raw_ = nullptr;
  state_.reset();
}

ScriptContext ScriptValue::context() const {
  return ScriptContext(state_);
}

bool ScriptValue::belongsTo(const ScriptContext& context) const {
  return state_ != nullptr && state_ == context.state();
}

namespace {

JSObjectRef objectOf(JSContextRef ctx, JSValueRef value) {
  return JSValueIsObject(ctx, value) ? JSValueToObject(ctx, value, nullptr) : nullptr;
}

// The value of an engine call: an exception goes to the handler and leaves undefined.
ScriptValue settle(const std::shared_ptr<ContextState>& state, JSValueRef result,
                   JSValueRef exception) {
  if (!exception) return glue::wrap(state, result);
  glue::report(state, exception);
  return glue::wrap(state, nullptr);
}

ScriptValue reportNotCallable(const std::shared_ptr<ContextState>& state, const std::string& what) {
  ScriptContext context(state);
  ScriptValue error =
      context.globalObject().get("TypeError").construct({what + " is not a function"});
  return settle(state, nullptr, error.empty() ? JSValueMakeUndefined(state->context) : error.raw());
}

template <bool (*Test)(JSContextRef, JSValueRef)>
bool holds(const ScriptValue& value) {
  return !value.empty() && Test(value.state()->context, value.raw());
}

}  // namespace

ScriptValue ScriptValue::call(const std::vector<NativeValue>& args) const {
  if (empty()) return {};
  auto state = state_;  // the call may drop the last other holder of this context
  JSContextRef ctx = state->context;
  JSObjectRef function = objectOf(ctx, raw_);
  if (!function || !JSObjectIsFunction(ctx, function)) return reportNotCallable(state, "value");
  const auto engineArgs = toEngineArgs(ctx, args);
  JSValueRef exception = nullptr;
  JSValueRef result = JSObjectCallAsFunction(ctx, function, nullptr, engineArgs.size(),
                                             engineArgs.data(), &exception);
  return settle(state, result, exception);
}

ScriptValue ScriptValue::invokeMethod(const std::string& name,
                                      const std::vector<NativeValue>& args) const {
  if (empty()) return {};
  auto state = state_;
  JSContextRef ctx = state->context;
  JSObjectRef self = objectOf(ctx, raw_);
  if (!self) return reportNotCallable(state, name);
  JSStringRef key = glue::makeString(name);
  JSValueRef exception = nullptr;
  JSValueRef method = JSObjectGetProperty(ctx, self, key, &exception);
  JSStringRelease(key);
  if (exception) return settle(state, nullptr, exception);
  JSObjectRef function = objectOf(ctx, method);
  if (!function || !JSObjectIsFunction(ctx, function)) return reportNotCallable(state, name);
  const auto engineArgs = toEngineArgs(ctx, args);
  JSValueRef result =
      JSObjectCallAsFunction(ctx, function, self, engineArgs.size(), engineArgs.data(), &exception);
  return settle(state, result, exception);
}

ScriptValue ScriptValue::construct(const std::vector<NativeValue>& args) const {
  if (empty()) return {};
  auto state = state_;
  JSContextRef ctx = state->context;
  JSObjectRef constructor = objectOf(ctx, raw_);
  if (!constructor || !JSObjectIsConstructor(ctx, constructor)) return glue::wrap(state, nullptr);
  const auto engineArgs = toEngineArgs(ctx, args);
  JSValueRef exception = nullptr;
  JSObjectRef result =
      JSObjectCallAsConstructor(ctx, constructor, engineArgs.size(), engineArgs.data(), &exception);
  return settle(state, result, exception);
}

ScriptValue ScriptValue::get(const std::string& property) const {
  if (empty()) return {};
  auto state = state_;
  JSObjectRef object = objectOf(state->context, raw_);
  if (!object) return glue::wrap(state, nullptr);
  JSStringRef key = glue::makeString(property);
  JSValueRef exception = nullptr;
  JSValueRef value = JSObjectGetProperty(state->context, object, key, &exception);
  JSStringRelease(key);
  return settle(state, value, exception);
}

void ScriptValue::set(const std::string& property, const NativeValue& value) const {
  if (empty()) return;
  auto state = state_;
  JSContextRef ctx = state->context;
  JSObjectRef object = objectOf(ctx, raw_);
  if (!object) return;
  JSStringRef key = glue::makeString(property);
  JSValueRef exception = nullptr;
  JSObjectSetProperty(ctx, object, key, glue::toEngine(ctx, value), kJSPropertyAttributeNone,
                      &exception);
  JSStringRelease(key);
  if (exception) glue::report(state, exception);
}

ScriptValue ScriptValue::at(uint32_t index) const {
  if (empty()) return {};
  auto state = state_;
  JSObjectRef object = objectOf(state->context, raw_);
  if (!object) return glue::wrap(state, nullptr);
  JSValueRef exception = nullptr;
  JSValueRef value = JSObjectGetPropertyAtIndex(state->context, object, index, &exception);
  return settle(state, value, exception);
}

bool ScriptValue::has(const std::string& property) const {
  if (!isObject()) return false;
  JSStringRef key = glue::makeString(property);
  const bool found = JSObjectHasProperty(state_->context, objectOf(state_->context, raw_), key);
  JSStringRelease(key);
  return found;
}

bool ScriptValue::isUndefined() const {
  return holds<JSValueIsUndefined>(*this);
}
bool ScriptValue::isNull() const {
  return holds<JSValueIsNull>(*this);
}
bool ScriptValue::isObject() const {
  return holds<JSValueIsObject>(*this);
}
bool ScriptValue::isArray() const {
  return holds<JSValueIsArray>(*this);
}
bool ScriptValue::isString() const {
  return holds<JSValueIsString>(*this);
}
bool ScriptValue::isNumber() const {
  return holds<JSValueIsNumber>(*this);
}
bool ScriptValue::isBoolean() const {
  return holds<JSValueIsBoolean>(*this);
}

bool ScriptValue::isFunction() const {
  if (!isObject()) return false;
  return JSObjectIsFunction(state_->context, objectOf(state_->context, raw_));
}

bool ScriptValue::strictlyEquals(const ScriptValue& other) const {
  if (empty() || other.empty()) return empty() && other.empty();
  return JSValueIsStrictEqual(state_->context, raw_, other.raw_);
}

std::string ScriptValue::toString() const {
  if (empty()) return "undefined";
  return glue::valueToString(state_->context, raw_);
}

std::optional<std::string> ScriptValue::toStringIfAny() const {
  if (empty()) return std::nullopt;
  bool threw = false;
  std::string text = glue::valueToString(state_->context, raw_, &threw);
  if (threw) return std::nullopt;
  return text;
}

std::optional<std::u16string> ScriptValue::toUTF16IfAny() const {
  if (empty()) return std::nullopt;
  JSValueRef exception = nullptr;
  JSStringRef text = JSValueToStringCopy(state_->context, raw_, &exception);
  if (!text || exception) {
    if (text) JSStringRelease(text);
    return std::nullopt;
  }
  const JSChar* units = JSStringGetCharactersPtr(text);
  std::u16string out(units, units + JSStringGetLength(text));
  JSStringRelease(text);
  return out;
}

double ScriptValue::toDouble() const {
  if (empty()) return std::numeric_limits<double>::quiet_NaN();
  return JSValueToNumber(state_->context, raw_, nullptr);
}

int64_t ScriptValue::toInt64() const {
  return export_detail::toInt64(toDouble());
}

// ECMAScript ToInt32 / ToUint32: wrap modulo 2^32, NaN and infinities to 0.
uint32_t ScriptValue::toUInt32() const {
  const double number = toDouble();
  if (!std::isfinite(number)) return 0;
  double wrapped = std::fmod(std::trunc(number), 4294967296.0);
  if (wrapped < 0) wrapped += 4294967296.0;
  return static_cast<uint32_t>(wrapped);
}

int32_t ScriptValue::toInt32() const {
  return static_cast<int32_t>(toUInt32());
}

bool ScriptValue::toBool() const {
  return !empty() && JSValueToBoolean(state_->context, raw_);
}

std::vector<NativeValue> ScriptValue::toArray() const {
  if (!isObject()) return {};
  const uint32_t length = get("length").toUInt32();
  std::vector<NativeValue> out;
  out.reserve(length);
  for (uint32_t i = 0; i < length; ++i) out.push_back(at(i).toNative());
  return out;
}

NativeValue::Dict ScriptValue::toDictionary() const {
  if (!isObject() || isArray()) return {};
  NativeValue converted = toNative();
  return converted.isDict() ? converted.asDict() : NativeValue::Dict();
}

NativeValue ScriptValue::toNative() const {
  if (empty()) return {};
  return glue::fromEngine(state_->context, raw_);
}

std::optional<TypedArrayView> ScriptValue::typedArray() const {
  if (empty()) return std::nullopt;
  JSContextRef ctx = state_->context;
  const JSTypedArrayType type = JSValueGetTypedArrayType(ctx, raw_, nullptr);
  if (type == kJSTypedArrayTypeNone || type == kJSTypedArrayTypeArrayBuffer) return std::nullopt;
  JSObjectRef object = JSValueToObject(ctx, raw_, nullptr);
  TypedArrayView view;
  view.kind = kindOf(type);
  view.length = JSObjectGetTypedArrayLength(ctx, object, nullptr);
  view.byteLength = JSObjectGetTypedArrayByteLength(ctx, object, nullptr);
  // The engine hands out the start of the whole buffer; a subarray begins further in.
  auto* base = static_cast<uint8_t*>(JSObjectGetTypedArrayBytesPtr(ctx, object, nullptr));
  view.data = base ? base + JSObjectGetTypedArrayByteOffset(ctx, object, nullptr) : nullptr;
  return view;
}

std::optional<TypedArrayView> ScriptValue::arrayBuffer() const {
  if (empty()) return std::nullopt;
  JSContextRef ctx = state_->context;
  if (JSValueGetTypedArrayType(ctx, raw_, nullptr) != kJSTypedArrayTypeArrayBuffer) {
    return std::nullopt;
  }
  JSObjectRef object = JSValueToObject(ctx, raw_, nullptr);
  TypedArrayView view;
  view.data = JSObjectGetArrayBufferBytesPtr(ctx, object, nullptr);
  view.byteLength = JSObjectGetArrayBufferByteLength(ctx, object, nullptr);
  view.length = view.byteLength;
  return view;
}

const NativeValue* NativeValue::find(const std::string& key) const {
  if (!isDict()) return nullptr;
  for (const auto& [name, value] : asDict()) {
    if (name == key) return &value;
  }
  return nullptr;
}

}  // namespace talvero
