#include "scene3d/particles/particles.h"

namespace talvero::scene3d {

void updateParticles(float) {}

}  // namespace talvero::scene3d
