#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace talvero {

// Property names, keywords, units and layer names are all compared by this hash, never as
// text: FNV-1a over the bytes taken as signed 8-bit values widened to 32 bits.
using PropertyId = uint32_t;

inline constexpr uint32_t kFnvOffsetBasis = 0x811C9DC5u;

constexpr uint32_t fnv1a(const char* text, size_t length) {
  uint32_t hash = kFnvOffsetBasis;
  for (size_t i = 0; i < length; ++i) {
    hash ^= static_cast<uint32_t>(static_cast<int32_t>(static_cast<signed char>(text[i])));
    hash *= 16777619u;
  }
  return hash;
}

constexpr uint32_t fnv1a(std::string_view text) {
  return fnv1a(text.data(), text.size());
}

namespace hash_literals {
constexpr uint32_t operator""_h(const char* text, size_t length) {
  return fnv1a(text, length);
}
}  // namespace hash_literals

}  // namespace talvero
