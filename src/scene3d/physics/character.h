#pragma once

#include <cstdint>

namespace talvero::scene3d {

// Characters: shapes walked over the physics world by a velocity the script sets, once a frame
// after the fixed steps. Bodies, rays and other characters do not see them. Ids count from 1
// and are never reused. Unknown ids give neutral results, silently.

enum CharacterGroundState : int32_t {
  kOnGround = 0,
  kOnSteepGround = 1,
  kNotSupported = 2,
  kInAir = 3,
};

// At the entity's world pose; 0 when the shape is not in the table. A slope limit not above 0
// is 45°.
uint32_t characterCreate(uint32_t entity, uint32_t shape, float maxSlopeDegrees);
void characterDestroy(uint32_t id);
// The character's own velocity: the world adds nothing to it, gravity included.
void characterSetVelocity(uint32_t id, float x, float y, float z);
void characterGetVelocity(uint32_t id, float* out3);
int32_t characterGetGroundState(uint32_t id);
void characterSetPosition(uint32_t id, float x, float y, float z);

}  // namespace talvero::scene3d
