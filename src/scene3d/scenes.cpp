#include "scene3d/scenes.h"

#include <filament/RenderableManager.h>
#include <filament/Skybox.h>
#include <filament/TransformManager.h>
#include <filament/Viewport.h>
#include <math/mat4.h>
#include <utils/Entity.h>
#include <utils/EntityManager.h>

#include <vector>

#include "scene3d/engine_state.h"
#include "scene3d/entity_graph.h"
#include "scene3d/glb/glb_assets.h"
#include "scene3d/report.h"
#include "scene3d/scene_struct.h"

namespace talvero::scene3d {

using filament::math::mat4f;

std::vector<SceneStruct*>& scenes() {
  static std::vector<SceneStruct*> table;
  return table;
}

SceneStruct* sceneAt(int64_t id) {
  if (id < 0 || id >= static_cast<int64_t>(scenes().size())) return nullptr;
  return scenes()[static_cast<size_t>(id)];
}

SceneStruct& nullScene() {
  static SceneStruct none;
  return none;
}

std::unordered_set<uint32_t>& hiddenEntities() {
  static std::unordered_set<uint32_t> hidden;
  return hidden;
}

SceneStruct& getScene(uint32_t entity) {
  for (SceneStruct* record : scenes()) {
    if (record->scene->hasEntity(entityOf(entity))) return *record;
  }
  return nullScene();
}

void destroyScenes() {
  filament::Engine* engine = state().engine;
  for (SceneStruct* record : scenes()) {
    if (engine) {
      if (record->camera) engine->destroyCameraComponent(record->camera->getEntity());
      engine->destroy(record->view);
      engine->destroy(record->skybox);
      engine->destroy(record->scene);
    }
    delete record;
  }
  scenes().clear();
  nullScene() = SceneStruct();
  hiddenEntities().clear();
  state().currentScene = nullptr;
}

void move_elements(uint32_t entity, SceneStruct& from, SceneStruct& to) {
  if (&from == &to) return;
  auto move = [entity](auto& source, auto& target) {
    auto node = source.extract(entity);
    if (!node.empty()) target.insert(std::move(node));
  };
  move(from.animations, to.animations);
  move(from.particleSystems, to.particleSystems);
  move(from.colliders, to.colliders);
}

int64_t createScene() {
  filament::Engine* engine = state().engine;
  if (!engine) return -1;
  auto* record = new SceneStruct;
  record->view = engine->createView();
  record->scene = engine->createScene();
  record->skybox = filament::Skybox::Builder().color({0.1f, 0.25f, 0.57f, 1.0f}).build(*engine);
  record->scene->setSkybox(record->skybox);
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
  if (!checkScene("attachCameraToAR", scene) || !checkTransform("attachCameraToAR", entity)) {
    return;
  }
  SceneStruct* record = sceneAt(scene);
  if (record->camera) state().engine->destroyCameraComponent(record->camera->getEntity());
  record->camera = state().engine->createCamera(entityOf(entity));
  record->view->setCamera(record->camera);
}

void openScene(int64_t scene) {
  if (!checkScene("openScene", scene)) return;
  SceneStruct* record = sceneAt(scene);
  state().currentScene = record;
  record->view->setScene(record->scene);
  record->view->setViewport({0, 0, state().currentViewportWidth, state().currentViewportHeight});
}

void closeScene() {
  state().currentScene = nullptr;
}

int64_t openSceneId() {
  const SceneStruct* current = state().currentScene;
  return current ? static_cast<int64_t>(current->id) : -1;
}

int64_t sceneOf(uint32_t entity) {
  if (!state().engine) return -1;
  const SceneStruct& record = getScene(entity);
  return &record == &nullScene() ? -1 : static_cast<int64_t>(record.id);
}

uint32_t createEntity() {
  filament::Engine* engine = state().engine;
  if (!engine) return 0;
  const utils::Entity entity = utils::EntityManager::get().create();
  engine->getTransformManager().create(entity);
  return entity.getId();
}

void destoryEntity(uint32_t entity) {
  if (!checkTransform("destroyEntity", entity)) return;
  // Children first, so that no live entity is left under a destroyed parent.
  const std::vector<uint32_t> subtree = descendants(entity);
  for (auto child = subtree.rbegin(); child != subtree.rend(); ++child) {
    state().engine->destroy(entityOf(*child));
  }
  state().engine->destroy(entityOf(entity));
}

uint32_t cloneEntity(uint32_t entity) {
  if (!checkTransform("cloneEntity", entity)) return 0;
  auto& transforms = state().engine->getTransformManager();
  const uint32_t parent = getParent(entity);
  const mat4f local = transforms.getTransform(transforms.getInstance(entityOf(entity)));
  const uint32_t copy = createEntity();
  const auto instance = transforms.getInstance(entityOf(copy));
  if (parent) transforms.setParent(instance, transforms.getInstance(entityOf(parent)));
  transforms.setTransform(instance, local);
  SceneStruct& source = getScene(entity);
  if (source.scene) source.scene->addEntity(entityOf(copy));
  return copy;
}

void addEntityToScene(int64_t scene, uint32_t entity) {
  if (!checkScene("addEntityToScene", scene) || entity == 0) return;
  SceneStruct& target = *sceneAt(scene);
  SceneStruct& current = getScene(entity);
  if (&target == &current) return;
  move_elements(entity, current, target);
  target.scene->addEntity(entityOf(entity));
  if (!state().engine->getTransformManager().hasComponent(entityOf(entity))) return;
  for (uint32_t child : descendants(entity)) target.scene->addEntity(entityOf(child));
}

void removeEntityFromScene(uint32_t entity) {
  if (!state().engine || entity == 0) return;
  SceneStruct& current = getScene(entity);
  if (!current.scene) return;
  move_elements(entity, current, nullScene());
  current.scene->remove(entityOf(entity));
  if (!state().engine->getTransformManager().hasComponent(entityOf(entity))) return;
  for (uint32_t child : descendants(entity)) current.scene->remove(entityOf(child));
}

bool isEntityInScene(int64_t scene, uint32_t entity) {
  const SceneStruct* record = sceneAt(scene);
  return state().engine && record && record->scene->hasEntity(entityOf(entity));
}

std::string getName(uint32_t entity) {
  utils::NameComponentManager* names = state().ncm.get();
  if (!names || !names->hasComponent(entityOf(entity))) return {};
  const char* name = names->getName(names->getInstance(entityOf(entity)));
  return name ? name : "";
}

void setName(uint32_t entity, const std::string& name) {
  utils::NameComponentManager* names = state().ncm.get();
  if (!names || entity == 0) return;
  if (!names->hasComponent(entityOf(entity))) names->addComponent(entityOf(entity));
  names->setName(names->getInstance(entityOf(entity)), name.c_str());
}

void setParent(uint32_t child, uint32_t parent, bool keepWorld) {
  if (!checkTransform("setParent", child) || !checkTransform("setParent", parent)) return;
  const uint32_t oldParent = getParent(child);
  if (oldParent == parent) return;
  auto& transforms = state().engine->getTransformManager();
  const auto childInstance = transforms.getInstance(entityOf(child));
  const auto parentInstance = transforms.getInstance(entityOf(parent));
  if (keepWorld) {
    const mat4f world = transforms.getWorldTransform(childInstance);
    transforms.setTransform(childInstance,
                            affineInverse(transforms.getWorldTransform(parentInstance)) * world);
  }
  transforms.setParent(childInstance, parentInstance);
  updateVisible(child, oldParent, parent);
  SceneStruct& from = getScene(child);
  SceneStruct& to = getScene(parent);
  if (&from == &to) return;
  if (&to == &nullScene()) {
    removeEntityFromScene(child);
  } else {
    addEntityToScene(static_cast<int64_t>(to.id), child);
  }
}

void setParentNull(uint32_t child, bool keepWorld) {
  if (!checkTransform("setParentNull", child)) return;
  const uint32_t oldParent = getParent(child);
  if (!oldParent) return;
  auto& transforms = state().engine->getTransformManager();
  const auto instance = transforms.getInstance(entityOf(child));
  if (keepWorld) transforms.setTransform(instance, transforms.getWorldTransform(instance));
  transforms.setParent(instance, {});
  updateVisible(child, oldParent, 0);
}

uint32_t getParent(uint32_t entity) {
  if (!checkTransform("getParent", entity)) return 0;
  auto& transforms = state().engine->getTransformManager();
  return transforms.getParent(transforms.getInstance(entityOf(entity))).getId();
}

uint32_t getChildCount(uint32_t entity) {
  return static_cast<uint32_t>(childrenOf(entity).size());
}

uint32_t getChild(uint32_t entity, uint32_t index) {
  const std::vector<uint32_t> children = childrenOf(entity);
  return index < children.size() ? children[index] : 0;
}

uint32_t getChildrenIter(uint32_t entity, uint32_t* out, uint32_t start, uint32_t count) {
  const std::vector<uint32_t> children = childrenOf(entity);
  uint32_t written = 0;
  for (size_t i = start; i < children.size() && written < count; ++i) out[written++] = children[i];
  return written;
}

void traverse(uint32_t entity, const std::function<void(uint32_t)>& callback) {
  if (!checkTransform("traverse", entity)) return;
  for (uint32_t descendant : descendants(entity)) callback(descendant);
}

}  // namespace talvero::scene3d
