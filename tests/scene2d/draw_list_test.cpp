#include <algorithm>
#include <functional>
#include <random>
#include <vector>

#include "scene2d/fresh_tables.h"
#include "scene2d/internal/renderer.h"

namespace talvero::scene2d {
namespace {

using Scene2DDrawList = talvero::testing::FreshTables2D;

TEST_F(Scene2DDrawList, OrderKeptAcrossFramesAlwaysEqualsAFreshStableSort) {
  for (int i = 0; i < 3; ++i) fakeTexture();
  std::mt19937 random(20240607);
  const auto pick = [&random](int n) { return static_cast<int>(random() % n); };
  const int32_t scene = c2dCreateScene();
  c2dSetLayerYSort(scene, 2, true);
  std::vector<int32_t>& list = g_scenes[scene].entities;
  // Few values of each key, so that ties are many.
  const std::function<void(int32_t)> changes[] = {
      [&](int32_t e) { c2dSetZ(e, pick(3)); },
      [&](int32_t e) { c2dSetLayer(e, pick(3)); },
      [&](int32_t e) { c2dSetSprite(e, 1 + pick(3)); },
      [&](int32_t e) { c2dSetPosition(e, 0, pick(5)); },
      [&](int32_t e) { c2dSetVisible(e, pick(4) != 0); },
      // Same items and keys, another order.
      [&](int32_t e) { std::iter_swap(std::find(list.begin(), list.end(), e), list.begin()); },
  };
  for (int i = 0; i < 120; ++i) {
    const int32_t entity = c2dCreateEntity();
    for (int change = 0; change < 4; ++change) changes[change](entity);
    c2dAddEntityToScene(scene, entity);
  }
  // Every other frame is left as it was.
  for (int frame = 0; frame < 300; ++frame) {
    if (frame % 2) changes[pick(6)](1 + pick(120));
    buildDrawList(g_scenes[scene]);
    std::vector<DrawItem> sorted = g_renderer.items;
    std::stable_sort(sorted.begin(), sorted.end(), [](const DrawItem& a, const DrawItem& b) {
      if (a.layer != b.layer) return a.layer < b.layer;
      return a.sortZ != b.sortZ ? a.sortZ < b.sortZ : a.texture < b.texture;
    });
    ASSERT_EQ(g_renderer.order.size(), sorted.size());
    for (size_t i = 0; i < sorted.size(); ++i) {
      ASSERT_EQ(g_renderer.items[g_renderer.order[i]].entity, sorted[i].entity)
          << "frame " << frame << ", place " << i;
    }
  }
}

}  // namespace
}  // namespace talvero::scene2d
