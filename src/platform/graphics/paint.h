#pragma once

#include <variant>
#include <vector>

namespace talvero::graphics {

// Components from 0 to 1, straight alpha.
struct Color {
  double red = 0;
  double green = 0;
  double blue = 0;
  double alpha = 1;
};

// What a gradient shows outside the span of its stops.
enum class Extend { Pad, None, Reflect, Repeat };

struct GradientStop {
  double offset = 0;  // 0 to 1 along the gradient
  Color color;
};

// Coordinates are in the user space current when the gradient paints, as a canvas's are.
struct Gradient {
  enum class Kind { Linear, Radial };
  Kind kind = Kind::Linear;
  // Linear: from (x0, y0) to (x1, y1). Radial: from the circle (x0, y0, r0) to (x1, y1, r1).
  double x0 = 0, y0 = 0, r0 = 0;
  double x1 = 0, y1 = 0, r1 = 0;
  std::vector<GradientStop> stops;
  Extend extend = Extend::Pad;
};

using Paint = std::variant<Color, Gradient>;

}  // namespace talvero::graphics
