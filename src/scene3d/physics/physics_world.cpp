#include "scene3d/physics/physics_world.h"

namespace talvero::scene3d {

void physicsInit() {}
void physicsShutdown() {}
void physicsStep(float) {}
void physicsSyncForRender() {}

int creatorHasPhysics() {
  return 0;
}

uint32_t raycastView(float, float) {
  return 0;
}

}  // namespace talvero::scene3d
