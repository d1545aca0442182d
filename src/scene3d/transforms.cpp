#include <filament/TransformManager.h>
#include <filament/Viewport.h>
#include <math/mat3.h>
#include <math/mat4.h>
#include <math/quat.h>

#include <cmath>
#include <cstring>

#include "scene3d/engine_state.h"
#include "scene3d/entity_graph.h"
#include "scene3d/report.h"
#include "scene3d/scene_struct.h"
#include "scene3d/scenes.h"

namespace talvero::scene3d {

using filament::math::float3;
using filament::math::float4;
using filament::math::mat3f;
using filament::math::mat4f;

namespace {

filament::TransformManager& transforms() {
  return state().engine->getTransformManager();
}

void copyOut(const mat4f& matrix, float* out) {
  std::memcpy(out, &matrix[0][0], 16 * sizeof(float));
}

// Writes `rotation`'s columns into the local transform, each at the length its column had, so
// scale and translation stay.
void setRotation(filament::TransformManager::Instance instance, const mat3f& rotation) {
  mat4f local = transforms().getTransform(instance);
  for (int column = 0; column < 3; ++column) {
    const float scale = length(local[column].xyz);
    local[column].xyz = rotation[column] * scale;
  }
  transforms().setTransform(instance, local);
}

mat3f rotationX(float angle) {
  const float c = std::cos(angle), s = std::sin(angle);
  return mat3f{float3{1, 0, 0}, float3{0, c, s}, float3{0, -s, c}};
}
mat3f rotationY(float angle) {
  const float c = std::cos(angle), s = std::sin(angle);
  return mat3f{float3{c, 0, -s}, float3{0, 1, 0}, float3{s, 0, c}};
}
mat3f rotationZ(float angle) {
  const float c = std::cos(angle), s = std::sin(angle);
  return mat3f{float3{c, s, 0}, float3{-s, c, 0}, float3{0, 0, 1}};
}

}  // namespace

mat4f affineInverse(const mat4f& matrix) {
  const mat3f upper = inverse(matrix.upperLeft());
  const float3 translation = -(upper * matrix[3].xyz);
  return mat4f{float4{upper[0], 0}, float4{upper[1], 0}, float4{upper[2], 0},
               float4{translation, 1}};
}

void setMatrix(uint32_t entity, const float* matrix) {
  const auto instance = liveTransform("setMatrix", entity);
  if (!instance) return;
  mat4f local;
  std::memcpy(&local[0][0], matrix, 16 * sizeof(float));
  transforms().setTransform(instance, local);
}

void getMatrix(uint32_t entity, float* out) {
  if (const auto instance = liveTransform("getMatrix", entity)) {
    copyOut(transforms().getTransform(instance), out);
  }
}

void getWorldMatrix(uint32_t entity, float* out) {
  if (const auto instance = liveTransform("getWorldMatrix", entity)) {
    copyOut(transforms().getWorldTransform(instance), out);
  }
}

void getWorldMatrixInverse(uint32_t entity, float* out) {
  if (const auto instance = liveTransform("getWorldMatrixInverse", entity)) {
    copyOut(affineInverse(transforms().getWorldTransform(instance)), out);
  }
}

void getWorldPosition(uint32_t entity, float* out) {
  const auto instance = liveTransform("getWorldPosition", entity);
  if (!instance) return;
  const float3 position = transforms().getWorldTransform(instance)[3].xyz;
  std::memcpy(out, &position[0], 3 * sizeof(float));
}

void getWorldDirection(uint32_t entity, int axis, float* out) {
  const auto instance = liveTransform("getWorldDirection", entity);
  if (!instance) return;
  if (axis < 0 || axis > 3) {
    reportOnce("getWorldDirection", axis, "axis " + std::to_string(axis) + " is not 0 to 3");
    return;
  }
  const float3 direction = transforms().getWorldTransform(instance)[axis].xyz;
  std::memcpy(out, &direction[0], 3 * sizeof(float));
}

void getCameraViewDirection(int64_t scene, float x, float y, float* out) {
  if (!checkScene("getCameraViewDirection", scene)) return;
  const SceneStruct& record = *sceneAt(scene);
  if (!record.camera) {
    reportOnce("getCameraViewDirection", scene,
               "scene " + std::to_string(scene) + " has no camera");
    return;
  }
  const filament::Viewport& viewport = record.view->getViewport();
  const float width = static_cast<float>(viewport.width);
  const float height = static_cast<float>(viewport.height);
  if (width <= 0 || height <= 0) return;
  const float px = x * state().densityX - static_cast<float>(viewport.left);
  const float py = y * state().densityY - static_cast<float>(viewport.bottom);
  const float nx = 2 * px / width - 1;
  const float ny = 1 - 2 * py / height;
  const float fov =
      static_cast<float>(record.camera->getFieldOfViewInDegrees(filament::Camera::Fov::VERTICAL));
  const float t = std::tan(fov * 3.1415927f / 360);
  const float cx = width / height * t * nx;
  const float cy = t * ny;
  const float s = 1 / std::sqrt(cx * cx + cy * cy + 1);
  const mat4f camera = record.camera->getModelMatrix();
  const float3 direction =
      camera[0].xyz * (cx * s) + camera[1].xyz * (cy * s) + camera[2].xyz * (-s);
  std::memcpy(out, &direction[0], 3 * sizeof(float));
}

void setPosition(uint32_t entity, float x, float y, float z) {
  const auto instance = liveTransform("setPosition", entity);
  if (!instance) return;
  mat4f local = transforms().getTransform(instance);
  local[3] = float4{x, y, z, local[3].w};
  transforms().setTransform(instance, local);
}

void setScale(uint32_t entity, float x, float y, float z) {
  const auto instance = liveTransform("setScale", entity);
  if (!instance) return;
  mat4f local = transforms().getTransform(instance);
  const float3 lengths{length(local[0].xyz), length(local[1].xyz), length(local[2].xyz)};
  if (lengths.x == 0 || lengths.y == 0 || lengths.z == 0) return;
  const float3 scale{x, y, z};
  for (int column = 0; column < 3; ++column) {
    local[column].xyz *= scale[column] / lengths[column];
  }
  transforms().setTransform(instance, local);
}

void setQuaternion(uint32_t entity, float x, float y, float z, float w) {
  const auto instance = liveTransform("setQuaternion", entity);
  if (!instance) return;
  const filament::math::quatf rotation = normalize(filament::math::quatf{w, x, y, z});
  setRotation(instance, mat3f(rotation));
}

void setEulerAngles(uint32_t entity, float a, float b, float c, int order) {
  const auto instance = liveTransform("setEulerAngles", entity);
  if (!instance) return;
  constexpr float kRadians = 0.017453292f;
  const mat3f rx = rotationX(a * kRadians);
  const mat3f ry = rotationY(b * kRadians);
  const mat3f rz = rotationZ(c * kRadians);
  mat3f product;
  switch (order) {
    case 1:
      product = ry * rx * rz;
      break;
    case 2:
      product = rz * rx * ry;
      break;
    case 3:
      product = rz * ry * rx;
      break;
    case 4:
      product = rx * rz * ry;
      break;
    default:  // 0, and 5, which names the same order
      product = rx * ry * rz;
      break;
  }
  setRotation(instance, transpose(product));
}

}  // namespace talvero::scene3d
