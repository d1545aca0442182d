#include <cmath>
#include <cstdio>
#include <memory>
#include <string>

#include "runtime/log.h"
#include "scene2d/internal/tables.h"
#include "scene2d/scene2d.h"

using talvero::logLine;
using namespace talvero::scene2d;

namespace {

// Beyond this a map's cells alone would take more than 64 MiB.
constexpr int64_t kMostCells = 16777216;

std::string number(float value) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", static_cast<double>(value));
  return text;
}

void refuse(const std::string& why) {
  logLine("[creator-2d] createTilemap: " + why);
}

bool isTileSide(float side) {
  return std::isfinite(side) && side > 0;
}

}  // namespace

int32_t c2dCreateTilemap(int32_t texture, int32_t cols, int32_t rows, int32_t atlasCols,
                         int32_t atlasRows, const int32_t* tiles, size_t tileCount, float tileW,
                         float tileH) {
  if (cols < 1 || rows < 1) return 0;
  if (!isTileSide(tileW) || !isTileSide(tileH)) {
    refuse("tile size " + number(tileW) + " x " + number(tileH) + " must be finite and above 0");
    return 0;
  }
  const int64_t cells = int64_t{cols} * rows;
  if (cells > kMostCells) {
    refuse(std::to_string(cols) + " x " + std::to_string(rows) + " is " + std::to_string(cells) +
           " cells, more than " + std::to_string(kMostCells));
    return 0;
  }
  const size_t held = tiles ? tileCount : 0;
  if (held < static_cast<size_t>(cells)) {
    refuse(std::to_string(cols) + " x " + std::to_string(rows) + " needs " + std::to_string(cells) +
           " tiles, got " + std::to_string(held));
    return 0;
  }
  auto map = std::make_unique<Tilemap>();
  map->texture = texture;
  map->cols = cols;
  map->rows = rows;
  map->tileW = tileW;
  map->tileH = tileH;
  map->atlasCols = atlasCols < 1 ? 1 : atlasCols;
  map->atlasRows = atlasRows < 1 ? 1 : atlasRows;
  map->tiles.assign(tiles, tiles + cells);
  const int32_t entity = c2dCreateEntity();
  g_entities[entity].kind = 2;
  g_entities[entity].tilemap = std::move(map);
  return entity;
}

void c2dSetTile(int32_t entity, int32_t x, int32_t y, int32_t tile) {
  Entity2D* e = liveEntity(entity);
  if (!e || e->kind != 2 || !e->tilemap) return;
  Tilemap& map = *e->tilemap;
  if (x < 0 || y < 0 || x >= map.cols || y >= map.rows) return;
  map.tiles[static_cast<size_t>(y) * map.cols + x] = tile;
}
