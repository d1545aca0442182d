#include "scene3d/physics/shape_rules.h"

#include <cmath>
#include <numbers>

namespace talvero::scene3d {

namespace {

bool allFinite(const PhysicsShapeSize& s) {
  for (const float value : {s.halfX, s.halfY, s.halfZ, s.radius, s.halfHeight}) {
    if (!std::isfinite(value)) return false;
  }
  return true;
}

constexpr double kPi = std::numbers::pi;

}  // namespace

std::optional<std::string> shapeRefusal(const PhysicsShapeSize& s) {
  if (!allFinite(s)) return "sizes must be finite";
  switch (s.kind) {
    case PhysicsShapeKind::box:
      if (!(s.halfX > kConvexRadius && s.halfY > kConvexRadius && s.halfZ > kConvexRadius)) {
        return "a box needs half extents above 0.05";
      }
      return std::nullopt;
    case PhysicsShapeKind::sphere:
      if (!(s.radius > 0)) return "a sphere needs a radius above 0";
      return std::nullopt;
    case PhysicsShapeKind::cylinder:
      if (!(s.halfHeight >= kConvexRadius && s.radius >= kConvexRadius)) {
        return "a cylinder needs a half height and a radius of at least 0.05";
      }
      return std::nullopt;
    case PhysicsShapeKind::capsule:
      if (!(s.radius > 0)) return "a capsule needs a radius above 0";
      if (!(s.halfHeight >= 0)) return "a capsule needs a half height of at least 0";
      return std::nullopt;
  }
  return "unknown shape";
}

double shapeVolume(const PhysicsShapeSize& s) {
  const double r = s.radius, h = s.halfHeight;
  switch (s.kind) {
    case PhysicsShapeKind::box:
      return 8.0 * s.halfX * s.halfY * s.halfZ;
    case PhysicsShapeKind::sphere:
      return 4.0 / 3.0 * kPi * r * r * r;
    case PhysicsShapeKind::cylinder:
      return kPi * r * r * 2 * h;
    case PhysicsShapeKind::capsule:
      return kPi * r * r * 2 * h + 4.0 / 3.0 * kPi * r * r * r;
  }
  return 0;
}

MassProperties solidMassProperties(const PhysicsShapeSize& s, double mass) {
  const double volume = shapeVolume(s);
  const double density = mass > 0 && volume > 0 ? mass / volume : kDefaultDensity;
  MassProperties out;
  out.mass = density * volume;
  const double m = out.mass, r = s.radius, h = s.halfHeight;
  switch (s.kind) {
    case PhysicsShapeKind::box: {
      const double x2 = double(s.halfX) * s.halfX, y2 = double(s.halfY) * s.halfY,
                   z2 = double(s.halfZ) * s.halfZ;
      out.inertia[0] = m / 3 * (y2 + z2);
      out.inertia[1] = m / 3 * (x2 + z2);
      out.inertia[2] = m / 3 * (x2 + y2);
      break;
    }
    case PhysicsShapeKind::sphere:
      out.inertia[0] = out.inertia[1] = out.inertia[2] = 0.4 * m * r * r;
      break;
    case PhysicsShapeKind::cylinder:
      out.inertia[1] = 0.5 * m * r * r;
      out.inertia[0] = out.inertia[2] = m * (3 * r * r + 4 * h * h) / 12;
      break;
    case PhysicsShapeKind::capsule: {
      // The cylinder and the two half spheres, each hemisphere's centre of mass 3r/8 from its
      // flat face, moved out to the capsule's centre.
      const double cylinder = density * kPi * r * r * 2 * h;
      const double spheres = density * 4.0 / 3.0 * kPi * r * r * r;
      out.inertia[1] = cylinder * r * r / 2 + spheres * 0.4 * r * r;
      out.inertia[0] = out.inertia[2] =
          cylinder * (3 * r * r + 4 * h * h) / 12 + spheres * (0.4 * r * r + h * h + 0.75 * h * r);
      break;
    }
  }
  return out;
}

}  // namespace talvero::scene3d
