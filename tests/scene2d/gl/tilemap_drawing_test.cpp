#include <gtest/gtest.h>

#include <vector>

#include "drawing_fixture.h"

namespace talvero::scene2d::testing {
namespace {

// An 8 × 8 atlas of 2 × 2 cells of 4 × 4 texels: red, green on top, blue, white below. The map
// is 4 × 3 tiles of 16, filling the view's width, its top row 8 pixels below the view's top.
class Scene2DTilemapDrawing : public Scene2DDrawing {
 protected:
  static constexpr Pixel kCellColour[4] = {kRed, kGreen, kBlue, kWhite};

  void SetUp() override {
    Scene2DDrawing::SetUp();
    c2dSetDefaultFilter(false);
    std::vector<Pixel> texels(64);
    for (int i = 0; i < 64; ++i) texels[i] = kCellColour[(i / 32) * 2 + (i % 8) / 4];
    atlas = texture(8, 8, texels);
    c2dCameraSetPosition(scene, 32, 24);
  }
  int32_t map(const std::vector<int32_t>& cells, int32_t atlasCols = 2) {
    const int32_t entity =
        c2dCreateTilemap(atlas, 4, 3, atlasCols, 2, cells.data(), cells.size(), 16, 16);
    c2dAddEntityToScene(scene, entity);
    return entity;
  }
  Pixel cell(int col, int row, int dx = 8, int dy = 8) const {
    return at(col * 16 + dx, 8 + row * 16 + dy);
  }

  int32_t atlas = 0;
};

TEST_F(Scene2DTilemapDrawing, CellsShowTheirAtlasColourRowZeroOnTopEmptyOnesClear) {
  const std::vector<int32_t> cells = {0, 1, 2, 3, 3, -1, 1, 0, 2, 3, 0, 1};
  const int32_t entity = map(cells);
  render();
  for (int i = 0; i < 12; ++i) {
    EXPECT_EQ(cell(i % 4, i / 4), cells[i] < 0 ? kBlack : kCellColour[cells[i]]) << "cell " << i;
  }
  EXPECT_EQ(counts(), (std::array<int, 3>{11, 1, 1}));
  // The map's top and bottom edges: pixel rows 8 and 55.
  EXPECT_EQ((std::vector<Pixel>{cell(0, 0, 8, -1), cell(0, 0, 8, 0), cell(0, 2, 8, 15),
                                cell(0, 2, 8, 16)}),
            (std::vector<Pixel>{kBlack, kRed, kBlue, kBlack}));

  c2dSetTile(entity, 2, 0, -1);
  c2dSetTile(entity, 1, 1, 2);
  render();
  EXPECT_EQ(cell(2, 0), kBlack);
  EXPECT_EQ(cell(1, 1), kBlue);
}

TEST_F(Scene2DTilemapDrawing, AnAtlasOfNoColumnsSpansTheTexturesWidth) {
  map(std::vector<int32_t>(12, 1), 0);
  render();
  // Index 1 of one column is the lower half: blue, then white.
  EXPECT_EQ(cell(0, 0, 4, 8), kBlue);
  EXPECT_EQ(cell(0, 0, 12, 8), kWhite);
}

TEST_F(Scene2DTilemapDrawing, LinearFilteringKeepsEachCellsEdgesFreeOfItsAtlasNeighbours) {
  c2dSetDefaultFilter(true);
  const std::vector<int32_t> cells = {0, 1, 2, 3, 3, 2, 1, 0, 1, 0, 3, 2};
  map(cells);
  render();
  c2dSetDefaultFilter(false);
  for (int i = 0; i < 12; ++i) {
    for (const int edge : {1, 14}) {
      EXPECT_EQ(cell(i % 4, i / 4, edge, 8), kCellColour[cells[i]]) << "cell " << i;
      EXPECT_EQ(cell(i % 4, i / 4, 8, edge), kCellColour[cells[i]]) << "cell " << i;
    }
  }
}

TEST_F(Scene2DTilemapDrawing, TurnedCameraOverATurnedMapLeavesNoGap) {
  // Cells of 1 at zoom 2, 2 pixels each: a view test that missed the camera's turn would leave
  // gaps at the view's corners.
  const std::vector<int32_t> white(64 * 64, 3);
  const int32_t big = c2dCreateTilemap(atlas, 64, 64, 2, 2, white.data(), white.size(), 1, 1);
  c2dAddEntityToScene(scene, big);
  c2dSetPosition(big, 10, -5);
  c2dCameraSetZoom(scene, 2);
  c2dCameraSetRotation(scene, 30);
  for (const float degrees : {45.0f, 0.0f}) {
    c2dSetRotation(big, degrees);
    float centre[2];
    c2dLocalToWorld(big, 32, 32, centre);
    c2dCameraSetPosition(scene, centre[0], centre[1]);
    render();
    EXPECT_LT(coverage(kBlack)[2], 0) << "map turned " << degrees << "°";
    EXPECT_EQ(coverage(kWhite), (Box{0, 0, 63, 63})) << "map turned " << degrees << "°";
  }
}

TEST_F(Scene2DTilemapDrawing, AMapWhoseTextureDiedDrawsNothing) {
  map(std::vector<int32_t>(12, 0));
  c2dDestroyTexture(atlas);
  render();
  EXPECT_EQ(c2dLastFrameStats().draws, 0);
  EXPECT_EQ(coverage(kBlack), (Box{0, 0, 63, 63}));
  EXPECT_LT(coverage(kRed)[2], 0);
}

}  // namespace
}  // namespace talvero::scene2d::testing
