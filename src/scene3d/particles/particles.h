#pragma once

namespace talvero::scene3d {

// Particle systems' place in each frame. None can be made in this build.
void updateParticles(float dt);

}  // namespace talvero::scene3d
