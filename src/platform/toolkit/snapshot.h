#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/toolkit/view.h"

namespace talvero::toolkit {

// Straight RGBA pixels, rows top to bottom.
struct Bitmap {
  int width = 0;
  int height = 0;
  std::vector<uint8_t> rgba;

  const uint8_t* pixel(int x, int y) const {
    return &rgba[(static_cast<size_t>(y) * width + x) * 4];
  }
};

// Renders a view and its subtree at its bounds' size into a bitmap, with or without a window.
// Subviews that are native widgets (text fields, scroll views) appear only when on screen.
Bitmap renderView(View& view);
// PNG of the bitmap; false when the file cannot be written.
bool writePng(const Bitmap& bitmap, const std::string& path);
// The bytes of a PNG file of the bitmap; empty for an empty bitmap.
std::vector<uint8_t> encodePng(const Bitmap& bitmap);

}  // namespace talvero::toolkit
