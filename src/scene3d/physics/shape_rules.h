#pragma once

#include <optional>
#include <string>

namespace talvero::scene3d {

// The four convex shapes of 3D bodies and characters. Cylinders and capsules stand along y;
// a capsule's half height is that of its cylinder part.
enum class PhysicsShapeKind { box, sphere, cylinder, capsule };

struct PhysicsShapeSize {
  PhysicsShapeKind kind = PhysicsShapeKind::box;
  float halfX = 0, halfY = 0, halfZ = 0;  // box
  float radius = 0;                       // sphere, cylinder, capsule
  float halfHeight = 0;                   // cylinder, capsule
};

// Boxes and cylinders keep a rounded margin of this size inside their outer size.
inline constexpr float kConvexRadius = 0.05f;
// What a body weighs per cubic metre when the script gives it no mass.
inline constexpr double kDefaultDensity = 1000;

// Why the shape cannot be built, for a log line; nothing when it can. Sizes too small for the
// margin, radii not above 0, a negative capsule height and any number that is not finite are
// refused.
std::optional<std::string> shapeRefusal(const PhysicsShapeSize& shape);

double shapeVolume(const PhysicsShapeSize& shape);

// Mass and principal moments of inertia about x, y and z of the solid shape.
struct MassProperties {
  double mass = 0;
  double inertia[3] = {};
};

// For `mass` above 0 the shape weighs that; otherwise it weighs kDefaultDensity × volume.
MassProperties solidMassProperties(const PhysicsShapeSize& shape, double mass);

}  // namespace talvero::scene3d
