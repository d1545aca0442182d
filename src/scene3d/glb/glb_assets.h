#pragma once

namespace talvero::scene3d {

// GLB assets' place in each frame and in the engine's end. No asset can be loaded in this
// build, so there is nothing to animate or free.
void applyGlbAnimations(float dt);
void destroyGlbResources();

}  // namespace talvero::scene3d
