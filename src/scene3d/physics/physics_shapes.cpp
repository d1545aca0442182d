#include <btBulletCollisionCommon.h>

#include <string>
#include <unordered_map>

#include "runtime/log.h"
#include "scene3d/physics/physics_state.h"
#include "scene3d/physics/physics_world.h"

namespace talvero::scene3d {

namespace physics {

namespace {

struct ShapeTable {
  std::unordered_map<uint32_t, Shape> shapes;
  uint32_t nextId = 1;
};

ShapeTable& table() {
  static ShapeTable shapes;
  return shapes;
}

std::shared_ptr<btCollisionShape> bulletShape(const PhysicsShapeSize& s) {
  switch (s.kind) {
    case PhysicsShapeKind::box: {
      // The margin is set after construction so the box keeps its outer size.
      auto box = std::make_shared<btBoxShape>(btVector3(s.halfX, s.halfY, s.halfZ));
      box->setMargin(kConvexRadius);
      return box;
    }
    case PhysicsShapeKind::sphere:
      return std::make_shared<btSphereShape>(s.radius);
    case PhysicsShapeKind::cylinder: {
      auto cylinder =
          std::make_shared<btCylinderShape>(btVector3(s.radius, s.halfHeight, s.radius));
      cylinder->setMargin(kConvexRadius);
      return cylinder;
    }
    case PhysicsShapeKind::capsule:
      return std::make_shared<btCapsuleShape>(s.radius, 2 * s.halfHeight);
  }
  return nullptr;
}

}  // namespace

std::optional<Shape> makeShape(const char* row, const PhysicsShapeSize& size) {
  if (const auto refusal = shapeRefusal(size)) {
    logLine(std::string("[creator-gl] ") + row + ": " + *refusal);
    return std::nullopt;
  }
  return Shape{bulletShape(size), size};
}

const Shape* shapeById(uint32_t id) {
  const auto found = table().shapes.find(id);
  return found == table().shapes.end() ? nullptr : &found->second;
}

void clearShapes() {
  table().shapes.clear();
}

}  // namespace physics

namespace {

uint32_t keepShape(const char* row, const PhysicsShapeSize& size) {
  auto shape = physics::makeShape(row, size);
  if (!shape) return 0;
  auto& table = physics::table();
  const uint32_t id = table.nextId++;
  table.shapes.emplace(id, std::move(*shape));
  return id;
}

}  // namespace

uint32_t physicsBuildBox(float halfX, float halfY, float halfZ) {
  return keepShape("physicsBuildBox",
                   {.kind = PhysicsShapeKind::box, .halfX = halfX, .halfY = halfY, .halfZ = halfZ});
}

uint32_t physicsBuildSphere(float radius) {
  return keepShape("physicsBuildSphere", {.kind = PhysicsShapeKind::sphere, .radius = radius});
}

uint32_t physicsBuildCylinder(float halfHeight, float radius) {
  return keepShape(
      "physicsBuildCylinder",
      {.kind = PhysicsShapeKind::cylinder, .radius = radius, .halfHeight = halfHeight});
}

uint32_t physicsBuildCapsule(float halfHeight, float radius) {
  return keepShape("physicsBuildCapsule",
                   {.kind = PhysicsShapeKind::capsule, .radius = radius, .halfHeight = halfHeight});
}

void physicsDestroyShape(uint32_t shape) {
  physics::table().shapes.erase(shape);
}

}  // namespace talvero::scene3d
