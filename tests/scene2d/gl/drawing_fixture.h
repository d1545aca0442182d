#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

#include "platform/gpu/gfx.h"
#include "scene2d/scene2d.h"

namespace talvero::scene2d::testing {

struct Pixel {
  uint8_t r = 0, g = 0, b = 0, a = 0;
  bool operator==(const Pixel&) const = default;
};
inline constexpr Pixel kBlack{0, 0, 0, 255}, kRed{255, 0, 0, 255}, kGreen{0, 255, 0, 255},
    kBlue{0, 0, 255, 255}, kWhite{255, 255, 255, 255};

// Inclusive pixel bounds: left, top, right, bottom, row 0 at the top.
using Box = std::array<int, 4>;

// A 64 × 64 pixel view at density 1 onto an open scene, camera at the origin: world (0, 0) is
// the corner between pixels 31 and 32, world y grows upwards.
class Scene2DDrawing : public ::testing::Test {
 protected:
  static constexpr int kSize = 64;

  void SetUp() override {
    ASSERT_TRUE(gpu::setup()) << gpu::unavailableReason();
    target = gpu::makeTarget(kSize, kSize, "scene2d-test");
    ASSERT_NE(target.id, 0u);
    c2dInitGL();
    c2dSetViewport(kSize, kSize);
    c2dSetClearColor(0, 0, 0, 1);
    scene = c2dCreateScene();
    c2dOpenScene(scene);
  }
  void TearDown() override { gpu::destroy(target); }

  void render() {
    c2dRenderGL(target, timeMs += 16);
    pixels = gpu::readTarget(target);
    ASSERT_EQ(pixels.size(), size_t(kSize) * kSize * 4);
  }
  // The last frame's quads, batches and draws.
  static std::array<int, 3> counts() {
    const C2DFrameStats& s = c2dLastFrameStats();
    return {s.quads, s.batches, s.draws};
  }
  Pixel at(int x, int y) const {
    const uint8_t* p = &pixels[(size_t(y) * kSize + x) * 4];
    return {p[0], p[1], p[2], p[3]};
  }
  // The bounds of the pixels of exactly this colour; right < 0 when there are none.
  Box coverage(Pixel colour) const {
    Box box{kSize, kSize, -1, -1};
    for (int i = 0; i < kSize * kSize; ++i) {
      const int x = i % kSize, y = i / kSize;
      if (at(x, y) != colour) continue;
      box = {std::min(box[0], x), std::min(box[1], y), std::max(box[2], x), std::max(box[3], y)};
    }
    return box;
  }

  // A texture of `width` × `height` texels given row by row from the top.
  static int32_t texture(int32_t width, int32_t height, const std::vector<Pixel>& texels) {
    static_assert(sizeof(Pixel) == 4);
    return c2dCreateTextureFromRGBA(reinterpret_cast<const uint8_t*>(texels.data()), width, height);
  }
  // A sprite of `width` × `height` centred on (x, y), added to the scene.
  int32_t sprite(int32_t texture, float x, float y, float width, float height) {
    const int32_t entity = c2dCreateEntity();
    c2dSetSprite(entity, texture);
    c2dSetSpriteSize(entity, width, height);
    c2dSetPosition(entity, x, y);
    c2dAddEntityToScene(scene, entity);
    return entity;
  }

  gpu::Target target;
  int32_t scene = 0;
  double timeMs = 1000;
  std::vector<uint8_t> pixels;
};

}  // namespace talvero::scene2d::testing
