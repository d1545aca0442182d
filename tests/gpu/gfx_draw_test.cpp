#include <epoxy/gl.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "gpu/sprite_drawing.h"
#include "platform/gpu/gfx.h"

namespace talvero::gpu::testing {
namespace {

constexpr Pixel kRed{255, 0, 0, 255}, kGreen{0, 255, 0, 255}, kBlue{0, 0, 255, 255},
    kWhite{255, 255, 255, 255}, kBlack{0, 0, 0, 255};
constexpr float kOpaqueBlack[4] = {0, 0, 0, 1};

bool near(const Pixel& got, const Pixel& want, int tolerance) {
  for (int i = 0; i < 4; ++i) {
    if (std::abs(int(got[i]) - int(want[i])) > tolerance) return false;
  }
  return true;
}

class GfxDrawing : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(setup()) << "no GL device (" << unavailableReason()
                         << "): run the tests under xvfb-run";
  }
  // The layer's calls, the labelling of every object of the kits included, must leave no GL
  // error behind them.
  void TearDown() override {
    if (hasDevice()) {
      EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    }
  }
};

TEST_F(GfxDrawing, APassClearsTheWholeTargetToTheActionColour) {
  // An odd size: rows of 28 bytes catch a wrong row stride in the read back.
  const Target target = makeTarget(7, 5, "creator2d-test-target");
  ASSERT_NE(target.id, 0u);
  EXPECT_EQ(targetWidth(target), 7);
  EXPECT_EQ(targetHeight(target), 5);
  const uint64_t passesBefore = counters().passes;
  ASSERT_TRUE(beginPass(target, PassAction{{0.2f, 0.4f, 0.6f, 0.8f}}));
  endPass();
  commit();
  EXPECT_EQ(counters().passes, passesBefore + 1);
  const std::vector<uint8_t> pixels = readTarget(target);
  ASSERT_EQ(pixels.size(), 7u * 5u * 4u);
  for (int y = 0; y < 5; ++y) {
    for (int x = 0; x < 7; ++x) {
      ASSERT_EQ(pixelAt(pixels, 7, x, y), (Pixel{51, 102, 153, 204})) << x << ", " << y;
    }
  }
  // A second pass clears again rather than keeping what was there.
  ASSERT_TRUE(beginPass(target, PassAction{{0, 1, 0, 1}}));
  endPass();
  commit();
  EXPECT_EQ(pixelAt(readTarget(target), 7, 6, 4), kGreen);
}

TEST_F(GfxDrawing, AQuadLandsOnItsPixelsWithTextureRowZeroAtItsTop) {
  SpriteKit kit;
  kit.make();
  ASSERT_TRUE(kit.complete());
  const std::vector<uint8_t> texels = pixelsOf({kRed, kGreen, kBlue, kWhite});
  const Image image = makeImage(2, 2, texels.data(), "creator2d-texture");
  ASSERT_NE(image.id, 0u);
  const Target target = makeTarget(8, 8, "creator2d-test-target");
  std::vector<SpriteVertex> vertices;
  appendQuad(vertices, 2, 6, 6, 2);  // pixels 2..5 both ways; world y 6 is row 2 from the top
  const uint64_t drawsBefore = counters().draws;
  kit.drawFrame(target, image, vertices, kOpaqueBlack);
  EXPECT_EQ(counters().draws, drawsBefore + 1);

  const std::vector<uint8_t> shown = readTarget(target);
  ASSERT_EQ(shown.size(), 8u * 8u * 4u);
  EXPECT_EQ(pixelAt(shown, 8, 2, 2), kRed);
  EXPECT_EQ(pixelAt(shown, 8, 5, 2), kGreen);
  EXPECT_EQ(pixelAt(shown, 8, 2, 5), kBlue);
  EXPECT_EQ(pixelAt(shown, 8, 5, 5), kWhite);
  EXPECT_EQ(pixelAt(shown, 8, 3, 3), kRed);
  EXPECT_EQ(pixelAt(shown, 8, 4, 4), kWhite);
  for (const auto& [x, y] : {std::pair{1, 2}, {6, 2}, {2, 1}, {2, 6}, {0, 0}, {7, 7}}) {
    EXPECT_EQ(pixelAt(shown, 8, x, y), kBlack) << "outside the quad at " << x << ", " << y;
  }
}

TEST_F(GfxDrawing, ADrawStartsAtItsFirstIndexAndTheStreamBufferTakesNewQuadsEachFrame) {
  SpriteKit kit;
  kit.make();
  const std::vector<uint8_t> white = pixelsOf({kWhite});
  const Image image = makeImage(1, 1, white.data(), nullptr);
  const Target target = makeTarget(4, 2, nullptr);
  std::vector<SpriteVertex> vertices;
  appendQuad(vertices, 0, 2, 2, 0, {1, 0, 0, 1});  // left half red
  appendQuad(vertices, 2, 2, 4, 0, {0, 0, 1, 1});  // right half blue
  kit.drawFrame(target, image, vertices, kOpaqueBlack, 1, 1);
  std::vector<uint8_t> shown = readTarget(target);
  EXPECT_EQ(pixelAt(shown, 4, 0, 0), kBlack);
  EXPECT_EQ(pixelAt(shown, 4, 3, 1), kBlue);

  const uint64_t updatesBefore = counters().bufferUpdates;
  vertices.clear();
  appendQuad(vertices, 0, 2, 2, 0, {0, 1, 0, 1});  // a shorter frame: only the left half
  kit.drawFrame(target, image, vertices, kOpaqueBlack);
  EXPECT_EQ(counters().bufferUpdates, updatesBefore + 1);
  shown = readTarget(target);
  EXPECT_EQ(pixelAt(shown, 4, 0, 0), kGreen);
  EXPECT_EQ(pixelAt(shown, 4, 3, 1), kBlack);
}

TEST_F(GfxDrawing, LinearSamplingBlendsNeighbouringTexelsAndNearestKeepsThemApart) {
  const std::vector<uint8_t> texels = pixelsOf({kBlack, kWhite});
  const Image image = makeImage(2, 1, texels.data(), "creator2d-texture");
  const Target target = makeTarget(4, 1, nullptr);
  std::vector<SpriteVertex> vertices;
  appendQuad(vertices, 0, 1, 4, 0);

  SpriteKit nearest;
  nearest.make(Filter::Nearest);
  nearest.drawFrame(target, image, vertices, kOpaqueBlack);
  std::vector<uint8_t> shown = readTarget(target);
  EXPECT_EQ(pixelAt(shown, 4, 1, 0), kBlack);
  EXPECT_EQ(pixelAt(shown, 4, 2, 0), kWhite);

  // Pixel centres fall at texel coordinates -0.25, 0.25, 0.75 and 1.25: clamped at the edges,
  // a quarter and three quarters of the way from black to white in between.
  SpriteKit linear;
  linear.make(Filter::Linear);
  linear.drawFrame(target, image, vertices, kOpaqueBlack);
  shown = readTarget(target);
  EXPECT_EQ(pixelAt(shown, 4, 0, 0), kBlack);
  EXPECT_TRUE(near(pixelAt(shown, 4, 1, 0), {64, 64, 64, 255}, 2));
  EXPECT_TRUE(near(pixelAt(shown, 4, 2, 0), {191, 191, 191, 255}, 2));
  EXPECT_EQ(pixelAt(shown, 4, 3, 0), kWhite);
}

TEST_F(GfxDrawing, BlendingWeighsColourBySourceAlphaAndAddsAlphaOverTheDestination) {
  SpriteKit kit;
  kit.make();
  const std::vector<uint8_t> white = pixelsOf({kWhite});
  const Image image = makeImage(1, 1, white.data(), "creator2d-texture");
  const Target target = makeTarget(2, 2, nullptr);
  std::vector<SpriteVertex> vertices;
  appendQuad(vertices, 0, 2, 2, 0, {1, 0, 0, 0.5f});
  const float halfBlue[4] = {0, 0, 1, 0.5f};
  kit.drawFrame(target, image, vertices, halfBlue);
  // rgb = 0.5 red + 0.5 blue; alpha = 0.5 + 0.5 × (1 - 0.5) = 0.75, not the 0.5 of rgb's factors.
  EXPECT_TRUE(near(pixelAt(readTarget(target), 2, 1, 1), {128, 0, 128, 191}, 1));
}

TEST_F(GfxDrawing, AnImageTakesNewPixelsOfItsOwnSizeOnly) {
  SpriteKit kit;
  kit.make();
  const std::vector<uint8_t> red = pixelsOf({kRed, kRed});
  const Image image = makeImage(2, 1, red.data(), "creator2d-texture");
  const Target target = makeTarget(2, 1, nullptr);
  std::vector<SpriteVertex> vertices;
  appendQuad(vertices, 0, 1, 2, 0);

  const std::vector<uint8_t> blueGreen = pixelsOf({kBlue, kGreen});
  EXPECT_TRUE(updateImage(image, 2, 1, blueGreen.data()));
  const std::vector<uint8_t> four = pixelsOf({kWhite, kWhite, kWhite, kWhite});
  EXPECT_FALSE(updateImage(image, 1, 2, four.data()));
  EXPECT_FALSE(updateImage(image, 4, 1, four.data()));
  kit.drawFrame(target, image, vertices, kOpaqueBlack);
  const std::vector<uint8_t> shown = readTarget(target);
  EXPECT_EQ(pixelAt(shown, 2, 0, 0), kBlue);
  EXPECT_EQ(pixelAt(shown, 2, 1, 0), kGreen);
}

TEST_F(GfxDrawing, ImagesAndTargetsOutsideTheDeviceLimitsAreNotMade) {
  const int limit = maxTextureSize();
  EXPECT_GE(limit, 1024);  // the least GL 3.3 allows
  const std::vector<uint8_t> pixel = pixelsOf({kWhite});
  EXPECT_EQ(makeImage(0, 1, pixel.data(), nullptr).id, 0u);
  EXPECT_EQ(makeImage(1, 1, nullptr, nullptr).id, 0u);
  EXPECT_EQ(makeImage(limit + 1, 1, pixel.data(), nullptr).id, 0u);
  EXPECT_EQ(makeTarget(0, 4, nullptr).id, 0u);
  EXPECT_EQ(makeTarget(4, limit + 1, nullptr).id, 0u);
}

}  // namespace
}  // namespace talvero::gpu::testing
