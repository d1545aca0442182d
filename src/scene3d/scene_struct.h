#pragma once

#include <filament/Camera.h>
#include <filament/Scene.h>
#include <filament/View.h>

#include <cstdint>
#include <vector>

namespace talvero::scene3d {

// One scene: its view, its camera once attached, and the renderer's scene.
struct SceneStruct {
  filament::View* view = nullptr;
  filament::Camera* camera = nullptr;
  filament::Scene* scene = nullptr;
  uint64_t id = 0;
};

// Every scene, by id; records live until the engine goes.
std::vector<SceneStruct*>& scenes();
SceneStruct* sceneAt(int64_t id);
// Destroys every scene with its view and renderer scene (the engine is going).
void destroyScenes();

}  // namespace talvero::scene3d
