#include <algorithm>
#include <cstdint>
#include <limits>
#include <vector>

#include "fuzz_input.h"
#include "scene2d/internal/renderer.h"
#include "scene2d/internal/tables.h"
#include "scene2d/scene2d.h"
#include "scene2d_program.h"

namespace {

using namespace talvero::scene2d;
using talvero::fuzz::require;
using talvero::fuzz::Scene2DProgram;

// Bounds that keep one input quick: the cells of all maps together, and the emissions.
constexpr int32_t kMostEntities = 32;
constexpr int64_t kMostCells = 1 << 16;
constexpr int32_t kMostEmissions = 8;
constexpr int32_t kMostOps = 300;

int32_t entity(Scene2DProgram& in) {
  return in.id(kMostEntities);
}

int32_t scene(Scene2DProgram& in) {
  return in.id(3);
}

// A grid side or position: small, at the grid's edge, or as far as an int goes.
int32_t gridInt(Scene2DProgram& in) {
  const uint8_t b = in.byte();
  if (b & 0x80) return in.smallInt();
  const uint8_t low = in.byte(), high = in.byte();
  const int32_t wide = static_cast<int16_t>(low | high << 8);
  return b & 0x40 ? wide * 65536 + high : wide;
}

int32_t tileValue(Scene2DProgram& in) {
  const uint8_t b = in.byte();
  if (b < 0xF0) return static_cast<int8_t>(b);
  return b & 1 ? std::numeric_limits<int32_t>::min() : std::numeric_limits<int32_t>::max();
}

// A live texture slot of the size given, without a device behind it: the draw list reads only
// its size. The device code stays out of this target, so the viewport, density and filter are
// set here as their setters leave them, and a texture dies as its destroyer leaves it.
void addTexture(Scene2DProgram& in) {
  if (g_textures.empty()) g_textures.emplace_back();
  Texture2D& texture = g_textures.emplace_back();
  texture.alive = true;
  texture.width = in.smallInt();
  texture.height = in.smallInt();
}

void createTilemap(Scene2DProgram& in, int64_t& cellsMade) {
  const int32_t texture = in.id(4);
  const int32_t cols = gridInt(in), rows = gridInt(in);
  const int32_t atlasCols = gridInt(in), atlasRows = gridInt(in);
  const float tileW = in.number(), tileH = in.number();
  const int64_t cells = int64_t{cols} * rows;
  // A grid beyond the budget is offered with too few cells: it must be refused unread.
  std::vector<int32_t> tiles(cells > 0 && cellsMade + cells <= kMostCells ? cells : 16);
  for (size_t i = 0; i < tiles.size() && i < 64; ++i) tiles[i] = tileValue(in);
  for (size_t i = 64; i < tiles.size(); ++i) tiles[i] = tiles[i % 64];
  const int32_t made = c2dCreateTilemap(texture, cols, rows, atlasCols, atlasRows, tiles.data(),
                                        tiles.size(), tileW, tileH);
  if (made == 0) return;
  require(cells >= 1 && static_cast<size_t>(cells) <= tiles.size());
  cellsMade += cells;
  const int32_t into = scene(in);
  c2dAddEntityToScene(into, made);
}

// The quads of the draw list are those of its batches, and no map emits more than its cells.
void emit(Scene2DProgram& in) {
  Scene2D* s = liveScene(scene(in));
  if (!s) return;
  buildDrawList(*s);
  int64_t most = 0;
  for (const int32_t id : s->entities) {
    const Entity2D* e = liveEntity(id);
    if (!e) continue;
    most += e->kind == 2 && e->tilemap ? int64_t{e->tilemap->cols} * e->tilemap->rows : 1;
  }
  int64_t batched = 0;
  for (const Batch& batch : g_renderer.batches) {
    require(batch.quadCount >= 1 && batch.firstQuad == batched);
    batched += batch.quadCount;
  }
  require(g_renderer.vertices.size() == static_cast<size_t>(batched) * 4);
  require(batched <= most);
}

}  // namespace

// The input is a program: maps of any size, tile size and atlas, cells written anywhere,
// sprites beside them, any entity pose and parent, any camera, viewport and density, and
// emissions of the draw list in between. Whatever it holds, the list is built without a
// sanitizer fault and stays consistent.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  talvero::fuzz::resetScene2DTables();
  Scene2DProgram in(data, size);
  const auto n = [&in] { return in.number(); };
  int64_t cellsMade = 0;
  int32_t emissions = 0;
  for (int32_t ops = 0; ops < kMostOps && !in.done(); ++ops) {
    const int op = in.byte() % 22;
    switch (op) {
      case 0:
        if (g_scenes.size() < 4) c2dCreateScene();
        break;
      case 1:
        if (g_textures.size() < 5) addTexture(in);
        break;
      case 2:
        if (static_cast<int32_t>(g_entities.size()) <= kMostEntities) createTilemap(in, cellsMade);
        break;
      case 3: {
        const int32_t e = entity(in), x = gridInt(in), y = gridInt(in);
        c2dSetTile(e, x, y, tileValue(in));
        break;
      }
      case 4:
      case 5:
      case 6:
      case 7:
        talvero::fuzz::moveEntity(in, kMostEntities, op - 4);
        break;
      case 8: {
        const int32_t s = scene(in);
        const float x = n(), y = n();
        c2dCameraSetPosition(s, x, y);
        break;
      }
      case 9: {
        const int32_t s = scene(in);
        c2dCameraSetZoom(s, n());
        break;
      }
      case 10: {
        const int32_t s = scene(in);
        c2dCameraSetRotation(s, n());
        break;
      }
      case 11: {
        const int32_t w = gridInt(in), h = gridInt(in);
        g_viewportW = std::max(w, 1);
        g_viewportH = std::max(h, 1);
        break;
      }
      case 12: {
        const float density = n();
        g_density = density > 0 ? density : 1;
        break;
      }
      case 13:
        g_renderer.linearFilter = in.byte() & 1;
        break;
      case 14: {
        const int32_t e = entity(in);
        c2dSetLayer(e, in.smallInt());
        break;
      }
      case 15: {
        const int32_t e = entity(in);
        c2dSetZ(e, n());
        break;
      }
      case 16: {
        const int32_t s = scene(in), layer = in.smallInt();
        c2dSetLayerYSort(s, layer, in.byte() & 1);
        break;
      }
      case 17:
        c2dDestroyEntity(entity(in));
        break;
      case 18:
        if (Texture2D* texture = liveTexture(in.id(4))) *texture = Texture2D{};
        break;
      case 19: {
        if (static_cast<int32_t>(g_entities.size()) > kMostEntities) break;
        const int32_t sprite = c2dCreateEntity(), texture = in.id(4);
        c2dSetSprite(sprite, texture);
        const float u0 = n(), v0 = n(), u1 = n(), v1 = n();
        c2dSetSpriteFrame(sprite, u0, v0, u1, v1);
        c2dAddEntityToScene(scene(in), sprite);
        break;
      }
      case 20: {
        const int32_t s = scene(in), e = entity(in);
        c2dRemoveEntityFromScene(s, e);
        break;
      }
      default:
        if (emissions < kMostEmissions) {
          ++emissions;
          emit(in);
        }
        break;
    }
  }
  if (emissions == 0 && !g_scenes.empty() && g_scenes.back().alive) buildDrawList(g_scenes.back());
  talvero::fuzz::resetScene2DTables();
  return 0;
}
