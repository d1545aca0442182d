#include <algorithm>
#include <cmath>

#include "scene2d/internal/tables.h"
#include "scene2d/scene2d.h"

using namespace talvero::scene2d;

namespace {

constexpr float kMinZoom = 0.000001f;
constexpr float kRadiansPerDegree = 0.017453292f;

// The camera's view in world units: half its width and height, and its rotation.
struct CameraFrame {
  float w, h, hw, hh, cos, sin;
};

CameraFrame cameraFrame(const Scene2D& scene) {
  float density = g_density > 0.000001f ? g_density : 1.0f;
  CameraFrame frame;
  frame.w = static_cast<float>(g_viewportW) / density;
  frame.h = static_cast<float>(g_viewportH) / density;
  frame.hw = frame.w * 0.5f / scene.zoom;
  frame.hh = frame.h * 0.5f / scene.zoom;
  frame.cos = std::cos(scene.cameraRotation);
  frame.sin = std::sin(scene.cameraRotation);
  return frame;
}

}  // namespace

int32_t c2dCreateScene() {
  if (g_scenes.empty()) g_scenes.emplace_back();
  Scene2D& scene = g_scenes.emplace_back();
  scene.alive = true;
  return static_cast<int32_t>(g_scenes.size() - 1);
}

void c2dDestroyScene(int32_t scene) {
  if (!liveScene(scene)) return;
  // The slot stays behind, dead, so that the id is never handed out again.
  g_scenes[scene] = Scene2D{};
  if (g_activeScene == scene) g_activeScene = 0;
}

void c2dOpenScene(int32_t scene) {
  if (liveScene(scene)) g_activeScene = scene;
}

void c2dCloseScene() {
  g_activeScene = 0;
}

int32_t c2dActiveScene() {
  return g_activeScene;
}

void c2dSceneSetClearColor(int32_t scene, float r, float g, float b, float a) {
  Scene2D* s = liveScene(scene);
  if (!s) return;
  s->clearColor[0] = r;
  s->clearColor[1] = g;
  s->clearColor[2] = b;
  s->clearColor[3] = a;
  s->hasClear = true;
}

void c2dAddEntityToScene(int32_t scene, int32_t entity) {
  Scene2D* s = liveScene(scene);
  if (!s || !liveEntity(entity)) return;
  if (std::find(s->entities.begin(), s->entities.end(), entity) != s->entities.end()) return;
  s->entities.push_back(entity);
}

void c2dRemoveEntityFromScene(int32_t scene, int32_t entity) {
  Scene2D* s = liveScene(scene);
  if (!s) return;
  std::erase(s->entities, entity);
}

void c2dSetLayerYSort(int32_t scene, int32_t layer, bool on) {
  if (Scene2D* s = liveScene(scene)) s->ySortLayers[layer] = on;
}

void c2dCameraSetPosition(int32_t scene, float x, float y) {
  Scene2D* s = liveScene(scene);
  if (!s) return;
  s->cameraX = x;
  s->cameraY = y;
}

void c2dCameraSetZoom(int32_t scene, float zoom) {
  // Written so that NaN fails the comparison and lands on the floor too.
  if (Scene2D* s = liveScene(scene)) s->zoom = zoom >= kMinZoom ? zoom : kMinZoom;
}

void c2dCameraSetRotation(int32_t scene, float degrees) {
  if (Scene2D* s = liveScene(scene)) s->cameraRotation = degrees * kRadiansPerDegree;
}

void c2dCameraScreenToWorld(int32_t scene, float x, float y, float out[2]) {
  out[0] = 0;
  out[1] = 0;
  const Scene2D* s = liveScene(scene);
  if (!s) return;
  CameraFrame f = cameraFrame(*s);
  float rx = (2 * x / f.w - 1) * f.hw;
  float ry = (1 - 2 * y / f.h) * f.hh;
  out[0] = s->cameraX + f.cos * rx - f.sin * ry;
  out[1] = s->cameraY + f.sin * rx + f.cos * ry;
}

void c2dCameraWorldToScreen(int32_t scene, float x, float y, float out[2]) {
  out[0] = 0;
  out[1] = 0;
  const Scene2D* s = liveScene(scene);
  if (!s) return;
  CameraFrame f = cameraFrame(*s);
  float dx = x - s->cameraX;
  float dy = y - s->cameraY;
  float nx = (f.cos * dx + f.sin * dy) / f.hw;
  float ny = (-f.sin * dx + f.cos * dy) / f.hh;
  out[0] = f.w * (nx + 1) / 2;
  out[1] = f.h * (1 - ny) / 2;
}
