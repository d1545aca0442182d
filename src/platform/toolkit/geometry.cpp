#include "platform/toolkit/geometry.h"

#include <cmath>

namespace talvero::toolkit {

Transform3D Transform3D::translation(double x, double y, double z) {
  Transform3D t;
  t.m[12] = x;
  t.m[13] = y;
  t.m[14] = z;
  return t;
}

Transform3D Transform3D::scale(double x, double y, double z) {
  Transform3D t;
  t.m[0] = x;
  t.m[5] = y;
  t.m[10] = z;
  return t;
}

Transform3D Transform3D::rotationZ(double radians) {
  Transform3D t;
  const double c = std::cos(radians);
  const double s = std::sin(radians);
  t.m[0] = c;
  t.m[1] = s;
  t.m[4] = -s;
  t.m[5] = c;
  return t;
}

Transform3D Transform3D::fromAffine(const float* nine) {
  Transform3D t;
  t.m[0] = nine[0];
  t.m[1] = nine[1];
  t.m[4] = nine[3];
  t.m[5] = nine[4];
  t.m[12] = nine[6];
  t.m[13] = nine[7];
  return t;
}

Transform3D Transform3D::then(const Transform3D& other) const {
  Transform3D out;
  for (int row = 0; row < 4; ++row) {
    for (int column = 0; column < 4; ++column) {
      double sum = 0;
      for (int k = 0; k < 4; ++k) sum += m[row * 4 + k] * other.m[k * 4 + column];
      out.m[row * 4 + column] = sum;
    }
  }
  return out;
}

bool Transform3D::isIdentity() const {
  return *this == Transform3D();
}

Point Transform3D::apply(Point p) const {
  const double x = p.x * m[0] + p.y * m[4] + m[12];
  const double y = p.x * m[1] + p.y * m[5] + m[13];
  const double w = p.x * m[3] + p.y * m[7] + m[15];
  return w != 0 && w != 1 ? Point{x / w, y / w} : Point{x, y};
}

// Gauss-Jordan elimination with partial pivoting.
bool Transform3D::invert(Transform3D& out) const {
  double a[4][8];
  for (int row = 0; row < 4; ++row) {
    for (int column = 0; column < 4; ++column) {
      a[row][column] = m[row * 4 + column];
      a[row][column + 4] = row == column ? 1 : 0;
    }
  }
  for (int column = 0; column < 4; ++column) {
    int pivot = column;
    for (int row = column + 1; row < 4; ++row) {
      if (std::abs(a[row][column]) > std::abs(a[pivot][column])) pivot = row;
    }
    if (std::abs(a[pivot][column]) < 1e-12) return false;
    if (pivot != column) {
      for (int k = 0; k < 8; ++k) std::swap(a[pivot][k], a[column][k]);
    }
    const double scale = a[column][column];
    for (int k = 0; k < 8; ++k) a[column][k] /= scale;
    for (int row = 0; row < 4; ++row) {
      if (row == column) continue;
      const double factor = a[row][column];
      for (int k = 0; k < 8; ++k) a[row][k] -= factor * a[column][k];
    }
  }
  for (int row = 0; row < 4; ++row) {
    for (int column = 0; column < 4; ++column) out.m[row * 4 + column] = a[row][column + 4];
  }
  return true;
}

}  // namespace talvero::toolkit
