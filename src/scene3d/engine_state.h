#pragma once

#include <filament/Engine.h>
#include <filament/Renderer.h>
#include <filament/SwapChain.h>
#include <utils/NameComponentManager.h>

#include <cstdint>
#include <memory>

#include "scene3d/frame_loop.h"

namespace talvero::scene3d {

struct SceneStruct;

// The process-wide state of the 3D layer; only its own files see it.
struct EngineState {
  filament::Engine* engine = nullptr;
  std::unique_ptr<utils::NameComponentManager> ncm;
  filament::Renderer* renderer = nullptr;
  filament::SwapChain* swapChain = nullptr;
  uint64_t swapChainId = 0;  // 0 with no swap chain
  uint64_t swapChainsMade = 0;
  SceneStruct* currentScene = nullptr;
  int64_t lastTime = 0;
  uint32_t currentViewportWidth = 0;
  uint32_t currentViewportHeight = 0;
  float densityX = 1;
  float densityY = 1;
  float lastPerspScale = 0;
  bool postProcessing = true;
  bool creationFailed = false;  // the last `init` made no engine
  uint64_t generation = 0;      // counts `init`s: a frame notices a replaced engine
  // Defaults of new meshes.
  bool castShadowsGlobal = true;
  bool receiveShadowsGlobal = true;
  UpdateFunction earlyUpdate;
  UpdateFunction lateUpdate;
};

EngineState& state();

}  // namespace talvero::scene3d
