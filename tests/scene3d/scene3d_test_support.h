#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "scene3d/frame_loop.h"
#include "scene3d/materials.h"
#include "scene3d/scenes.h"

namespace talvero::scene3d::testing {

// Runs `body` inside a frame once the renderer begins one; it skips frames while the GPU is
// behind, so it is asked again, for up to 5 s.
inline bool whenFrameBegins(const std::function<void()>& body) {
  for (int attempt = 0; attempt < 2500; ++attempt) {
    if (beginFrame()) {
      body();
      return true;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return false;
}

inline std::vector<uint8_t> readMaterial(const std::string& name) {
  std::ifstream in(std::string(TALVERO_TEST_MATERIALS) + "/" + name, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// A new instance of the unlit colour material of the bundle, in `rgba`.
inline int64_t unlitColour(uint32_t rgba) {
  const std::vector<uint8_t> package = readMaterial("unlit_color.filamat");
  const int64_t instance = createMaterialInstance(createMaterial(package.data(), package.size()));
  setUniformRgba(instance, "baseColor", rgba);
  return instance;
}

// A quad facing the camera from (left, bottom) to (right, top) at depth `z`, drawn with
// `instance`, in the scene.
inline uint32_t addQuad(int64_t scene, int64_t instance, float left, float bottom, float right,
                        float top, float z) {
  const float positions[] = {left, bottom, z, right, bottom, z, right, top, z, left, top, z};
  const float normals[] = {0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1};
  const float uvs[] = {0, 0, 1, 0, 1, 1, 0, 1};
  const uint16_t indices[] = {0, 1, 2, 0, 2, 3};
  const uint32_t entity = createEntity();
  EXPECT_TRUE(createMesh(entity, instance, positions, 12, normals, 12, indices, 6, uvs, 8, 0));
  addEntityToScene(scene, entity);
  return entity;
}

// A 64 × 64 offscreen engine with one open scene looked at by a camera at the origin, which
// looks down -z with a 60° vertical field of view.
class Scene3DTest : public ::testing::Test {
 protected:
  void SetUp() override {
    init();
    ASSERT_TRUE(hasEngine()) << "no GL display: run the tests under xvfb-run";
    createSwapChainHeadless(64, 64);
    scene = createScene();
    camera = createEntity();
    attachCameraToScene(scene, camera);
    openScene(scene);
    setViewport(64, 64);
  }
  void TearDown() override { destroyEngine(); }

  // A square of side 2 centred at depth `z`, with the unlit material in `rgba`.
  uint32_t square(float z, uint32_t rgba) { return meshSquare(z, unlitColour(rgba)); }

  // A square of side 2 centred at depth `z` drawn with `instance`, in the scene.
  uint32_t meshSquare(float z, int64_t instance) {
    return addQuad(scene, instance, -1, -1, 1, 1, z);
  }

  // The same square with the textured material, tinted white; its instance in `instance`.
  uint32_t texturedSquare(int64_t* instance) {
    const std::vector<uint8_t> package = readMaterial("unlit_textured.filamat");
    *instance = createMaterialInstance(createMaterial(package.data(), package.size()));
    setUniformRgba(*instance, "baseColor", 0xFFFFFFFF);
    return meshSquare(-2, *instance);
  }

  // The open scene drawn and read back.
  std::vector<uint8_t> draw(int64_t timeMs = 1000) {
    std::vector<uint8_t> pixels(64 * 64 * 4);
    EXPECT_TRUE(whenFrameBegins([&] { render_to_offscreen(timeMs, pixels.data()); }));
    return pixels;
  }

  static std::vector<int> pixelAt(const std::vector<uint8_t>& pixels, int x, int y) {
    const size_t at = (static_cast<size_t>(y) * 64 + x) * 4;
    return {pixels[at], pixels[at + 1], pixels[at + 2], pixels[at + 3]};
  }

  int64_t scene = -1;
  uint32_t camera = 0;
};

}  // namespace talvero::scene3d::testing
