#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

// Opaque engine types, declared here so that no caller needs the engine's headers.
struct OpaqueJSValue;

namespace talvero {

class NativeValue;
class ScriptContext;
struct ContextState;

enum class TypedArrayKind {
  Int8,
  Uint8,
  Uint8Clamped,
  Int16,
  Uint16,
  Int32,
  Uint32,
  Float32,
  Float64,
  BigInt64,
  BigUint64,
};

// The elements of a typed array, valid during the native call that read them.
struct TypedArrayView {
  void* data = nullptr;  // first element of the view, not of its buffer
  size_t length = 0;     // element count
  size_t byteLength = 0;
  TypedArrayKind kind = TypedArrayKind::Uint8;
};

// A script value held by native code. While held it keeps its value and its context alive;
// the context is compared by identity. Every operation runs on the main thread, and an
// exception thrown by script goes to the context's exception handler, never to the caller.
class ScriptValue {
 public:
  ScriptValue() = default;
  ScriptValue(std::shared_ptr<ContextState> state, const OpaqueJSValue* raw);
  ScriptValue(const ScriptValue& other);
  ScriptValue(ScriptValue&& other) noexcept;
  ScriptValue& operator=(const ScriptValue& other);
  ScriptValue& operator=(ScriptValue&& other) noexcept;
  ~ScriptValue();

  bool empty() const { return raw_ == nullptr; }
  ScriptContext context() const;
  bool belongsTo(const ScriptContext& context) const;

  // Calls with `this` undefined. The result is undefined after an exception.
  ScriptValue call(const std::vector<NativeValue>& args = {}) const;
  ScriptValue invokeMethod(const std::string& name,
                           const std::vector<NativeValue>& args = {}) const;
  ScriptValue construct(const std::vector<NativeValue>& args = {}) const;

  ScriptValue get(const std::string& property) const;
  void set(const std::string& property, const NativeValue& value) const;
  ScriptValue at(uint32_t index) const;
  bool has(const std::string& property) const;

  bool isUndefined() const;
  bool isNull() const;
  bool isObject() const;
  bool isArray() const;
  bool isString() const;
  bool isNumber() const;
  bool isBoolean() const;
  bool isFunction() const;
  // Script's `===`; two empty handles are equal, an empty one equals nothing else.
  bool strictlyEquals(const ScriptValue& other) const;

  std::string toString() const;
  // Nothing when the conversion itself throws (a hostile toString, a symbol).
  std::optional<std::string> toStringIfAny() const;
  // The text as the engine holds it, UTF-16 code units, lone surrogates kept; nothing as above.
  std::optional<std::u16string> toUTF16IfAny() const;
  int32_t toInt32() const;
  uint32_t toUInt32() const;
  // As an exported operation's 64-bit integer argument: cut towards zero, saturated, NaN 0.
  int64_t toInt64() const;
  double toDouble() const;
  double toNumber() const { return toDouble(); }
  bool toBool() const;
  // Deep conversions into native values; functions and cycles become empty or null.
  std::vector<NativeValue> toArray() const;
  std::vector<std::pair<std::string, NativeValue>> toDictionary() const;
  NativeValue toNative() const;

  std::optional<TypedArrayView> typedArray() const;
  // The bytes of an `ArrayBuffer`, as a Uint8 view; nothing for any other value.
  std::optional<TypedArrayView> arrayBuffer() const;

  const OpaqueJSValue* raw() const { return raw_; }
  const std::shared_ptr<ContextState>& state() const { return state_; }

 private:
  void release();

  std::shared_ptr<ContextState> state_;
  const OpaqueJSValue* raw_ = nullptr;  // protected while held
};

// A native value that crosses into script as a plain value: null, boolean, number, text,
// array, object (ordered keys) or a script value standing for itself.
class NativeValue {
 public:
  using Array = std::vector<NativeValue>;
  using Dict = std::vector<std::pair<std::string, NativeValue>>;

  NativeValue() = default;
  NativeValue(std::nullptr_t) {}
  NativeValue(bool value) : value_(value) {}
  template <class T, std::enable_if_t<std::is_arithmetic_v<T> && !std::is_same_v<T, bool>, int> = 0>
  NativeValue(T number) : value_(static_cast<double>(number)) {}
  NativeValue(std::string text) : value_(std::move(text)) {}
  NativeValue(const char* text) : value_(std::string(text)) {}
  NativeValue(Array array) : value_(std::move(array)) {}
  NativeValue(Dict dict) : value_(std::move(dict)) {}
  NativeValue(ScriptValue value) : value_(std::move(value)) {}

  bool isNull() const { return std::holds_alternative<std::monostate>(value_); }
  bool isBool() const { return std::holds_alternative<bool>(value_); }
  bool isNumber() const { return std::holds_alternative<double>(value_); }
  bool isString() const { return std::holds_alternative<std::string>(value_); }
  bool isArray() const { return std::holds_alternative<Array>(value_); }
  bool isDict() const { return std::holds_alternative<Dict>(value_); }
  bool isScriptValue() const { return std::holds_alternative<ScriptValue>(value_); }

  bool asBool() const { return std::get<bool>(value_); }
  double asNumber() const { return std::get<double>(value_); }
  const std::string& asString() const { return std::get<std::string>(value_); }
  const Array& asArray() const { return std::get<Array>(value_); }
  const Dict& asDict() const { return std::get<Dict>(value_); }
  const ScriptValue& asScriptValue() const { return std::get<ScriptValue>(value_); }

  // The entry of a dictionary under `key`, or null when this is no dictionary or has none.
  const NativeValue* find(const std::string& key) const;

 private:
  std::variant<std::monostate, bool, double, std::string, Array, Dict, ScriptValue> value_;
};

}  // namespace talvero
