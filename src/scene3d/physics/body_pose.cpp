#include <filament/TransformManager.h>
#include <math/mat3.h>
#include <math/mat4.h>

#include <cmath>

#include "scene3d/engine_state.h"
#include "scene3d/entity_graph.h"
#include "scene3d/physics/physics_state.h"

namespace talvero::scene3d::physics {

using filament::math::float3;
using filament::math::float4;
using filament::math::mat3f;
using filament::math::mat4f;

namespace {

// Rotation × scale and the position, written straight into the matrix's columns.
mat4f poseMatrix(const Pose& pose) {
  const Quat& q = pose.rotation;
  const float x = q.x, y = q.y, z = q.z, w = q.w;
  const float sx = pose.scale.x, sy = pose.scale.y, sz = pose.scale.z;
  mat4f m;
  m[0] =
      float4{(1 - 2 * (y * y + z * z)) * sx, 2 * (x * y + z * w) * sx, 2 * (x * z - y * w) * sx, 0};
  m[1] =
      float4{2 * (x * y - z * w) * sy, (1 - 2 * (x * x + z * z)) * sy, 2 * (y * z + x * w) * sy, 0};
  m[2] =
      float4{2 * (x * z + y * w) * sz, 2 * (y * z - x * w) * sz, (1 - 2 * (x * x + y * y)) * sz, 0};
  m[3] = float4{pose.position.x, pose.position.y, pose.position.z, 1};
  return m;
}

}  // namespace

Pose entityPose(uint32_t entity) {
  Pose pose;
  if (!state().engine) return pose;
  auto& transforms = state().engine->getTransformManager();
  const auto instance = transforms.getInstance(entityOf(entity));
  if (!instance) return pose;
  const mat4f world = transforms.getWorldTransform(instance);
  pose.position = {world[3].x, world[3].y, world[3].z};
  mat3f rotation;
  float lengths[3];
  for (int column = 0; column < 3; ++column) {
    lengths[column] = length(world[column].xyz);
    rotation[column] = lengths[column] > 0 ? world[column].xyz / lengths[column] : float3{0};
  }
  pose.scale = {lengths[0], lengths[1], lengths[2]};
  pose.rotation = quaternionOf(rotation);
  return pose;
}

bool finitePose(const Pose& p) {
  return allFinite({p.position.x, p.position.y, p.position.z, p.rotation.x, p.rotation.y,
                    p.rotation.z, p.rotation.w, p.scale.x, p.scale.y, p.scale.z});
}

filament::TransformManager* transformsOrNull() {
  return state().engine ? &state().engine->getTransformManager() : nullptr;
}

void writeWorldTransform(filament::TransformManager& transforms, uint32_t entity,
                         const Pose& pose) {
  const auto instance = transforms.getInstance(entityOf(entity));
  if (!instance) return;
  const mat4f matrix = poseMatrix(pose);
  const auto parent = transforms.getParent(instance);
  if (parent.isNull()) {
    transforms.setTransform(instance, matrix);
    return;
  }
  const auto parentInstance = transforms.getInstance(parent);
  transforms.setTransform(instance,
                          affineInverse(transforms.getWorldTransform(parentInstance)) * matrix);
}

void writeWorldTransform(uint32_t entity, const Pose& pose) {
  if (filament::TransformManager* transforms = transformsOrNull()) {
    writeWorldTransform(*transforms, entity, pose);
  }
}

}  // namespace talvero::scene3d::physics
