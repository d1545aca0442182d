#include "scene3d/colliders.h"

#include <filament/Box.h>
#include <filament/RenderableManager.h>

#include <string>

#include "scene3d/engine_state.h"
#include "scene3d/entity_graph.h"
#include "scene3d/report.h"
#include "scene3d/scene_struct.h"

namespace talvero::scene3d {

namespace {

constexpr uint8_t kMeshBounds = 0;

// A new collider is active even on a hidden entity: only a later visibility change sets it.
void fileCollider(uint32_t entity, const Collider& collider) {
  getScene(entity).colliders.insert_or_assign(entity, collider);
}

}  // namespace

void setColliderBox(uint32_t entity, float cx, float cy, float cz, float sx, float sy, float sz) {
  if (!checkTransform("setColliderBox", entity)) return;
  fileCollider(entity, BoxCollider{{cx, cy, cz}, {sx * 0.5f, sy * 0.5f, sz * 0.5f}});
}

void setColliderSphere(uint32_t entity, float cx, float cy, float cz, float radius) {
  if (!checkTransform("setColliderSphere", entity)) return;
  fileCollider(entity, SphereCollider{{cx, cy, cz}, radius});
}

void setColliderFromMesh(uint32_t entity, uint32_t renderEntity, uint8_t type) {
  if (type != kMeshBounds || !checkTransform("setColliderFromMesh", entity)) return;
  auto& renderables = state().engine->getRenderableManager();
  const auto instance = renderables.getInstance(entityOf(renderEntity));
  if (!instance) {
    reportOnce("setColliderFromMesh", renderEntity,
               "entity " + std::to_string(renderEntity) + " has no mesh");
    return;
  }
  const filament::Box bounds = renderables.getAxisAlignedBoundingBox(instance);
  fileCollider(entity,
               BoxCollider{{bounds.center.x, bounds.center.y, bounds.center.z},
                           {bounds.halfExtent.x, bounds.halfExtent.y, bounds.halfExtent.z}});
}

const Collider* findCollider(int64_t scene, uint32_t entity) {
  const SceneStruct* record = scene < 0 ? &nullScene() : sceneAt(scene);
  if (!record) return nullptr;
  const auto found = record->colliders.find(entity);
  return found == record->colliders.end() ? nullptr : &found->second;
}

}  // namespace talvero::scene3d
