#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "fresh_tables.h"
#include "scene2d/internal/renderer.h"
#include "scene2d/scene2d.h"

namespace talvero::scene2d {
namespace {

// The entities in the order a fresh stable sort of this frame's items gives.
std::vector<int32_t> stableSortedEntities() {
  std::vector<DrawItem> items = g_renderer.items;
  std::stable_sort(items.begin(), items.end(), [](const DrawItem& a, const DrawItem& b) {
    if (a.layer != b.layer) return a.layer < b.layer;
    if (a.sortZ != b.sortZ) return a.sortZ < b.sortZ;
    return a.texture < b.texture;
  });
  std::vector<int32_t> entities;
  for (const DrawItem& item : items) entities.push_back(item.entity);
  return entities;
}

std::vector<int32_t> drawnEntities() {
  std::vector<int32_t> entities;
  for (const uint32_t index : g_renderer.order) entities.push_back(g_renderer.items[index].entity);
  return entities;
}

// Textures without a device: the slot and size are all the draw list needs.
class Scene2DDrawList : public talvero::testing::FreshTables2D {
 protected:
  void addTextures(int count) {
    for (int i = 0; i < count; ++i) fakeTexture(4, 4);
  }
};

TEST_F(Scene2DDrawList, OrderKeptAcrossFramesAlwaysEqualsAFreshStableSort) {
  addTextures(3);
  std::mt19937 random(20240607);
  const auto pick = [&random](int n) { return static_cast<int>(random() % n); };
  const int32_t scene = c2dCreateScene();
  c2dSetLayerYSort(scene, 2, true);
  std::vector<int32_t> entities;
  for (int i = 0; i < 120; ++i) {
    const int32_t entity = c2dCreateEntity();
    c2dSetSprite(entity, 1 + pick(3));
    c2dSetLayer(entity, pick(3));
    c2dSetZ(entity, pick(3));  // few values, so many ties
    c2dSetPosition(entity, 0, pick(5));
    c2dAddEntityToScene(scene, entity);
    entities.push_back(entity);
  }
  for (int frame = 0; frame < 300; ++frame) {
    // Every other frame is left as it was; the rest change one thing of one entity.
    const int32_t entity = entities[pick(entities.size())];
    switch (frame % 2 ? pick(7) : -1) {
      case 0:
        c2dSetZ(entity, pick(3));
        break;
      case 1:
        c2dSetLayer(entity, pick(3));
        break;
      case 2:
        c2dSetSprite(entity, 1 + pick(3));
        break;
      case 3:
        c2dSetPosition(entity, 0, pick(5));
        break;
      case 4:
        c2dRemoveEntityFromScene(scene, entity);
        c2dAddEntityToScene(scene, entity);
        break;
      case 5:
        c2dSetVisible(entity, pick(4) != 0);
        break;
      case 6: {
        // Two entities trade places in the scene: same items, same keys, new order.
        const int32_t other = entities[pick(entities.size())];
        auto& list = g_scenes[scene].entities;
        std::iter_swap(std::find(list.begin(), list.end(), entity),
                       std::find(list.begin(), list.end(), other));
        break;
      }
      default:
        break;
    }
    buildDrawList(g_scenes[scene]);
    ASSERT_EQ(drawnEntities(), stableSortedEntities()) << "frame " << frame;
  }
}

}  // namespace
}  // namespace talvero::scene2d
