#include "scene3d/scenes.h"

#include <filament/TransformManager.h>
#include <filament/Viewport.h>
#include <math/mat4.h>
#include <utils/Entity.h>
#include <utils/EntityManager.h>

#include "scene3d/engine_state.h"
#include "scene3d/scene_struct.h"

namespace talvero::scene3d {

using filament::math::float3;
using filament::math::mat4f;

std::vector<SceneStruct*>& scenes() {
  static std::vector<SceneStruct*> table;
  return table;
}

SceneStruct* sceneAt(int64_t id) {
  if (id < 0 || id >= static_cast<int64_t>(scenes().size())) return nullptr;
  return scenes()[static_cast<size_t>(id)];
}

void destroyScenes() {
  filament::Engine* engine = state().engine;
  for (SceneStruct* record : scenes()) {
    if (engine) {
      if (record->camera) engine->destroyCameraComponent(record->camera->getEntity());
      engine->destroy(record->view);
      engine->destroy(record->scene);
    }
    delete record;
  }
  scenes().clear();
  state().currentScene = nullptr;
}

int64_t createScene() {
  filament::Engine* engine = state().engine;
  if (!engine) return -1;
  auto* record = new SceneStruct;
  record->view = engine->createView();
  record->scene = engine->createScene();
  record->view->setScene(record->scene);
  record->view->setPostProcessingEnabled(state().postProcessing);
  record->id = scenes().size();
  scenes().push_back(record);
  return static_cast<int64_t>(record->id);
}

int64_t sceneCount() {
  return static_cast<int64_t>(scenes().size());
}

void attachCameraToScene(int64_t scene, uint32_t entity) {
  SceneStruct* record = sceneAt(scene);
  filament::Engine* engine = state().engine;
  if (!record || !engine) return;
  record->camera = engine->createCamera(utils::Entity::import(static_cast<int>(entity)));
  record->view->setCamera(record->camera);
}

void openScene(int64_t scene) {
  SceneStruct* record = sceneAt(scene);
  if (!record) return;
  state().currentScene = record;
  record->view->setScene(record->scene);
  record->view->setViewport(
      {0, 0, state().currentViewportWidth, state().currentViewportHeight});
}

void closeScene() {
  state().currentScene = nullptr;
}

int64_t openSceneId() {
  const SceneStruct* current = state().currentScene;
  return current ? static_cast<int64_t>(current->id) : -1;
}

uint32_t createEntity() {
  filament::Engine* engine = state().engine;
  if (!engine) return 0;
  const utils::Entity entity = utils::EntityManager::get().create();
  engine->getTransformManager().create(entity);
  return entity.getId();
}

void addEntityToScene(int64_t scene, uint32_t entity) {
  if (SceneStruct* record = sceneAt(scene)) {
    record->scene->addEntity(utils::Entity::import(static_cast<int>(entity)));
  }
}

bool isEntityInScene(int64_t scene, uint32_t entity) {
  const SceneStruct* record = sceneAt(scene);
  return record && record->scene->hasEntity(utils::Entity::import(static_cast<int>(entity)));
}

void setPosition(uint32_t entity, float x, float y, float z) {
  filament::Engine* engine = state().engine;
  if (!engine) return;
  auto& transforms = engine->getTransformManager();
  const auto instance = transforms.getInstance(utils::Entity::import(static_cast<int>(entity)));
  if (!instance) return;
  mat4f local = transforms.getTransform(instance);
  local[3] = {x, y, z, 1};
  transforms.setTransform(instance, local);
}

}  // namespace talvero::scene3d
