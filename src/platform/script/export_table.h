#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "platform/script/script_context.h"

struct OpaqueJSContext;

namespace talvero {

// The arguments of one call from script, as the engine passed them.
struct ExportCall {
  const OpaqueJSContext* ctx;
  size_t argc;
  const OpaqueJSValue* const* argv;
};

// What an operation gives back: nothing (undefined), a number, a boolean, a text, a script
// value or a native value converted as plain data.
using ExportResult =
    std::variant<std::monostate, double, bool, std::string, ScriptValue, NativeValue>;

namespace export_detail {

// Argument conversions. A missing argument converts as undefined does.
double argNumber(const ExportCall& call, size_t index);
bool argBool(const ExportCall& call, size_t index);
std::string argString(const ExportCall& call, size_t index);
ScriptValue argValue(const ExportCall& call, size_t index);
int32_t toInt32(double number);
uint32_t toUInt32(double number);
int64_t toInt64(double number);

template <class T>
T convertArg(const ExportCall& call, size_t index) {
  if constexpr (std::is_same_v<T, bool>) {
    return argBool(call, index);
  } else if constexpr (std::is_same_v<T, double>) {
    return argNumber(call, index);
  } else if constexpr (std::is_same_v<T, float>) {
    return static_cast<float>(argNumber(call, index));
  } else if constexpr (std::is_integral_v<T> && sizeof(T) == 8) {
    return static_cast<T>(toInt64(argNumber(call, index)));
  } else if constexpr (std::is_integral_v<T> && std::is_signed_v<T>) {
    return static_cast<T>(toInt32(argNumber(call, index)));
  } else if constexpr (std::is_integral_v<T>) {
    return static_cast<T>(toUInt32(argNumber(call, index)));
  } else if constexpr (std::is_same_v<T, std::string>) {
    return argString(call, index);
  } else {
    static_assert(std::is_same_v<T, ScriptValue>,
                  "unsupported argument type of an exported operation");
    return argValue(call, index);
  }
}

template <class R>
ExportResult makeResult(R&& result) {
  using T = std::decay_t<R>;
  if constexpr (std::is_same_v<T, bool>) {
    return ExportResult(std::in_place_type<bool>, result);
  } else if constexpr (std::is_arithmetic_v<T>) {
    return ExportResult(std::in_place_type<double>, static_cast<double>(result));
  } else if constexpr (std::is_same_v<T, std::string>) {
    return ExportResult(std::in_place_type<std::string>, std::forward<R>(result));
  } else if constexpr (std::is_same_v<T, ScriptValue>) {
    return ExportResult(std::in_place_type<ScriptValue>, std::forward<R>(result));
  } else if constexpr (std::is_same_v<T, NativeValue>) {
    return ExportResult(std::in_place_type<NativeValue>, std::forward<R>(result));
  } else {
    static_assert(std::is_same_v<T, std::optional<typename T::value_type>>,
                  "unsupported result type of an exported operation");
    if (!result) return ExportResult(std::in_place_type<NativeValue>);
    return makeResult(*std::forward<R>(result));
  }
}

template <class F>
struct Signature : Signature<decltype(&F::operator())> {};
template <class C, class R, class... A>
struct Signature<R (C::*)(A...) const> {
  using Result = R;
  using Args = std::tuple<std::decay_t<A>...>;
};
template <class C, class R, class... A>
struct Signature<R (C::*)(A...)> : Signature<R (C::*)(A...) const> {};
template <class R, class... A>
struct Signature<R (*)(A...)> {
  using Result = R;
  using Args = std::tuple<std::decay_t<A>...>;
};

template <class F, size_t... I>
ExportResult invokeWith(F& fn, const ExportCall& call, std::index_sequence<I...>) {
  using Args = typename Signature<F>::Args;
  if constexpr (std::is_void_v<typename Signature<F>::Result>) {
    fn(convertArg<std::tuple_element_t<I, Args>>(call, I)...);
    return {};
  } else {
    return makeResult(fn(convertArg<std::tuple_element_t<I, Args>>(call, I)...));
  }
}

template <class F>
ExportResult invoke(void* callable, const ExportCall& call) {
  constexpr size_t arity = std::tuple_size_v<typename Signature<F>::Args>;
  return invokeWith(*static_cast<F*>(callable), call, std::make_index_sequence<arity>{});
}

}  // namespace export_detail

// The script face of a native object: operations by script name with typed arguments, one
// argument per declared parameter, and read-only properties. `instantiate` makes the object
// for one context; the same table serves every context.
//
//   exports.add("stopAnimation", [this](int64_t id) { animations_->stop(id); });
class ExportTable {
 public:
  struct Operation {
    std::string name;
    ExportResult (*thunk)(void* callable, const ExportCall& call);
    std::shared_ptr<void> callable;
    bool isProperty = false;
  };

  template <class F>
  ExportTable& add(std::string name, F fn) {
    return addOperation(std::move(name), std::move(fn), false);
  }

  // A property that script reads but cannot set; the getter runs at each read.
  template <class F>
  ExportTable& addProperty(std::string name, F getter) {
    return addOperation(std::move(name), std::move(getter), true);
  }

  // A new object of `context` with one function per operation, in table order.
  ScriptValue instantiate(const ScriptContext& context) const;
  // Each operation as a global function of `context`, in table order.
  void installGlobals(const ScriptContext& context) const;

  size_t size() const { return operations_.size(); }

 private:
  template <class F>
  ExportTable& addOperation(std::string name, F fn, bool isProperty) {
    auto op = std::make_shared<Operation>();
    op->name = std::move(name);
    op->thunk = &export_detail::invoke<F>;
    op->callable = std::make_shared<F>(std::move(fn));
    op->isProperty = isProperty;
    operations_.push_back(std::move(op));
    return *this;
  }

  std::vector<std::shared_ptr<const Operation>> operations_;
};

}  // namespace talvero
