#include "scene3d/warm_up.h"

#include <filament/Fence.h>
#include <filament/Renderer.h>
#include <filament/SwapChain.h>
#include <filament/View.h>
#include <filament/Viewport.h>

#include <chrono>
#include <string>

#include "runtime/log.h"
#include "scene3d/engine_state.h"
#include "scene3d/report.h"
#include "scene3d/scene_struct.h"
#include "scene3d/scenes.h"

namespace talvero::scene3d {

namespace {

constexpr uint32_t kFallbackWidth = 1170;
constexpr uint32_t kFallbackHeight = 2532;

struct WarmState {
  filament::Renderer* renderer = nullptr;
  filament::SwapChain* swapChain = nullptr;
  filament::View* view = nullptr;
  filament::Viewport savedViewport;
  bool warmSavedCulling = true;
  filament::Fence* fence = nullptr;
  std::chrono::steady_clock::time_point start;
};

WarmState& warm() {
  static WarmState state;
  return state;
}

}  // namespace

void warmCleanup() {
  WarmState& w = warm();
  filament::Engine* engine = state().engine;
  if (w.view) {
    w.view->setFrustumCullingEnabled(w.warmSavedCulling);
    w.view->setViewport(w.savedViewport);
    w.view = nullptr;
  }
  if (engine) {
    if (w.fence) engine->destroy(w.fence);
    if (w.swapChain) engine->destroy(w.swapChain);
    if (w.renderer) engine->destroy(w.renderer);
  }
  w.fence = nullptr;
  w.swapChain = nullptr;
  w.renderer = nullptr;
}

bool warmScene(int64_t scene) {
  filament::Engine* engine = state().engine;
  if (!engine || !checkScene("warmScene", scene)) return false;
  warmCleanup();
  const uint32_t width =
      state().currentViewportWidth ? state().currentViewportWidth : kFallbackWidth;
  const uint32_t height =
      state().currentViewportHeight ? state().currentViewportHeight : kFallbackHeight;
  WarmState& w = warm();
  w.renderer = engine->createRenderer();
  w.renderer->setClearOptions({.clearColor = {0, 0, 0, 0}, .clear = true, .discard = true});
  w.swapChain = engine->createSwapChain(width, height, 0);
  SceneStruct& record = *sceneAt(scene);
  w.view = record.view;
  w.savedViewport = w.view->getViewport();
  w.warmSavedCulling = w.view->isFrustumCullingEnabled();
  w.view->setViewport({0, 0, width, height});
  w.view->setFrustumCullingEnabled(false);
  setVisibleAll(scene, true);
  const size_t renderables = record.scene->getRenderableCount();
  if (!w.renderer->beginFrame(w.swapChain, 0)) {
    setVisibleAll(scene, false);
    logLine("[warmScene] beginFrame failed — nothing warmed");
    warmCleanup();
    return false;
  }
  // The renderer cannot draw a view without a camera; such a scene has nothing to warm.
  if (record.camera) w.renderer->render(w.view);
  w.renderer->endFrame();
  setVisibleAll(scene, false);
  w.start = std::chrono::steady_clock::now();
  logLine("[warmScene] begin: scene " + std::to_string(scene) + ", " + std::to_string(renderables) +
          " renderables, " + std::to_string(width) + "x" + std::to_string(height));
  w.fence = engine->createFence();
  // This engine flushes its command stream through a fence; a zero wait only flushes.
  w.fence->wait(filament::Fence::Mode::FLUSH, 0);
  return true;
}

bool warmSceneReady() {
  WarmState& w = warm();
  filament::Engine* engine = state().engine;
  if (!w.fence || !engine) return true;
  const auto status = w.fence->wait(filament::Fence::Mode::FLUSH, 0);
  if (status == filament::Fence::FenceStatus::TIMEOUT_EXPIRED) return false;
  const auto elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(
                           std::chrono::steady_clock::now() - w.start)
                           .count();
  logLine("[warmScene] complete in " + std::to_string(elapsed) + " ms (status=" +
          (status == filament::Fence::FenceStatus::CONDITION_SATISFIED ? "ok" : "error") + ")");
  warmCleanup();
  return true;
}

}  // namespace talvero::scene3d
