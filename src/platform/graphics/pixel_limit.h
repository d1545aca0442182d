#pragma once

#include <cstdint>

namespace talvero::graphics {

// Every bitmap we make, drawn or decoded, stays within these bounds; beyond them nothing is
// allocated, so a hostile size in a file or a script cannot exhaust memory.
inline constexpr int64_t kMaxPixelsPerSide = 16384;
inline constexpr int64_t kMaxPixels = 67108864;  // 8192 × 8192, 256 MiB at 4 bytes a pixel

inline constexpr bool fitsPixelLimit(int64_t width, int64_t height) {
  return width >= 1 && height >= 1 && width <= kMaxPixelsPerSide && height <= kMaxPixelsPerSide &&
         width * height <= kMaxPixels;
}

}  // namespace talvero::graphics
