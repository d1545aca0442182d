#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "scene2d/internal/renderer.h"

namespace talvero::scene2d {

// Here rather than beside the device code, so that the draw list stands without a device.
Renderer g_renderer;

namespace {

// Strictly before, with the index as the last key, so that no two items compare equal.
bool drawsBefore(const DrawItem& a, uint32_t ia, const DrawItem& b, uint32_t ib) {
  if (a.layer != b.layer) return a.layer < b.layer;
  if (a.sortZ < b.sortZ) return true;
  if (b.sortZ < a.sortZ) return false;
  if (a.texture != b.texture) return a.texture < b.texture;
  return ia < ib;
}

void collectItems(const Scene2D& scene) {
  auto& items = g_renderer.items;
  for (const int32_t id : scene.entities) {
    const Entity2D* entity = liveEntity(id);
    // Visibility is the entity's own: a hidden parent hides nothing.
    if (!entity || !entity->visible) continue;
    DrawItem item;
    if (entity->kind == 1) {
      const Texture2D* texture = liveTexture(entity->texture);
      if (!texture || texture->width <= 0 || texture->height <= 0) continue;
      item.texture = entity->texture;
    } else if (entity->kind == 2 && entity->tilemap) {
      // A map whose texture died still goes in the list: its batch is skipped at draw.
      item.texture = entity->tilemap->texture;
    } else {
      continue;
    }
    item.entity = id;
    item.layer = entity->layer;
    item.world = entityWorldMatrix(id);
    const auto ySort = scene.ySortLayers.find(entity->layer);
    // On a y-sorted layer a lower entity draws later, over a higher one.
    item.sortZ = ySort != scene.ySortLayers.end() && ySort->second ? -item.world.ty : entity->z;
    // A key that is not a number would leave the sort without an order: it draws last.
    if (std::isnan(item.sortZ)) item.sortZ = std::numeric_limits<float>::infinity();
    items.push_back(item);
  }
}

void sortItems() {
  auto& items = g_renderer.items;
  auto& order = g_renderer.order;
  if (orderIsStableSorted(items, order)) return;
  order.resize(items.size());
  std::iota(order.begin(), order.end(), 0u);
  std::stable_sort(order.begin(), order.end(), [&](uint32_t a, uint32_t b) {
    const DrawItem& x = items[a];
    const DrawItem& y = items[b];
    if (x.layer != y.layer) return x.layer < y.layer;
    if (x.sortZ != y.sortZ) return x.sortZ < y.sortZ;
    return x.texture < y.texture;
  });
}

void emitSprite(const DrawItem& item) {
  const Entity2D& entity = g_entities[item.entity];
  const Texture2D* texture = &g_textures[item.texture];
  float u0 = entity.u0, v0 = entity.v0, u1 = entity.u1, v1 = entity.v1;
  insetHalfTexel(texture, u0, v0, u1, v1);
  if (entity.flipX) std::swap(u0, u1);
  if (entity.flipY) std::swap(v0, v1);
  const float x0 = -entity.anchorX * entity.width;
  const float x1 = (1 - entity.anchorX) * entity.width;
  const float y0 = entity.anchorY * entity.height;
  const float y1 = -(1 - entity.anchorY) * entity.height;
  const float color[4] = {entity.colorR, entity.colorG, entity.colorB, entity.colorA};
  emitQuad(item.texture, item.world, x0, x1, y0, y1, u0, v0, u1, v1, color);
}

}  // namespace

void insetHalfTexel(const Texture2D* texture, float& u0, float& v0, float& u1, float& v1) {
  const bool partOfTexture = u0 > 0 || v0 > 0 || u1 < 1 || v1 < 1;
  // Linear filtering would blend in the neighbouring cell of an atlas at the rectangle's edge.
  if (!g_renderer.linearFilter || !partOfTexture || !texture || !texture->alive ||
      texture->width < 1 || texture->height < 1) {
    return;
  }
  // Each edge moves towards the other, whichever way round the rectangle runs.
  const auto inset = [](float& from, float& to, float half) {
    const float step = from < to ? half : -half;
    from += step;
    to -= step;
  };
  inset(u0, u1, 0.5f / texture->width);
  inset(v0, v1, 0.5f / texture->height);
}

bool orderIsStableSorted(const std::vector<DrawItem>& items, const std::vector<uint32_t>& order) {
  if (order.size() != items.size()) return false;
  for (size_t k = 1; k < order.size(); ++k) {
    if (!drawsBefore(items[order[k - 1]], order[k - 1], items[order[k]], order[k])) return false;
  }
  return true;
}

void emitQuad(int32_t texture, const Mat23& m, float x0, float x1, float y0, float y1, float u0,
              float v0, float u1, float v1, const float color[4]) {
  auto& vertices = g_renderer.vertices;
  auto& batches = g_renderer.batches;
  if (batches.empty() || batches.back().texture != texture) {
    batches.push_back({texture, static_cast<int32_t>(vertices.size() / 4), 0});
  }
  ++batches.back().quadCount;
  const auto corner = [&](float x, float y, float u, float v) {
    vertices.push_back({m.a * x + m.c * y + m.tx, m.b * x + m.d * y + m.ty, u, v, color[0],
                        color[1], color[2], color[3]});
  };
  corner(x0, y0, u0, v0);
  corner(x1, y0, u1, v0);
  corner(x1, y1, u1, v1);
  corner(x0, y1, u0, v1);
}

void buildDrawList(const Scene2D& scene) {
  g_renderer.items.clear();
  g_renderer.vertices.clear();
  g_renderer.batches.clear();
  collectItems(scene);
  sortItems();
  for (const uint32_t index : g_renderer.order) {
    const DrawItem& item = g_renderer.items[index];
    if (g_entities[item.entity].kind == 2) {
      emitTilemap(item, scene);
    } else {
      emitSprite(item);
    }
  }
}

}  // namespace talvero::scene2d
