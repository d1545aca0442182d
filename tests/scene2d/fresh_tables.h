#pragma once

#include <gtest/gtest.h>

#include "scene2d/internal/tables.h"
#include "scene2d/scene2d.h"

namespace talvero::testing {

// Empties the 2D tables, so that a test sees fresh ids also when several run in one process.
class FreshTables2D : public ::testing::Test {
 protected:
  void SetUp() override {
    using namespace talvero::scene2d;
    g_entities.clear();
    g_freeEntities.clear();
    g_scenes.clear();
    g_textures.clear();
    g_activeScene = 0;
    g_viewportW = 1;
    g_viewportH = 1;
    g_density = 1;
    animEvents.clear();
    c2dSetAnimEventCallback(nullptr);
  }

  // A texture slot as the texture functions leave it, without a device behind it.
  static int32_t fakeTexture(int32_t width, int32_t height) {
    auto& table = talvero::scene2d::g_textures;
    if (table.empty()) table.emplace_back();
    auto& texture = table.emplace_back();
    texture.alive = true;
    texture.width = width;
    texture.height = height;
    return static_cast<int32_t>(table.size() - 1);
  }
};

}  // namespace talvero::testing
