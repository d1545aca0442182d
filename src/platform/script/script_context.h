#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "platform/script/script_value.h"

namespace talvero {

// A script context: one global scope. Copies share the same context; two handles are equal
// when they name the same context. All contexts share one virtual machine, so a value of
// one context may be handed to another.
class ScriptContext {
 public:
  using ExceptionHandler = std::function<void(const ScriptContext&, const ScriptValue&)>;

  ScriptContext() = default;
  explicit ScriptContext(std::shared_ptr<ContextState> state) : state_(std::move(state)) {}

  // A fresh global scope; empty when the engine could not make one.
  static ScriptContext create();
  // Inside an exported operation or callable object: the context of the calling script.
  // Empty outside such a call.
  static ScriptContext current();

  bool empty() const { return state_ == nullptr; }

  // Runs the source to its end. The result is dropped; an exception goes to the handler.
  void evaluate(std::string_view source, const std::string& sourceUrl = {}) const;
  // The one replaceable handler of the context. Without one, exceptions are dropped.
  void setExceptionHandler(ExceptionHandler handler) const;
  void reportException(const ScriptValue& exception) const;

  ScriptValue globalObject() const;
  void setGlobal(const std::string& name, const NativeValue& value) const;

  ScriptValue make(const NativeValue& value) const;  // null, bool, number, text, array, object
  ScriptValue newObject() const;
  ScriptValue newArray() const;
  ScriptValue undefinedValue() const;
  ScriptValue nullValue() const;
  // A new `Error` of this context with `message`; empty if the global `Error` is gone.
  ScriptValue newError(const std::string& message) const;
  // The value of a JSON text, by the engine's own parser; undefined when it is not JSON.
  ScriptValue parseJson(std::string_view text) const;

  const std::shared_ptr<ContextState>& state() const { return state_; }

  friend bool operator==(const ScriptContext& a, const ScriptContext& b) {
    return a.state_ == b.state_;
  }

 private:
  std::shared_ptr<ContextState> state_;
};

}  // namespace talvero
