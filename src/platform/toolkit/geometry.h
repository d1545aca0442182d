#pragma once

#include <array>
#include <cstdint>

namespace talvero::toolkit {

// Points with a top-left origin, y growing downwards.
struct Point {
  double x = 0;
  double y = 0;
  bool operator==(const Point&) const = default;
};

struct Size {
  double width = 0;
  double height = 0;
  bool operator==(const Size&) const = default;
};

struct Rect {
  Point origin;
  Size size;

  double x() const { return origin.x; }
  double y() const { return origin.y; }
  double width() const { return size.width; }
  double height() const { return size.height; }
  bool contains(Point p) const {
    return p.x >= origin.x && p.y >= origin.y && p.x < origin.x + size.width &&
           p.y < origin.y + size.height;
  }
  bool operator==(const Rect&) const = default;
};

// Straight (not premultiplied) colour, channels 0 to 1.
struct Color {
  double red = 0;
  double green = 0;
  double blue = 0;
  double alpha = 0;

  // From a colour number 0xRRGGBBAA.
  static Color fromRGBA(uint32_t rgba) {
    return Color{((rgba >> 24) & 0xFF) / 255.0, ((rgba >> 16) & 0xFF) / 255.0,
                 ((rgba >> 8) & 0xFF) / 255.0, (rgba & 0xFF) / 255.0};
  }
  bool operator==(const Color&) const = default;
};

// A 4x4 matrix acting on row vectors (p' = p * M), translation in the last row: the same
// convention as the transforms the style core produces, so the function applied first acts
// first.
struct Transform3D {
  std::array<double, 16> m{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

  static Transform3D identity() { return {}; }
  static Transform3D translation(double x, double y, double z = 0);
  static Transform3D scale(double x, double y, double z = 1);
  static Transform3D rotationZ(double radians);
  // From nine floats in column order of a 2D affine transform (m[0], m[1], m[3], m[4] the
  // linear part, m[6], m[7] the translation).
  static Transform3D fromAffine(const float* nine);

  // this then other: a point goes through this first.
  Transform3D then(const Transform3D& other) const;
  bool isIdentity() const;
  Point apply(Point p) const;
  // False when the matrix cannot be inverted.
  bool invert(Transform3D& out) const;
  bool operator==(const Transform3D&) const = default;
};

}  // namespace talvero::toolkit
