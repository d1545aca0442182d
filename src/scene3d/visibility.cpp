#include <filament/RenderableManager.h>
#include <filament/TransformManager.h>

#include "scene3d/engine_state.h"
#include "scene3d/entity_graph.h"
#include "scene3d/report.h"
#include "scene3d/scene_struct.h"
#include "scene3d/scenes.h"

namespace talvero::scene3d {

namespace {

constexpr int kAncestorLimit = 200;

// Pushes the flag down the subtree as it stands; the children's own hidden marks are not
// looked at, so showing a parent shows a hidden child too until its next change.
void updateVisibleChild(uint32_t entity, bool visible, SceneStruct& scene) {
  if (auto system = scene.particleSystems.find(entity); system != scene.particleSystems.end()) {
    system->second.visible = visible;
    if (!system->second.shown) return;
  }
  if (auto collider = scene.colliders.find(entity); collider != scene.colliders.end()) {
    std::visit([visible](auto& shape) { shape.active = visible; }, collider->second);
  }
  auto& renderables = state().engine->getRenderableManager();
  if (const auto instance = renderables.getInstance(entityOf(entity))) {
    renderables.setLayerMask(instance, 0xFF, visible ? 0xFF : 0);
  }
  for (uint32_t child : childrenOf(entity)) updateVisibleChild(child, visible, scene);
}

bool getVisibleInHierarchy(uint32_t entity) {
  if (entity == 0) return true;
  const auto& hidden = hiddenEntities();
  if (hidden.contains(entity)) return false;
  auto& transforms = state().engine->getTransformManager();
  uint32_t ancestor = entity;
  for (int step = 0; step < kAncestorLimit; ++step) {
    const auto instance = transforms.getInstance(entityOf(ancestor));
    if (!instance) return true;
    ancestor = transforms.getParent(instance).getId();
    if (ancestor == 0) return true;
    if (hidden.contains(ancestor)) return false;
  }
  return true;
}

}  // namespace

void updateVisible(uint32_t child, uint32_t oldParent, uint32_t newParent) {
  const auto& hidden = hiddenEntities();
  if (hidden.empty() || hidden.contains(child)) return;
  const bool before = getVisibleInHierarchy(oldParent);
  const bool after = getVisibleInHierarchy(newParent);
  if (before != after) updateVisibleChild(child, after, getScene(child));
}

void setVisible(uint32_t entity, bool visible) {
  if (!checkTransform("setVisible", entity)) return;
  if (visible) {
    hiddenEntities().erase(entity);
  } else {
    hiddenEntities().insert(entity);
  }
  updateVisibleChild(entity, visible, getScene(entity));
}

bool isVisible(uint32_t entity) {
  const auto& hidden = hiddenEntities();
  if (hidden.empty()) return true;
  if (hidden.contains(entity)) return false;
  if (!state().engine) return true;
  auto& transforms = state().engine->getTransformManager();
  const auto instance = transforms.getInstance(entityOf(entity));
  return !instance || getVisibleInHierarchy(transforms.getParent(instance).getId());
}

void setVisibleAll(int64_t scene, bool visible) {
  if (!checkScene("setVisibleAll", scene)) return;
  SceneStruct& record = *sceneAt(scene);
  for (uint32_t entity : hiddenEntities()) {
    if (record.scene->hasEntity(entityOf(entity))) updateVisibleChild(entity, visible, record);
  }
}

}  // namespace talvero::scene3d
