#include "platform/script/script_value.h"

#include <cmath>
#include <limits>

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

ScriptValue ScriptValue::call(const std::vector<NativeValue>& args) const {
  if (empty()) return {};
  auto state = state_;  // the call may drop the last other holder of this context
  JSContextRef ctx = state->context;
  JSObjectRef function = JSValueIsObject(ctx, raw_) ? JSValueToObject(ctx, raw_, nullptr) : nullptr;
  if (!function || !JSObjectIsFunction(ctx, function)) {
    ScriptValue typeError = context().globalObject().get("TypeError");
    ScriptValue error = typeError.construct({"value is not a function"});
    glue::report(state, error.empty() ? JSValueMakeUndefined(ctx) : error.raw());
    return glue::wrap(state, nullptr);
  }
  const auto engineArgs = toEngineArgs(ctx, args);
  JSValueRef exception = nullptr;
  JSValueRef result = JSObjectCallAsFunction(ctx, function, nullptr, engineArgs.size(),
                                             engineArgs.data(), &exception);
  if (exception) {
    glue::report(state, exception);
    return glue::wrap(state, nullptr);
  }
  return glue::wrap(state, result);
}

ScriptValue ScriptValue::invokeMethod(const std::string& name,
                                      const std::vector<NativeValue>& args) const {
  if (empty()) return {};
  auto state = state_;
  JSContextRef ctx = state->context;
  JSObjectRef self = JSValueToObject(ctx, raw_, nullptr);
  if (!self) return glue::wrap(state, nullptr);
  JSStringRef key = glue::makeString(name);
  JSValueRef exception = nullptr;
  JSValueRef method = JSObjectGetProperty(ctx, self, key, &exception);
  JSStringRelease(key);
  JSObjectRef function =
      method && JSValueIsObject(ctx, method) ? JSValueToObject(ctx, method, nullptr) : nullptr;
  if (!exception && (!function || !JSObjectIsFunction(ctx, function))) {
    ScriptValue error =
        context().globalObject().get("TypeError").construct({name + " is not a function"});
    glue::report(state, error.empty() ? JSValueMakeUndefined(ctx) : error.raw());
    return glue::wrap(state, nullptr);
  }
  JSValueRef result = nullptr;
  if (!exception) {
    const auto engineArgs = toEngineArgs(ctx, args);
    result = JSObjectCallAsFunction(ctx, function, self, engineArgs.size(), engineArgs.data(),
                                    &exception);
  }
  if (exception) {
    glue::report(state, exception);
    return glue::wrap(state, nullptr);
  }
  return glue::wrap(state, result);
}

ScriptValue ScriptValue::construct(const std::vector<NativeValue>& args) const {
  if (empty()) return {};
  auto state = state_;
  JSContextRef ctx = state->context;
  JSObjectRef constructor =
      JSValueIsObject(ctx, raw_) ? JSValueToObject(ctx, raw_, nullptr) : nullptr;
  if (!constructor || !JSObjectIsConstructor(ctx, constructor)) return glue::wrap(state, nullptr);
  const auto engineArgs = toEngineArgs(ctx, args);
  JSValueRef exception = nullptr;
  JSObjectRef result =
      JSObjectCallAsConstructor(ctx, constructor, engineArgs.size(), engineArgs.data(), &exception);
  if (exception) {
    glue::report(state, exception);
    return glue::wrap(state, nullptr);
  }
  return glue::wrap(state, result);
}

ScriptValue ScriptValue::get(const std::string& property) const {
  if (empty()) return {};
  JSContextRef ctx = state_->context;
  JSObjectRef object = JSValueIsObject(ctx, raw_) ? JSValueToObject(ctx, raw_, nullptr) : nullptr;
  if (!object) return glue::wrap(state_, nullptr);
  JSStringRef key = glue::makeString(property);
  JSValueRef exception = nullptr;
  JSValueRef value = JSObjectGetProperty(ctx, object, key, &exception);
  JSStringRelease(key);
  if (exception) {
    auto state = state_;
    glue::report(state, exception);
    return glue::wrap(state, nullptr);
  }
  return glue::wrap(state_, value);
}

void ScriptValue::set(const std::string& property, const NativeValue& value) const {
  if (empty()) return;
  JSContextRef ctx = state_->context;
  JSObjectRef object = JSValueIsObject(ctx, raw_) ? JSValueToObject(ctx, raw_, nullptr) : nullptr;
  if (!object) return;
  JSStringRef key = glue::makeString(property);
  JSValueRef exception = nullptr;
  JSObjectSetProperty(ctx, object, key, glue::toEngine(ctx, value), kJSPropertyAttributeNone,
                      &exception);
  JSStringRelease(key);
  if (exception) {
    auto state = state_;
    glue::report(state, exception);
  }
}

ScriptValue ScriptValue::at(uint32_t index) const {
  if (empty()) return {};
  JSContextRef ctx = state_->context;
  JSObjectRef object = JSValueIsObject(ctx, raw_) ? JSValueToObject(ctx, raw_, nullptr) : nullptr;
  if (!object) return glue::wrap(state_, nullptr);
  JSValueRef exception = nullptr;
  JSValueRef value = JSObjectGetPropertyAtIndex(ctx, object, index, &exception);
  if (exception) {
    auto state = state_;
    glue::report(state, exception);
    return glue::wrap(state, nullptr);
  }
  return glue::wrap(state_, value);
}

bool ScriptValue::has(const std::string& property) const {
  if (empty() || !isObject()) return false;
  JSContextRef ctx = state_->context;
  JSStringRef key = glue::makeString(property);
  const bool found = JSObjectHasProperty(ctx, JSValueToObject(ctx, raw_, nullptr), key);
  JSStringRelease(key);
  return found;
}

bool ScriptValue::isUndefined() const {
  return !empty() && JSValueIsUndefined(state_->context, raw_);
}
bool ScriptValue::isNull() const {
  return !empty() && JSValueIsNull(state_->context, raw_);
}
bool ScriptValue::isObject() const {
  return !empty() && JSValueIsObject(state_->context, raw_);
}
bool ScriptValue::isArray() const {
  return !empty() && JSValueIsArray(state_->context, raw_);
}
bool ScriptValue::isString() const {
  return !empty() && JSValueIsString(state_->context, raw_);
}
bool ScriptValue::isNumber() const {
  return !empty() && JSValueIsNumber(state_->context, raw_);
}
bool ScriptValue::isBoolean() const {
  return !empty() && JSValueIsBoolean(state_->context, raw_);
}

bool ScriptValue::isFunction() const {
  if (!isObject()) return false;
  JSContextRef ctx = state_->context;
  return JSObjectIsFunction(ctx, JSValueToObject(ctx, raw_, nullptr));
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

double ScriptValue::toDouble() const {
  if (empty()) return std::numeric_limits<double>::quiet_NaN();
  return JSValueToNumber(state_->context, raw_, nullptr);
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

const NativeValue* NativeValue::find(const std::string& key) const {
  if (!isDict()) return nullptr;
  for (const auto& [name, value] : asDict()) {
    if (name == key) return &value;
  }
  return nullptr;
}

}  // namespace talvero
