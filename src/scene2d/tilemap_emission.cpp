#include <algorithm>
#include <cmath>

#include "scene2d/internal/renderer.h"

namespace talvero::scene2d {

namespace {

constexpr double kFarthest = 1e30;

// The map's own-space box around everything the camera can show at any rotation: the square
// about the circle through the view's corners, carried through the inverse of the map's world
// matrix. False when the box is not a number, as with a world matrix that holds one.
bool viewBoxInMap(const Scene2D& scene, const Mat23& world, double box[4]) {
  const double density = g_density > 0.000001f ? g_density : 1;
  const double zoom = std::max(scene.zoom, 0.000001f);
  const double hw = g_viewportW / density * 0.5 / zoom;
  const double hh = g_viewportH / density * 0.5 / zoom;
  const double reach = std::sqrt(hw * hw + hh * hh);
  const Mat23 inv = inverse(world);
  double minX = INFINITY, minY = INFINITY, maxX = -INFINITY, maxY = -INFINITY;
  for (const double sx : {-reach, reach}) {
    for (const double sy : {-reach, reach}) {
      const double x = scene.cameraX + sx, y = scene.cameraY + sy;
      const double lx = inv.a * x + inv.c * y + inv.tx;
      const double ly = inv.b * x + inv.d * y + inv.ty;
      if (std::isnan(lx) || std::isnan(ly)) return false;
      minX = std::min(minX, lx);
      maxX = std::max(maxX, lx);
      minY = std::min(minY, ly);
      maxY = std::max(maxY, ly);
    }
  }
  box[0] = std::clamp(minX, -kFarthest, kFarthest);
  box[1] = std::clamp(minY, -kFarthest, kFarthest);
  box[2] = std::clamp(maxX, -kFarthest, kFarthest);
  box[3] = std::clamp(maxY, -kFarthest, kFarthest);
  return true;
}

// A cell range worked out in double and clamped to the grid before it becomes an integer, so
// that a far map or a zoomed-out camera cannot overflow it. One extra cell each side.
void cellRange(double first, double last, int32_t count, int32_t* start, int32_t* end) {
  const double from = std::max(std::floor(first), 1.0) - 1;
  const double to = std::min(std::ceil(last) + 1, static_cast<double>(count));
  *start = static_cast<int32_t>(std::clamp(from, 0.0, static_cast<double>(count)));
  *end = static_cast<int32_t>(std::clamp(to, 0.0, static_cast<double>(count)));
}

}  // namespace

void emitTilemap(const DrawItem& item, const Scene2D& scene) {
  const Tilemap& map = *g_entities[item.entity].tilemap;
  double box[4];
  if (!viewBoxInMap(scene, item.world, box)) return;
  int32_t colStart, colEnd, rowStart, rowEnd;
  cellRange(box[0] / map.tileW, box[2] / map.tileW, map.cols, &colStart, &colEnd);
  // Row 0 is the top of the map, so the highest y gives the first row.
  cellRange(map.rows - 1 - box[3] / map.tileH, map.rows - 1 - box[1] / map.tileH, map.rows,
            &rowStart, &rowEnd);

  const Texture2D* texture = liveTexture(map.texture);
  const float uStep = 1.0f / map.atlasCols;
  const float vStep = 1.0f / map.atlasRows;
  constexpr float kWhite[4] = {1, 1, 1, 1};
  for (int32_t row = rowStart; row < rowEnd; ++row) {
    const int32_t* cells = &map.tiles[static_cast<size_t>(row) * map.cols];
    const float bottom = map.tileH * static_cast<float>(map.rows - 1 - row);
    const float top = bottom + map.tileH;
    for (int32_t col = colStart; col < colEnd; ++col) {
      const int32_t tile = cells[col];
      if (tile < 0) continue;
      float u0 = static_cast<float>(tile % map.atlasCols) / map.atlasCols;
      float v0 = static_cast<float>(tile / map.atlasCols) / map.atlasRows;
      float u1 = u0 + uStep;
      float v1 = v0 + vStep;
      insetHalfTexel(texture, u0, v0, u1, v1);
      const float left = map.tileW * static_cast<float>(col);
      emitQuad(item.texture, item.world, left, left + map.tileW, top, bottom, u0, v0, u1, v1,
               kWhite);
    }
  }
}

}  // namespace talvero::scene2d
