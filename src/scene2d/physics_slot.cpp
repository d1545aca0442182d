#include "scene2d/scene2d.h"

// No 2D physics world exists in this build: the frame calls these at their places all the same.
void c2d_physicsStep(float) {}
void c2d_physicsSyncForRender() {}
void c2d_flushPhysicsEvents() {}
