#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "platform/script/script_value.h"

namespace talvero {

// Calls `reject` with an `Error` of the function's own context carrying `message`; with no
// usable `Error` constructor there, with the message text itself.
void call_reject(const ScriptValue& reject, const std::string& message);

// `list` is an array of functions: calls each, in index order, with the same arguments.
void call_list(const ScriptValue& list, const std::vector<NativeValue>& args);

// Listener arrays: a missing value, a non-array and an empty array all count as none
// (the empty handle); anything else is returned as it is.
ScriptValue getIfNotEmpty(const ScriptValue& value);

// Calls `object[name](args)` when it is a function; else gives an empty value and reports
// nothing, so an object that lacks an optional method is no error.
ScriptValue invokeIfPresent(const ScriptValue& object, const std::string& name,
                            const std::vector<NativeValue>& args);

// The elements of a typed array, read and written in place during the native call. The
// element count is the byte length over the size of T; null for anything but a typed array.
template <class T>
std::pair<T*, size_t> getArrayPtrLen(const ScriptValue& value) {
  const auto view = value.typedArray();
  if (!view || !view->data) return {nullptr, 0};
  return {static_cast<T*>(view->data), view->byteLength / sizeof(T)};
}

template <class T>
T* getArrayPtr(const ScriptValue& value) {
  return getArrayPtrLen<T>(value).first;
}

}  // namespace talvero
