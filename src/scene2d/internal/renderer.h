#pragma once

#include <cstdint>
#include <vector>

#include "platform/gpu/gfx.h"
#include "scene2d/internal/tables.h"

// The batch renderer of the 2D layer: the active scene becomes one stream of textured quads,
// uploaded once a frame and drawn with one call per run of quads that share a texture.
namespace talvero::scene2d {

// The vertex format of the buffer; positions are in world space, already through the entity's
// world matrix, so no per-sprite uniform exists.
struct V2D {
  float x, y, u, v, r, g, b, a;
};
static_assert(sizeof(V2D) == 32, "the pipeline's stride is 32 bytes");

struct DrawItem {
  int32_t entity = 0;
  int32_t layer = 0;
  float sortZ = 0;
  int32_t texture = 0;
  Mat23 world;
};

struct Batch {
  int32_t texture = 0;
  int32_t firstQuad = 0;
  int32_t quadCount = 0;
};

// One record for the process. The arrays keep their storage between frames, so a steady scene
// allocates nothing.
struct Renderer {
  bool linearFilter = false;
  bool initialised = false;
  gpu::Shader shader;
  gpu::Pipeline pipeline;
  gpu::Sampler sampler;
  gpu::Buffer vertexBuffer;
  gpu::Buffer indexBuffer;
  int32_t capacity = 0;         // quads the two buffers hold
  std::vector<DrawItem> items;  // this frame's, in the scene's `entities` order
  // Draw order: indexes into `items`, stably sorted by layer, sortZ, texture. Kept from frame to
  // frame, since it usually still holds.
  std::vector<uint32_t> order;
  std::vector<V2D> vertices;
  std::vector<Batch> batches;
  std::vector<uint32_t> indices;
};

extern Renderer g_renderer;

// What the frame under way did, for c2dLastFrameStats.
struct RenderCounts {
  int32_t draws = 0;
  bool uploaded = false;
  double buildSeconds = 0;
};

// Shader, pipeline and sampler; needs the device.
void rendererInit();
void rendererSetFilter(bool linear);
// Inside an open pass: builds the list, uploads it, draws its batches.
RenderCounts rendererDrawScene(const Scene2D& scene);

// Fills items, order, vertices and batches for the scene.
void buildDrawList(const Scene2D& scene);
// Whether `order`, a permutation of the last frame's items, is what a stable sort of these
// `items` gives: as many entries, increasing by (layer, sortZ, texture) and, at equal keys, by
// index. That ordering has one answer, so a frame whose keys did not move needs no sort.
bool orderIsStableSorted(const std::vector<DrawItem>& items, const std::vector<uint32_t>& order);
void emitQuad(int32_t texture, const Mat23& m, float x0, float x1, float y0, float y1, float u0,
              float v0, float u1, float v1, const float color[4]);
// Under linear filtering, a rectangle smaller than the whole of a live texture moves in by half
// a texel at each edge, so that no texel beyond the edge is blended in.
void insetHalfTexel(const Texture2D* texture, float& u0, float& v0, float& u1, float& v1);
// The cells of a tilemap item within sight of the scene's camera, as quads of its texture.
void emitTilemap(const DrawItem& item, const Scene2D& scene);

// Main-thread CPU time in seconds.
double threadCpuSeconds();

}  // namespace talvero::scene2d
