#pragma once

#include <cstdint>

namespace talvero::scene3d {

// Renders a scene once off screen, everything shown and culling off, so that every material
// variant it needs is compiled before it is opened. Main thread only.

// Starts it: "[warmScene] begin: scene <id>, <n> renderables, <w>x<h>" at the current viewport,
// 1170 × 2532 for a side of 0. False without an engine, for an unknown scene, or when no
// frame could begin ("[warmScene] beginFrame failed — nothing warmed").
bool warmScene(int64_t scene);
// True once the GPU is done with it ("[warmScene] complete in <ms> ms (status=ok)"), and at
// once when no warm-up is in progress; the scene's view is then as it was.
bool warmSceneReady();
// Undoes what a warm-up changed and frees what it made; safe to call at any time.
void warmCleanup();

}  // namespace talvero::scene3d
