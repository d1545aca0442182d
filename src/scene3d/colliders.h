#pragma once

#include <cstdint>
#include <variant>

namespace talvero::scene3d {

// Colliders: a box or a sphere a script files under an entity, in the records of the scene the
// entity is in. One per entity, the last set replacing the one before; they follow the entity
// between scenes and its visibility sets `active`. Nothing queries them yet.

struct BoxCollider {
  float center[3] = {0, 0, 0};
  float halfExtent[3] = {0, 0, 0};
  bool active = true;
};
struct SphereCollider {
  float center[3] = {0, 0, 0};
  float radius = 0;
  bool active = true;
};
using Collider = std::variant<BoxCollider, SphereCollider>;

// A box of that size (not half size) centred at (cx, cy, cz), in the entity's own space.
void setColliderBox(uint32_t entity, float cx, float cy, float cz, float sx, float sy, float sz);
void setColliderSphere(uint32_t entity, float cx, float cy, float cz, float radius);
// Type 0: a box from the axis-aligned bounds of `renderEntity`'s mesh, filed under `entity`.
// Other types do nothing.
void setColliderFromMesh(uint32_t entity, uint32_t renderEntity, uint8_t type);
// The collider filed under the entity in the scene (-1: in no scene); null for none.
const Collider* findCollider(int64_t scene, uint32_t entity);

}  // namespace talvero::scene3d
