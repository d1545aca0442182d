#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace talvero::scene3d {

// The one 3D engine of the process, its renderer and swap chain, and the frame loop that
// moves 3D state and draws the open scene. Main thread only.

using UpdateFunction = std::function<void(float dt)>;

// One drawn frame's pixels as the renderer gives them: RGBA, 4 bytes a pixel, the top row first.
struct FramePixels {
  uint32_t width = 0;
  uint32_t height = 0;
  std::vector<uint8_t> rgba;
};
using FramePixelsHandler = std::function<void(FramePixels& pixels)>;

// Builds the engine with the renderer's default backend, after asking the display for GLX:
// without one, "[creator-gl] ERROR: Filament Engine creation failed (GPU/driver unavailable)"
// and no engine. An engine already there is destroyed first, with every scene, material and
// texture. On a software rasterizer every view made later has post-processing off.
void init();
void destroyEngine();
bool hasEngine();
// The backend the engine resolved, as the system reports it: "OpenGL (Filament)", …; before
// any engine the one it will use; "none" once creation failed.
const char* backendName();

// An offscreen swap chain of that size in pixels, and a renderer clearing to (0, 0, 0, 0).
void createSwapChainHeadless(uint32_t width, uint32_t height);
// Swap chain, then renderer.
void destroySwapChain();
// Names the swap chain in place: each one made gets a new number; 0 while there is none. Whoever
// made one compares it to know whether its frames still go there (a new engine or another
// caller may have replaced it).
uint64_t swapChainId();
// False: skip this frame, nothing moves.
bool beginFrame();

void setUpdateFuncs(UpdateFunction early, UpdateFunction late);

// One frame at `timeMs`: with no open scene nothing moves or draws; dt is 0 on the first frame and
// at most 0.05 s; early update, physics, animations, particles, late update, draw, end of
// frame. The caller has had true from `beginFrame`.
void render(int64_t timeMs);
// `render`, with the drawn viewport read back without waiting for it: `onPixels` gets the frame
// on the main thread during a later call into the engine, usually some frames on, or not at
// all when nothing was drawn. It may outlive the caller, so it must hold nothing that can go
// first, and it must not call into the 3D layer.
void renderReadingBack(int64_t timeMs, FramePixelsHandler onPixels);
// `render`, then waits for this frame's own pixels as `render_to_offscreen` does: nothing when no
// frame was drawn or its pixels did not come back.
std::optional<FramePixels> renderAndWaitForPixels(int64_t timeMs);
// Draws the open scene and reads its pixels (RGBA, top row first, as `FramePixels`) into
// `rgba`, which holds width × height × 4 bytes of the view's viewport; waits for them. Only
// GLB animations move; the caller has had true from `beginFrame`.
void render_to_offscreen(int64_t timeMs, uint8_t* rgba);

// The viewport in pixels, the open scene's camera (60° vertical, near 0.01, far 100) and the
// perspective scale handed to materials when it moves by 20 or more.
void setViewport(uint32_t width, uint32_t height);
void setDensityGL(float x, float y);

// For tests and the self-test: the frame loop's clock.
int64_t lastFrameTime();
uint32_t viewportWidth();
uint32_t viewportHeight();
float perspectiveScale();

}  // namespace talvero::scene3d
