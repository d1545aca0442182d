#pragma once

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

#include "platform/gpu/gfx.h"

// The records and process-wide tables of the 2D layer, shared by its own files and tests.
namespace talvero::scene2d {

// x' = a x + c y + tx, y' = b x + d y + ty.
struct Mat23 {
  float a = 1, b = 0, c = 0, d = 1, tx = 0, ty = 0;
};

struct AnimFrame {
  float u0 = 0, v0 = 0, u1 = 1, v1 = 1;
};

struct AnimClip {
  std::vector<AnimFrame> frames;
  float fps = 0;
  bool loop = false;
};

struct AnimEvent {
  int32_t entity = 0;
  int32_t clip = 0;
  int32_t kind = 0;  // 0 wrapped round, 1 ended
};

// A grid of cells drawn from a texture atlas, row 0 at the top. A cell is an atlas index counted
// row by row from the atlas's top left; a negative cell is empty.
struct Tilemap {
  int32_t texture = 0;
  int32_t cols = 0, rows = 0;
  float tileW = 0, tileH = 0;
  int32_t atlasCols = 1, atlasRows = 1;
  std::vector<int32_t> tiles;  // cols × rows, row-major
};

struct Entity2D {
  bool alive = false;
  float x = 0, y = 0;
  float rotation = 0;  // radians
  float scaleX = 1, scaleY = 1;
  int32_t parent = 0;
  uint32_t localVersion = 1;
  Mat23 world;
  uint32_t worldVersion = 0;
  uint32_t cachedLocalVersion = 0, cachedParentVersion = 0;
  int32_t layer = 0;
  float z = 0;
  bool visible = true;
  uint8_t kind = 0;  // 0 nothing to draw, 1 sprite, 2 tilemap
  int32_t texture = 0;
  float width = 0, height = 0;
  float anchorX = 0.5f, anchorY = 0.5f;
  float u0 = 0, v0 = 0, u1 = 1, v1 = 1;
  float colorR = 1, colorG = 1, colorB = 1, colorA = 1;
  bool flipX = false, flipY = false;
  std::vector<AnimClip> clips;
  int32_t clip = -1;
  int32_t frame = 0;
  float clipTime = 0;
  float clipSpeed = 1;
  bool playing = false;
  std::unique_ptr<Tilemap> tilemap;  // kind 2 only
};

struct Scene2D {
  bool alive = false;
  float clearColor[4] = {0.06f, 0.07f, 0.10f, 1};
  bool hasClear = false;
  float cameraX = 0, cameraY = 0;
  float zoom = 1;
  float cameraRotation = 0;  // radians
  std::vector<int32_t> entities;
  std::unordered_map<int32_t, bool> ySortLayers;
};

struct Texture2D {
  bool alive = false;
  // GL 3.3 has no texture views: the image is sampled directly. Null without a device.
  gpu::Image image;
  int32_t width = 0, height = 0;
};

// Slot 0 of each table is reserved and never alive.
extern std::vector<Entity2D> g_entities;
extern std::vector<int32_t> g_freeEntities;
extern std::vector<Scene2D> g_scenes;
extern std::vector<Texture2D> g_textures;
extern int32_t g_activeScene;
extern int32_t g_viewportW, g_viewportH;
extern float g_density;
extern float g_clearColor[4];
extern std::vector<AnimEvent> animEvents;

// A fresh record in `table`: the last freed one first, else a new one at the end.
template <class Record>
int32_t takeSlot(std::vector<Record>& table, std::vector<int32_t>& freed) {
  int32_t slot;
  if (!freed.empty()) {
    slot = freed.back();
    freed.pop_back();
  } else {
    slot = static_cast<int32_t>(table.size());
    table.emplace_back();
  }
  table[slot] = Record{};
  return slot;
}

Entity2D* liveEntity(int32_t id);
Scene2D* liveScene(int32_t id);
Texture2D* liveTexture(int32_t id);

// The entity's world matrix, recomputed only when its own or its parent's transform changed.
Mat23 entityWorldMatrix(int32_t id);
Mat23 multiply(const Mat23& p, const Mat23& q);
// All zeros, translation included, for a zero determinant.
Mat23 inverse(const Mat23& m);

void advanceAnimations(float dt);
void flushAnimationEvents();

}  // namespace talvero::scene2d
