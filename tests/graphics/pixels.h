#pragma once

#include <cstdint>
#include <cstring>

#include "platform/graphics/bitmap.h"

namespace talvero::testing {

struct Argb {
  int a, r, g, b;  // premultiplied, as stored
};

inline Argb pixelAt(const graphics::Bitmap& bitmap, int x, int y) {
  uint32_t word;
  std::memcpy(&word, bitmap.data() + y * bitmap.stride() + x * 4, 4);
  return {int(word >> 24), int(word >> 16 & 0xff), int(word >> 8 & 0xff), int(word & 0xff)};
}

inline bool isOpaqueRed(Argb p) {
  return p.a == 255 && p.r == 255 && p.g == 0 && p.b == 0;
}

}  // namespace talvero::testing
