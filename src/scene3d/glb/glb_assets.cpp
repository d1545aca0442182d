#include "scene3d/glb/glb_assets.h"

namespace talvero::scene3d {

void applyGlbAnimations(float) {}
void destroyGlbResources() {}

}  // namespace talvero::scene3d
