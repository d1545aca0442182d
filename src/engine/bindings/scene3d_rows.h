#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

#include "platform/script/script_value.h"

namespace talvero::scene3d_rows {

// Before a working `createEngine` a row logs once and gives its neutral result.
bool engineReady(const char* row);

template <class F, class R, class... A>
auto guarded(const char* row, F fn, R (F::*)(A...) const) {
  return [row, fn = std::move(fn)](A... args) -> R {
    if (!engineReady(row)) return R();
    return fn(std::forward<A>(args)...);
  };
}

// `fn` behind the engine check, with its own parameter types so the table still converts
// each argument as declared.
template <class F>
auto needsEngine(const char* row, F fn) {
  return guarded(row, std::move(fn), &F::operator());
}

template <class R, class... A>
auto needsEngine(const char* row, R (*fn)(A...)) {
  return [row, fn](A... args) -> R {
    if (!engineReady(row)) return R();
    return fn(std::forward<A>(args)...);
  };
}

// The floats of a `Float32Array` of at least `count` elements (0: any length), or null with
// one line for the row and id.
const float* floatsIn(const char* row, int64_t id, const ScriptValue& value, size_t count,
                      size_t* length = nullptr);
// An out array to fill: a `Float32Array` of at least `count` elements, or null with a line.
float* floatsOut(const char* row, int64_t id, const ScriptValue& value, size_t count);
// The elements of a `Uint16Array`, or null with a line.
const uint16_t* indicesIn(const char* row, int64_t id, const ScriptValue& value, size_t* length);

// A native handle as the script sees it: a failure (-1) is 0, the null of every handle.
uint32_t handleOf(int64_t handle);

}  // namespace talvero::scene3d_rows
