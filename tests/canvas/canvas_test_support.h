#pragma once

#include <cstring>
#include <initializer_list>
#include <limits>
#include <string>
#include <vector>

#include "canvas/replay.h"
#include "canvas/surfaces.h"

namespace talvero::canvas::testing {

inline constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// A canvas program as the script records it: opcodes and arguments in one float array.
struct Program {
  std::vector<float> floats;
  std::vector<std::string> strings;

  Program& op(CanvasOp opcode, std::initializer_list<double> args = {}) {
    return raw(static_cast<double>(opcode), args);
  }
  // Any float as the opcode, so that tests can feed what a faulty script might.
  Program& raw(double opcode, std::initializer_list<double> args = {}) {
    floats.push_back(static_cast<float>(opcode));
    for (double arg : args) floats.push_back(static_cast<float>(arg));
    return *this;
  }
  Program& fill(const std::string& color) { return op(CanvasOp::fillStyle, {str(color)}); }
  double str(const std::string& text) {
    strings.push_back(text);
    return static_cast<double>(strings.size() - 1);
  }
  int64_t rasterize(SurfaceTable& table, int64_t id = 0, double width = 20, double height = 20,
                    double scale = 1) const {
    return table.rasterize(id, width, height, scale, floats, std::ssize(floats), strings);
  }
  // Paints into a new surface of a fresh table and gives its bitmap.
  graphics::BitmapRef paint(double width = 20, double height = 20) const {
    SurfaceTable table;
    return table.surfaceBitmap(rasterize(table, 0, width, height));
  }
};

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

}  // namespace talvero::canvas::testing
