#include <algorithm>

#include "scene2d/internal/tables.h"
#include "scene2d/scene2d.h"

using namespace talvero::scene2d;

namespace {
constexpr float kRadiansPerDegree = 0.017453292f;
}  // namespace

int32_t c2dCreateEntity() {
  if (g_entities.empty()) g_entities.emplace_back();
  const int32_t id = takeSlot(g_entities, g_freeEntities);
  g_entities[id].alive = true;
  return id;
}

void c2dDestroyEntity(int32_t entity) {
  if (!liveEntity(entity)) return;
  // Children survive as roots where they stand on screen.
  for (size_t child = 1; child < g_entities.size(); ++child) {
    if (g_entities[child].alive && g_entities[child].parent == entity) {
      c2dSetParent(static_cast<int32_t>(child), 0, true);
    }
  }
  g_entities[entity] = Entity2D{};
  g_freeEntities.push_back(entity);
  for (Scene2D& scene : g_scenes) {
    if (scene.alive) std::erase(scene.entities, entity);
  }
}

void c2dSetPosition(int32_t entity, float x, float y) {
  Entity2D* e = liveEntity(entity);
  if (!e) return;
  e->x = x;
  e->y = y;
  ++e->localVersion;
}

void c2dSetRotation(int32_t entity, float degrees) {
  Entity2D* e = liveEntity(entity);
  if (!e) return;
  e->rotation = degrees * kRadiansPerDegree;
  ++e->localVersion;
}

void c2dSetScale(int32_t entity, float x, float y) {
  Entity2D* e = liveEntity(entity);
  if (!e) return;
  e->scaleX = x;
  e->scaleY = y;
  ++e->localVersion;
}

void c2dSetLayer(int32_t entity, int32_t layer) {
  if (Entity2D* e = liveEntity(entity)) e->layer = layer;
}

void c2dSetZ(int32_t entity, float z) {
  if (Entity2D* e = liveEntity(entity)) e->z = z;
}

void c2dSetVisible(int32_t entity, bool visible) {
  if (Entity2D* e = liveEntity(entity)) e->visible = visible;
}

void c2dGetPosition(int32_t entity, float out[2]) {
  const Entity2D* e = liveEntity(entity);
  out[0] = e ? e->x : 0;
  out[1] = e ? e->y : 0;
}

void c2dGetLocalTransform(int32_t entity, float out[5]) {
  const Entity2D* e = liveEntity(entity);
  if (!e) {
    const float identity[5] = {0, 0, 0, 1, 1};
    std::copy(identity, identity + 5, out);
    return;
  }
  out[0] = e->x;
  out[1] = e->y;
  out[2] = e->rotation / kRadiansPerDegree;
  out[3] = e->scaleX;
  out[4] = e->scaleY;
}

void c2dBulkSetPositions(const int32_t* ids, const float* positions, int32_t count) {
  if (!ids || !positions) return;
  for (int32_t i = 0; i < count; ++i) {
    Entity2D* e = liveEntity(ids[i]);
    if (!e) continue;
    e->x = positions[2 * i];
    e->y = positions[2 * i + 1];
    ++e->localVersion;
  }
}
