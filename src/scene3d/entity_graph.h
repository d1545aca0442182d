#pragma once

#include <filament/TransformManager.h>
#include <math/mat4.h>
#include <utils/Entity.h>

#include <cstdint>
#include <vector>

namespace talvero::scene3d {

// Helpers of the scene graph's own files.

inline utils::Entity entityOf(uint32_t id) {
  return utils::Entity::import(static_cast<int32_t>(id));
}

// The entity's transform, looked up once; an invalid instance, with the row's one
// "unknown entity" line, for an entity that is dead or has none.
filament::TransformManager::Instance liveTransform(const char* row, uint32_t entity);

// The children in the transform manager's order; none for an entity without a transform.
std::vector<uint32_t> childrenOf(uint32_t entity);
// Every descendant, depth first, each parent before its children.
std::vector<uint32_t> descendants(uint32_t entity);

// The inverse of an affine matrix: the upper 3 × 3 inverted, translation -(inverse × t).
filament::math::mat4f affineInverse(const filament::math::mat4f& matrix);

// After a parent change: when the visibility inherited from the old and new parent differ,
// the child's subtree takes the new one.
void updateVisible(uint32_t child, uint32_t oldParent, uint32_t newParent);

}  // namespace talvero::scene3d
