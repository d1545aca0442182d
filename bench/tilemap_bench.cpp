// What building the 2D draw list costs the main thread for tilemaps, CPU side only (no device,
// nothing drawn), in a 1280 × 720 view at density 1 over tiles of 16:
// - A 256 × 256 map at zoom 1, camera on its centre, over a 96 × 64 map that just covers the
//   view: the cost should follow the cells in sight, not the map's size.
// - The big map's quads per quad, over as many 16 × 16 sprites (one entity each, one texture)
//   on a grid in the same view: a cell should cost no more than a sprite.
// - For information, the whole 65,536-cell map in view.
// - For information, a 96 × 96 map: what the view test takes in at any camera rotation, a
//   square about the circle through the view's corners.
// Times are CPU time of the main thread, medians over 200 builds of each case.

#include <cmath>
#include <cstdio>
#include <vector>

#include "bench_clock.h"
#include "scene2d/internal/renderer.h"
#include "scene2d/scene2d.h"

namespace {

using talvero::bench::median;
using talvero::bench::threadSeconds;
using namespace talvero::scene2d;

constexpr int kWidth = 1280;
constexpr int kHeight = 720;
constexpr float kTile = 16;
constexpr int kRounds = 21;  // the first one warms up
constexpr int kPerRound = 10;

struct Figures {
  double seconds = 0;
  size_t quads = 0;
  double perQuad() const { return quads ? seconds / double(quads) : 0; }
};

// The draw list needs a live slot with a size only: no device is made.
int32_t textureSlot() {
  if (g_textures.empty()) g_textures.emplace_back();
  Texture2D& texture = g_textures.emplace_back();
  texture.alive = true;
  texture.width = texture.height = 64;
  return static_cast<int32_t>(g_textures.size() - 1);
}

// A scene holding one map of cells cycling through a 4 × 4 atlas, camera on the map's centre.
int32_t mapScene(int32_t texture, int32_t cols, int32_t rows, float zoom) {
  std::vector<int32_t> cells(size_t(cols) * rows);
  for (size_t i = 0; i < cells.size(); ++i) cells[i] = int32_t(i % 16);
  const int32_t scene = c2dCreateScene();
  c2dAddEntityToScene(
      scene, c2dCreateTilemap(texture, cols, rows, 4, 4, cells.data(), cells.size(), kTile, kTile));
  c2dCameraSetPosition(scene, cols * kTile / 2, rows * kTile / 2);
  c2dCameraSetZoom(scene, zoom);
  return scene;
}

// `count` sprites of one texture on a square grid of tiles about the origin.
int32_t spriteScene(int32_t texture, size_t count) {
  const int32_t scene = c2dCreateScene();
  const int side = int(std::ceil(std::sqrt(double(count))));
  for (size_t i = 0; i < count; ++i) {
    const int32_t entity = c2dCreateEntity();
    c2dSetSprite(entity, texture);
    c2dSetSpriteSize(entity, kTile, kTile);
    c2dSetSpriteFrame(entity, 0, 0, 0.25f, 0.25f);
    c2dSetPosition(entity, (int(i % side) - side / 2) * kTile, (int(i / side) - side / 2) * kTile);
    c2dAddEntityToScene(scene, entity);
  }
  return scene;
}

// Each case's builds, taken in rounds of kPerRound across all cases so that a busy machine
// weighs on all of them alike. The first build of each turn is not counted: it sorts the list
// the other case left.
std::vector<Figures> measure(const std::vector<int32_t>& scenes) {
  std::vector<std::vector<double>> times(scenes.size());
  std::vector<Figures> figures(scenes.size());
  for (int round = 0; round < kRounds; ++round) {
    for (size_t k = 0; k < scenes.size(); ++k) {
      buildDrawList(g_scenes[scenes[k]]);
      for (int run = 0; run < kPerRound; ++run) {
        const double start = threadSeconds();
        buildDrawList(g_scenes[scenes[k]]);
        const double took = threadSeconds() - start;
        if (round > 0) times[k].push_back(took);
      }
      figures[k].quads = g_renderer.vertices.size() / 4;
    }
  }
  for (size_t k = 0; k < scenes.size(); ++k) figures[k].seconds = median(times[k]);
  return figures;
}

void print(const char* name, const Figures& f) {
  std::printf("%-40s %8.3f ms  %6zu quads  %6.2f ns/quad\n", name, f.seconds * 1e3, f.quads,
              f.perQuad() * 1e9);
}

}  // namespace

int main() {
  c2dSetViewport(kWidth, kHeight);
  c2dSetDensity(1);
  const int32_t texture = textureSlot();
  const int32_t big = mapScene(texture, 256, 256, 1);
  const int32_t small = mapScene(texture, 96, 64, 1);
  const int32_t whole = mapScene(texture, 256, 256, kHeight / (256 * kTile));

  const int32_t square = mapScene(texture, 96, 96, 1);
  buildDrawList(g_scenes[big]);
  const int32_t sprites = spriteScene(texture, g_renderer.vertices.size() / 4);
  const std::vector<Figures> f = measure({big, small, sprites, whole, square});
  const Figures &bigMap = f[0], &smallMap = f[1], &spriteList = f[2];

  std::printf("2D draw list, CPU only, %d x %d view, tiles of %g, medians of %d builds\n", kWidth,
              kHeight, kTile, (kRounds - 1) * kPerRound);
  print("256 x 256 map, zoom 1", bigMap);
  print("reference: 96 x 64 map covering the view", smallMap);
  print("sprites, as many as the big map's quads", spriteList);
  print("information: 256 x 256 map wholly in view", f[3]);
  print("information: 96 x 96 map", f[4]);
  std::printf("big map / 96 x 64 map: %.2f (goal <= 1.1); per quad %.2f\n",
              bigMap.seconds / smallMap.seconds, bigMap.perQuad() / smallMap.perQuad());
  std::printf("big map / 96 x 96 map, as many quads: %.2f\n", bigMap.seconds / f[4].seconds);
  std::printf("tilemap / sprites per quad: %.2f (goal <= 1.0)\n",
              bigMap.perQuad() / spriteList.perQuad());
  if (spriteList.quads != bigMap.quads) std::printf("sprites and tilemap quads differ\n");
  return 0;
}
