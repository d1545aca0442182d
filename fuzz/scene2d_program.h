#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

#include "scene2d/internal/physics_state.h"
#include "scene2d/internal/renderer.h"
#include "scene2d/internal/tables.h"
#include "scene2d/scene2d.h"

namespace talvero::fuzz {

// An input read as a little program for the 2D layer. Numbers come in three flavours chosen by
// a leading byte: the raw bits of a float (so NaN, infinities and denormals occur), a small
// value that makes shapes the solver accepts, and one of the edges the checks must hold at.
// A program that runs out of bytes reads zeros.
class Scene2DProgram {
 public:
  Scene2DProgram(const uint8_t* data, size_t size) : data_(data), size_(size) {}

  bool done() const { return at_ >= size_; }

  uint8_t byte() { return at_ < size_ ? data_[at_++] : 0; }

  int8_t smallInt() { return static_cast<int8_t>(byte()); }

  float number() {
    static constexpr float kEdges[] = {
        std::numeric_limits<float>::quiet_NaN(),
        std::numeric_limits<float>::infinity(),
        -std::numeric_limits<float>::infinity(),
        -0.0f,
        0.0f,
        std::numeric_limits<float>::max(),
        -std::numeric_limits<float>::max(),
        std::numeric_limits<float>::denorm_min(),
        std::numeric_limits<float>::min(),
        std::numeric_limits<float>::epsilon(),
        1e38f,
        1e17f,
        1.0001e17f,
        -1e17f,
        1e12f,
        1e6f,
        -1e6f,
        1e-30f,
        0.0025f,
        0.0049f,
        0.005f,
        0.01f,
        0.5f,
        1.0f,
        1.0f / 60.0f,
        180.0f,
    };
    switch (byte() % 4) {
      case 0: {
        const uint8_t bits[4] = {byte(), byte(), byte(), byte()};
        float value;
        std::memcpy(&value, bits, sizeof value);
        return value;
      }
      case 1:
        return smallInt() * 0.25f;
      case 2:
        return kEdges[byte() % std::size(kEdges)];
      default: {
        const uint8_t low = byte(), high = byte();
        return static_cast<int16_t>(low | high << 8) * 0.125f;
      }
    }
  }

  // An id or slot: mostly one that may be live, sometimes one that can never be.
  int32_t id(int32_t liveRange) {
    static constexpr int32_t kFar[] = {-1, -7, 1000, std::numeric_limits<int32_t>::min(),
                                       std::numeric_limits<int32_t>::max()};
    const uint8_t b = byte();
    if (b < 240) return b % (liveRange + 2);
    return kFar[b % std::size(kFar)];
  }

 private:
  const uint8_t* data_;
  size_t size_;
  size_t at_ = 0;
};

// Moves an entity of the first `liveRange` ids, live or not, in one of four ways chosen by
// `which`: its position, rotation, scale or parent.
inline void moveEntity(Scene2DProgram& in, int32_t liveRange, int which) {
  const int32_t e = in.id(liveRange);
  const float a = in.number();
  switch (which % 4) {
    case 0:
      c2dSetPosition(e, a, in.number());
      break;
    case 1:
      c2dSetRotation(e, a);
      break;
    case 2:
      c2dSetScale(e, a, in.number());
      break;
    default:
      c2dSetParent(e, in.id(liveRange), (in.byte() & 1) != 0);
  }
}

// Empty 2D tables and no physics world, so that every input starts as the process did.
inline void resetScene2DTables() {
  using namespace talvero::scene2d;
  resetPhysicsWorld();
  g_entities.clear();
  g_freeEntities.clear();
  g_scenes.clear();
  g_textures.clear();
  g_activeScene = 0;
  g_viewportW = g_viewportH = 1;
  g_density = 1;
  animEvents.clear();
  g_renderer.linearFilter = false;
  g_renderer.items.clear();
  g_renderer.order.clear();
  g_renderer.vertices.clear();
  g_renderer.batches.clear();
}

}  // namespace talvero::fuzz
