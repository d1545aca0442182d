#include "scene2d/internal/tables.h"

namespace talvero::scene2d {

std::vector<Entity2D> g_entities;
std::vector<int32_t> g_freeEntities;
std::vector<Scene2D> g_scenes;
std::vector<Texture2D> g_textures;
int32_t g_activeScene = 0;
int32_t g_viewportW = 1, g_viewportH = 1;
float g_density = 1;
float g_clearColor[4] = {0, 0, 0, 1};
std::vector<AnimEvent> animEvents;

namespace {
template <typename Record>
Record* liveSlot(std::vector<Record>& table, int32_t id) {
  if (id < 1 || static_cast<size_t>(id) >= table.size() || !table[id].alive) return nullptr;
  return &table[id];
}
}  // namespace

Entity2D* liveEntity(int32_t id) {
  return liveSlot(g_entities, id);
}
Scene2D* liveScene(int32_t id) {
  return liveSlot(g_scenes, id);
}
Texture2D* liveTexture(int32_t id) {
  return liveSlot(g_textures, id);
}

}  // namespace talvero::scene2d
