#pragma once

namespace talvero::scene3d {

// The 3D physics world's place in the engine's life and in each frame. No world exists in
// this build, so each step has no work and returns at once.
void physicsInit();
void physicsShutdown();
void physicsStep(float dt);
void physicsSyncForRender();
// 0: this build simulates no 3D physics.
int creatorHasPhysics();

}  // namespace talvero::scene3d
