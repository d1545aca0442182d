#include <algorithm>

#include "scene2d/internal/tables.h"
#include "scene2d/scene2d.h"

using namespace talvero::scene2d;

namespace {

// Tested on the axis-aligned box around the transformed quad, not the quad itself: a rotated
// sprite answers a little beyond its corners.
bool boundsContain(const Entity2D& sprite, const Mat23& world, float x, float y) {
  float left = -sprite.anchorX * sprite.width;
  float right = (1 - sprite.anchorX) * sprite.width;
  float bottom = -(1 - sprite.anchorY) * sprite.height;
  float top = sprite.anchorY * sprite.height;
  const float corners[4][2] = {{left, bottom}, {right, bottom}, {right, top}, {left, top}};
  float minX = 0, maxX = 0, minY = 0, maxY = 0;
  for (int i = 0; i < 4; ++i) {
    float cx = world.a * corners[i][0] + world.c * corners[i][1] + world.tx;
    float cy = world.b * corners[i][0] + world.d * corners[i][1] + world.ty;
    minX = i == 0 ? cx : std::min(minX, cx);
    maxX = i == 0 ? cx : std::max(maxX, cx);
    minY = i == 0 ? cy : std::min(minY, cy);
    maxY = i == 0 ? cy : std::max(maxY, cy);
  }
  return x >= minX && x <= maxX && y >= minY && y <= maxY;
}

}  // namespace

int32_t c2dPickSprite(int32_t scene, float x, float y) {
  const Scene2D* s = liveScene(scene);
  if (!s) return 0;
  int32_t best = 0;
  int32_t bestLayer = 0;
  float bestZ = 0;
  for (int32_t id : s->entities) {
    const Entity2D* e = liveEntity(id);
    if (!e || !e->visible || e->kind != 1) continue;
    Mat23 world = entityWorldMatrix(id);
    if (!boundsContain(*e, world, x, y)) continue;
    // Equal keys go to the later entity, the one drawn on top.
    if (best == 0 || e->layer > bestLayer || (e->layer == bestLayer && e->z >= bestZ)) {
      best = id;
      bestLayer = e->layer;
      bestZ = e->z;
    }
  }
  return best;
}
