#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace talvero::fuzz {

// The parsers read C strings: a copy of the input always ends in a NUL byte.
inline std::string textOf(const uint8_t* data, size_t size) {
  return std::string(reinterpret_cast<const char*>(data), size);
}

// An invariant the parser must keep; breaking it is reported as a crash.
inline void require(bool condition) {
  if (!condition) __builtin_trap();
}

}  // namespace talvero::fuzz
