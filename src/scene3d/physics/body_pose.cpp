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

namespace {

// Polynomials over the only ranges interpolation needs, about 1e-7 from the library's
// functions and several times faster. acos on [0, 1] (Abramowitz and Stegun 4.4.46).
float acosOfUnit(float x) {
  const float p =
      ((((((-0.0012624911f * x + 0.0066700901f) * x - 0.0170881256f) * x + 0.0308918810f) * x -
         0.0501743046f) *
            x +
        0.0889789874f) *
           x -
       0.2145988016f) *
          x +
      1.5707963050f;
  return std::sqrt(1 - x) * p;
}

// Sine and cosine on [0, π/2], by their series to the 11th and 12th powers.
void sinCosOfQuarter(float a, float& sine, float& cosine) {
  const float a2 = a * a;
  sine = a * (1 + a2 * (-1.0f / 6 +
                        a2 * (1.0f / 120 + a2 * (-1.0f / 5040 +
                                                 a2 * (1.0f / 362880 + a2 * (-1.0f / 39916800))))));
  cosine = 1 + a2 * (-0.5f + a2 * (1.0f / 24 +
                                   a2 * (-1.0f / 720 +
                                         a2 * (1.0f / 40320 +
                                               a2 * (-1.0f / 3628800 + a2 * (1.0f / 479001600))))));
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
    // sin((1 - t)ω) / sin ω and sin(tω) / sin ω, with one angle's sine and cosine; ω is at
    // most π/2 once the signs agree.
    const float omega = acosOfUnit(cosOmega);
    const float overSinOmega = 1 / std::sqrt(1 - cosOmega * cosOmega);
    float sinT, cosT;
    sinCosOfQuarter(t * omega, sinT, cosT);
    scaleA = cosT - cosOmega * sinT * overSinOmega;
    scaleB = sign * sinT * overSinOmega;
  }
  Quat q{scaleA * a.x + scaleB * b.x, scaleA * a.y + scaleB * b.y, scaleA * a.z + scaleB * b.z,
         scaleA * a.w + scaleB * b.w};
  const float norm = std::sqrt(dot(q, q));
  if (norm > 0) {
    const float inverse = 1 / norm;
    q = {q.x * inverse, q.y * inverse, q.z * inverse, q.w * inverse};
  }
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

bool finitePose(const Pose& p) {
  for (const float v : {p.position.x, p.position.y, p.position.z, p.rotation.x, p.rotation.y,
                        p.rotation.z, p.rotation.w, p.scale.x, p.scale.y, p.scale.z}) {
    if (!std::isfinite(v)) return false;
  }
  return true;
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
