#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <ostream>
#include <vector>

#include "platform/gpu/gfx.h"
#include "scene2d/scene2d.h"

namespace talvero::scene2d::testing {

struct Pixel {
  uint8_t r = 0, g = 0, b = 0, a = 0;
  bool operator==(const Pixel&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const Pixel& p) {
  return out << "rgba(" << int(p.r) << ", " << int(p.g) << ", " << int(p.b) << ", " << int(p.a)
             << ")";
}

inline constexpr Pixel kBlack{0, 0, 0, 255};
inline constexpr Pixel kRed{255, 0, 0, 255};
inline constexpr Pixel kGreen{0, 255, 0, 255};
inline constexpr Pixel kBlue{0, 0, 255, 255};
inline constexpr Pixel kWhite{255, 255, 255, 255};

// Inclusive pixel bounds, row 0 at the top; empty when left > right.
struct Box {
  int left = 0, top = 0, right = -1, bottom = -1;
  bool operator==(const Box&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const Box& b) {
  return out << "[" << b.left << ", " << b.top << " .. " << b.right << ", " << b.bottom << "]";
}

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
    c2dSetDensity(1);
    c2dSetClearColor(0, 0, 0, 1);
    scene = c2dCreateScene();
    c2dOpenScene(scene);
  }

  void TearDown() override { gpu::destroy(target); }

  void render() {
    timeMs += 16;
    c2dRenderGL(target, timeMs);
    pixels = gpu::readTarget(target);
    ASSERT_EQ(pixels.size(), size_t(kSize) * kSize * 4);
  }

  Pixel at(int x, int y) const {
    const uint8_t* p = &pixels[(size_t(y) * kSize + x) * 4];
    return {p[0], p[1], p[2], p[3]};
  }

  // The bounds of the pixels of exactly this colour.
  Box coverage(Pixel colour) const {
    Box box{kSize, kSize, -1, -1};
    for (int y = 0; y < kSize; ++y) {
      for (int x = 0; x < kSize; ++x) {
        if (at(x, y) != colour) continue;
        box = {std::min(box.left, x), std::min(box.top, y), std::max(box.right, x),
               std::max(box.bottom, y)};
      }
    }
    return box.right < 0 ? Box{} : box;
  }

  // A texture of `width` × `height` texels given row by row from the top.
  static int32_t texture(int32_t width, int32_t height, const std::vector<Pixel>& texels) {
    std::vector<uint8_t> rgba;
    for (const Pixel& p : texels) rgba.insert(rgba.end(), {p.r, p.g, p.b, p.a});
    return c2dCreateTextureFromRGBA(rgba.data(), width, height);
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
