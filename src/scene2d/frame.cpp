#include <algorithm>

#include "scene2d/internal/renderer.h"
#include "scene2d/scene2d.h"

namespace gpu = talvero::gpu;
using namespace talvero::scene2d;

namespace {

bool g_initialised = false;
double g_lastTime = 0;  // milliseconds; 0 before the first frame
gpu::Target g_target;   // only while c2dRenderGL runs
C2DFrameStats g_stats;

float stepSeconds(double timeMs) {
  double dt = g_lastTime == 0 ? 0 : (timeMs - g_lastTime) / 1000;
  if (!(dt > 0)) dt = 0;  // time going back, or not a number
  if (dt > 0.05) dt = 0.05;
  g_lastTime = timeMs;
  return static_cast<float>(dt);
}

void drawFrame(const Scene2D* scene, const float clearColor[4]) {
  // The device is made at the first need, so a process that never draws never opens one.
  if (!gpu::setup()) return;
  rendererInit();
  const double start = threadCpuSeconds();
  gpu::PassAction action;
  std::copy(clearColor, clearColor + 4, action.clearColor);
  if (!gpu::beginPass(g_target, action)) return;
  RenderCounts counts;
  if (scene) counts = rendererDrawScene(*scene);
  gpu::endPass();
  gpu::commit();
  g_stats.quads = static_cast<int32_t>(g_renderer.vertices.size() / 4);
  g_stats.batches = static_cast<int32_t>(g_renderer.batches.size());
  g_stats.draws = counts.draws;
  g_stats.uploaded = counts.uploaded;
  g_stats.buildSeconds = counts.buildSeconds;
  g_stats.glSeconds = threadCpuSeconds() - start - counts.buildSeconds;
}

}  // namespace

void c2dInitGL() {
  g_initialised = true;
}

void c2dSetViewport(int32_t width, int32_t height) {
  g_viewportW = std::max(width, 1);
  g_viewportH = std::max(height, 1);
}

void c2dSetDensity(float density) {
  g_density = density > 0 ? density : 1;
}

void c2dSetClearColor(float r, float g, float b, float a) {
  g_clearColor[0] = r;
  g_clearColor[1] = g;
  g_clearColor[2] = b;
  g_clearColor[3] = a;
}

void c2dRenderGL(gpu::Target target, double timeMs) {
  g_target = target;
  c2dRender(timeMs);
  g_target = {};
}

void c2dRender(double timeMs) {
  if (!g_initialised) return;
  const float dt = stepSeconds(timeMs);
  c2d_physicsStep(dt);
  c2d_physicsSyncForRender();
  advanceAnimations(dt);

  const Scene2D* scene = liveScene(g_activeScene);
  const float* clearColor = scene && scene->hasClear ? scene->clearColor : g_clearColor;
  g_stats = {};
  drawFrame(scene, clearColor);
  g_stats.capacity = g_renderer.capacity;

  // Events reach the script after the frame is submitted, never during the step.
  flushAnimationEvents();
  c2d_flushPhysicsEvents();
}

int32_t creator2dVersion() {
  return 1;
}

const C2DFrameStats& c2dLastFrameStats() {
  return g_stats;
}
