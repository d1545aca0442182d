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

// The largest-diagonal method: the biggest of w, x, y, z is taken from the trace first, so
// no division is by a small number.
Quat quaternionOf(const mat3f& m) {
  const float trace = m[0][0] + m[1][1] + m[2][2];
  Quat q;
  if (trace > 0) {
    const float s = std::sqrt(trace + 1) * 2;
    q = {(m[1][2] - m[2][1]) / s, (m[2][0] - m[0][2]) / s, (m[0][1] - m[1][0]) / s, s / 4};
  } else if (m[0][0] > m[1][1] && m[0][0] > m[2][2]) {
    const float s = std::sqrt(1 + m[0][0] - m[1][1] - m[2][2]) * 2;
    q = {s / 4, (m[1][0] + m[0][1]) / s, (m[2][0] + m[0][2]) / s, (m[1][2] - m[2][1]) / s};
  } else if (m[1][1] > m[2][2]) {
    const float s = std::sqrt(1 + m[1][1] - m[0][0] - m[2][2]) * 2;
    q = {(m[1][0] + m[0][1]) / s, s / 4, (m[2][1] + m[1][2]) / s, (m[2][0] - m[0][2]) / s};
  } else {
    const float s = std::sqrt(1 + m[2][2] - m[0][0] - m[1][1]) * 2;
    q = {(m[2][0] + m[0][2]) / s, (m[2][1] + m[1][2]) / s, s / 4, (m[0][1] - m[1][0]) / s};
  }
  if (!std::isfinite(q.x + q.y + q.z + q.w)) return {};
  return q;
}

mat3f rotationMatrix(const Quat& q) {
  const float x = q.x, y = q.y, z = q.z, w = q.w;
  return mat3f{float3{1 - 2 * (y * y + z * z), 2 * (x * y + z * w), 2 * (x * z - y * w)},
               float3{2 * (x * y - z * w), 1 - 2 * (x * x + z * z), 2 * (y * z + x * w)},
               float3{2 * (x * z + y * w), 2 * (y * z - x * w), 1 - 2 * (x * x + y * y)}};
}

float dot(const Quat& a, const Quat& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w;
}

}  // namespace

Quat slerp(const Quat& a, const Quat& b, float t) {
  float cosOmega = dot(a, b);
  float sign = 1;
  if (cosOmega < 0) {
    cosOmega = -cosOmega;
    sign = -1;
  }
  float scaleA = 1 - t, scaleB = sign * t;
  if (1 - cosOmega > 0.0001f) {
    const float omega = std::acos(cosOmega);
    const float sinOmega = std::sin(omega);
    scaleA = std::sin((1 - t) * omega) / sinOmega;
    scaleB = sign * std::sin(t * omega) / sinOmega;
  }
  Quat q{scaleA * a.x + scaleB * b.x, scaleA * a.y + scaleB * b.y, scaleA * a.z + scaleB * b.z,
         scaleA * a.w + scaleB * b.w};
  const float norm = std::sqrt(dot(q, q));
  if (norm > 0) q = {q.x / norm, q.y / norm, q.z / norm, q.w / norm};
  return q;
}

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

void writeWorldTransform(uint32_t entity, const Pose& pose) {
  if (!state().engine) return;
  auto& transforms = state().engine->getTransformManager();
  const auto instance = transforms.getInstance(entityOf(entity));
  if (!instance) return;
  const mat3f rotation = rotationMatrix(pose.rotation);
  const float scale[3] = {pose.scale.x, pose.scale.y, pose.scale.z};
  mat4f matrix;
  for (int column = 0; column < 3; ++column) {
    matrix[column] = float4{rotation[column] * scale[column], 0};
  }
  matrix[3] = float4{pose.position.x, pose.position.y, pose.position.z, 1};
  const auto parent = transforms.getParent(instance);
  if (parent.isNull()) {
    transforms.setTransform(instance, matrix);
    return;
  }
  const auto parentInstance = transforms.getInstance(parent);
  transforms.setTransform(instance,
                          affineInverse(transforms.getWorldTransform(parentInstance)) * matrix);
}

}  // namespace talvero::scene3d::physics
