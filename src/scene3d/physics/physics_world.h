#pragma once

#include <cstdint>

namespace talvero::scene3d {

// The 3D physics world's place in the engine's life and in each frame. No world exists in
// this build, so each step has no work and returns at once.
void physicsInit();
void physicsShutdown();
void physicsStep(float dt);
void physicsSyncForRender();
// 0: this build simulates no 3D physics.
int creatorHasPhysics();
// The entity whose collider the ray through the view point (x, y) of the open scene's camera
// hits first, points from the top left; 0 for none, and always 0 with no world in this build.
uint32_t raycastView(float x, float y);

}  // namespace talvero::scene3d
