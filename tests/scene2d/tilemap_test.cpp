#include <cmath>
#include <set>
#include <utility>
#include <vector>

#include "scene2d/fresh_tables.h"
#include "scene2d/internal/renderer.h"

namespace talvero::scene2d {
namespace {

// A 200 × 200 point view onto a scene, nearest filtering, and a 4 × 4 texture slot.
class Scene2DTilemaps : public talvero::testing::FreshTables2D {
 protected:
  void SetUp() override {
    FreshTables2D::SetUp();
    c2dSetViewport(200, 200);
    c2dSetDensity(1);
    rendererSetFilter(false);
    scene = c2dCreateScene();
    atlas = fakeTexture();
  }

  // A map of `cols` × `rows` cells of tile 0 and tiles of 16, in the scene.
  int32_t map(int32_t cols, int32_t rows) {
    const std::vector<int32_t> cells(size_t(cols) * rows, 0);
    const int32_t entity =
        c2dCreateTilemap(atlas, cols, rows, 2, 2, cells.data(), cells.size(), 16, 16);
    c2dAddEntityToScene(scene, entity);
    return entity;
  }
  size_t quads() {
    buildDrawList(g_scenes[scene]);
    return g_renderer.vertices.size() / 4;
  }
  // The (col, row) of each quad of a map at the origin, from its top-left corner.
  std::set<std::pair<int, int>> cellsDrawn(int32_t rows) {
    std::set<std::pair<int, int>> cells;
    const size_t count = quads();
    for (size_t q = 0; q < count; ++q) {
      const V2D& topLeft = g_renderer.vertices[q * 4];
      cells.emplace(std::lround(topLeft.x / 16), rows - std::lround(topLeft.y / 16));
    }
    return cells;
  }

  int32_t scene = 0;
  int32_t atlas = 0;
};

TEST_F(Scene2DTilemaps, BadSizesAreRefusedWithTheirNumbersAndTakeNoEntity) {
  const std::vector<int32_t> cells(12, 0);
  ::testing::internal::CaptureStdout();
  EXPECT_EQ(c2dCreateTilemap(atlas, 0, 3, 1, 1, cells.data(), 12, 16, 16), 0);
  EXPECT_EQ(c2dCreateTilemap(atlas, 4, -1, 1, 1, cells.data(), 12, 16, 16), 0);
  EXPECT_EQ(c2dCreateTilemap(atlas, 4, 3, 1, 1, cells.data(), 12, 0, 16), 0);
  EXPECT_EQ(c2dCreateTilemap(atlas, 4, 3, 1, 1, cells.data(), 12, 16, NAN), 0);
  EXPECT_EQ(c2dCreateTilemap(atlas, 4, 3, 1, 1, cells.data(), 12, INFINITY, 16), 0);
  // Past 32 bits when multiplied in them; never read.
  EXPECT_EQ(c2dCreateTilemap(atlas, 65536, 65537, 1, 1, cells.data(), 12, 16, 16), 0);
  EXPECT_EQ(c2dCreateTilemap(atlas, 4, 3, 1, 1, cells.data(), 11, 16, 16), 0);
  EXPECT_EQ(c2dCreateTilemap(atlas, 4, 3, 1, 1, nullptr, 12, 16, 16), 0);
  EXPECT_EQ(::testing::internal::GetCapturedStdout(),
            "[creator-2d] createTilemap: tile size 0 x 16 must be finite and above 0\n"
            "[creator-2d] createTilemap: tile size 16 x nan must be finite and above 0\n"
            "[creator-2d] createTilemap: tile size inf x 16 must be finite and above 0\n"
            "[creator-2d] createTilemap: 65536 x 65537 is 4295032832 cells, more than 16777216\n"
            "[creator-2d] createTilemap: 4 x 3 needs 12 tiles, got 11\n"
            "[creator-2d] createTilemap: 4 x 3 needs 12 tiles, got 0\n");
  EXPECT_EQ(c2dCreateEntity(), 1);
}

TEST_F(Scene2DTilemaps, CellsAreTheMapsOwnCopyAndSetTileWritesOnlyInsideTheGrid) {
  std::vector<int32_t> cells = {0, 1, 2, 3, -1, 1};
  const int32_t entity = c2dCreateTilemap(atlas, 3, 2, 0, -4, cells.data(), 6, 16, 8);
  ASSERT_NE(entity, 0);
  cells[0] = 7;
  const Tilemap& record = *g_entities[entity].tilemap;
  EXPECT_EQ((std::vector<int32_t>{g_entities[entity].kind, record.atlasCols, record.atlasRows}),
            (std::vector<int32_t>{2, 1, 1}));
  c2dSetTile(entity, 2, 1, -1);
  c2dSetTile(entity, 3, 0, 9);
  c2dSetTile(entity, 0, 2, 9);
  c2dSetTile(entity, -1, 1, 9);
  const int32_t plain = c2dCreateEntity();
  c2dSetTile(plain, 0, 0, 9);
  EXPECT_EQ(record.tiles, (std::vector<int32_t>{0, 1, 2, 3, -1, -1}));

  c2dDestroyEntity(entity);
  EXPECT_EQ(g_entities[entity].tilemap, nullptr) << "destroying the entity frees its map";
  c2dSetTile(entity, 0, 0, 9);
  EXPECT_EQ(c2dCreateEntity(), entity);
  EXPECT_EQ(g_entities[entity].kind, 0);
}

TEST_F(Scene2DTilemaps, EveryCellInSightAtAnyRotationIsDrawnAndFewOthers) {
  const int32_t entity = map(200, 100);
  c2dCameraSetPosition(scene, 1000, 700);
  for (const float degrees : {0.0f, 30.0f, 45.0f, 90.0f}) {
    c2dCameraSetRotation(scene, degrees);
    const auto drawn = cellsDrawn(100);
    // R = sqrt(100² + 100²) ≈ 141: the square touches 19 cells each way, plus one each side.
    EXPECT_LE(drawn.size(), size_t(21 * 21)) << degrees;
    for (float sx = 0; sx <= 200; sx += 4) {
      for (float sy = 0; sy <= 200; sy += 4) {
        float world[2];
        c2dCameraScreenToWorld(scene, sx, sy, world);
        const std::pair<int, int> cell(int(world[0] / 16), 99 - int(world[1] / 16));
        ASSERT_TRUE(drawn.count(cell))
            << degrees << "° misses the cell under " << world[0] << ", " << world[1];
      }
    }
  }
  // Its left edge past the square and the one extra cell.
  c2dSetPosition(entity, 1000 + 142 + 16 + 2, 0);
  EXPECT_EQ(quads(), 0u) << "a map beside the view";
}

TEST_F(Scene2DTilemaps, FarMapsAndTheWidestZoomStayWithinTheGrid) {
  const int32_t entity = map(256, 256);
  for (const auto& at : {std::pair(1e20f, 0.0f), std::pair(-1e20f, 0.0f), std::pair(0.0f, 1e20f),
                         std::pair(0.0f, -1e20f)}) {
    c2dSetPosition(entity, at.first, at.second);
    EXPECT_EQ(quads(), 0u) << at.first << ", " << at.second;
  }
  c2dSetPosition(entity, 0, 0);
  c2dCameraSetZoom(scene, 0);
  c2dSetRotation(entity, 45);
  ASSERT_EQ(quads(), 256u * 256u);
  for (const V2D& vertex : g_renderer.vertices) {
    ASSERT_TRUE(std::isfinite(vertex.x) && std::isfinite(vertex.y));
  }
}

}  // namespace
}  // namespace talvero::scene2d
