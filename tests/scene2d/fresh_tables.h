#pragma once

#include <gtest/gtest.h>

#include <algorithm>

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
    animEvents.clear();
  }

  // A live 4 × 4 texture slot without a device behind it, which is all the draw list needs.
  static int32_t fakeTexture() {
    auto& table = talvero::scene2d::g_textures;
    table.resize(std::max<size_t>(table.size(), 1) + 1);
    table.back().alive = true;
    table.back().width = table.back().height = 4;
    return static_cast<int32_t>(table.size() - 1);
  }
};

}  // namespace talvero::testing
