// Characters are being built; until they land, creating one says so and gives 0.
#include "runtime/log.h"
#include "scene3d/physics/character.h"
#include "scene3d/physics/physics_state.h"

namespace talvero::scene3d {

namespace physics {
void updateCharacters(float) {}
void destroyCharacters() {}
}  // namespace physics

uint32_t characterCreate(uint32_t, uint32_t, float) {
  logLine("[creator-gl] characterCreate: characters are not built yet");
  return 0;
}
void characterDestroy(uint32_t) {}
void characterSetVelocity(uint32_t, float, float, float) {}
void characterGetVelocity(uint32_t, float* out3) {
  out3[0] = out3[1] = out3[2] = 0;
}
int32_t characterGetGroundState(uint32_t) {
  return kInAir;
}
void characterSetPosition(uint32_t, float, float, float) {}

}  // namespace talvero::scene3d
