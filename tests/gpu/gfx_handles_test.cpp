#include <epoxy/gl.h>
#include <gtest/gtest.h>

#include "gpu/sprite_drawing.h"
#include "platform/gpu/gfx.h"

namespace talvero::gpu::testing {
namespace {

constexpr float kGrey[4] = {0.5f, 0.5f, 0.5f, 1};
constexpr Pixel kGreyPixel{128, 128, 128, 255};
constexpr Pixel kWhite{255, 255, 255, 255};

class GfxHandles : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(setup()) << "no GL device (" << unavailableReason()
                         << "): run the tests under xvfb-run";
  }
  // A refused call must not reach GL with a bad name either.
  void TearDown() override {
    if (hasDevice()) {
      EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    }
  }
};

TEST_F(GfxHandles, DestroyedAndNeverMadeHandlesAreRefusedAndCounted) {
  const std::vector<uint8_t> white = pixelsOf({kWhite});
  const Image image = makeImage(1, 1, white.data(), "creator2d-texture");
  const Target target = makeTarget(2, 2, nullptr);
  const Buffer buffer = makeBuffer(BufferUsage::StreamVertex, 64, nullptr, nullptr);
  ASSERT_TRUE(image.id && target.id && buffer.id);
  destroy(image);
  destroy(target);
  destroy(buffer);

  uint64_t refused = counters().refusedHandles;
  EXPECT_FALSE(updateImage(image, 1, 1, white.data()));
  EXPECT_EQ(counters().refusedHandles, ++refused);
  EXPECT_FALSE(updateBuffer(buffer, white.data(), 4));
  EXPECT_EQ(counters().refusedHandles, ++refused);
  EXPECT_EQ(targetWidth(target), 0);
  EXPECT_TRUE(readTarget(target).empty());
  EXPECT_FALSE(beginPass(target, PassAction{}));
  EXPECT_FALSE(presentTarget(target, 2, 2));
  destroy(image);  // twice
  EXPECT_EQ(counters().refusedHandles, refused + 5);
  EXPECT_FALSE(updateImage(Image{999999}, 1, 1, white.data()));
  EXPECT_EQ(counters().refusedHandles, refused + 6);
  // A new object never takes the id of a destroyed one, so an old handle stays refused.
  const Image next = makeImage(1, 1, white.data(), nullptr);
  EXPECT_NE(next.id, image.id);
  EXPECT_FALSE(updateImage(image, 1, 1, white.data()));
}

TEST_F(GfxHandles, ADrawWithAStaleBindingDrawsNothingAndTheRestOfThePassGoesOn) {
  SpriteKit kit;
  kit.make();
  const std::vector<uint8_t> white = pixelsOf({kWhite});
  const Image gone = makeImage(1, 1, white.data(), nullptr);
  const Image kept = makeImage(1, 1, white.data(), nullptr);
  destroy(gone);
  const Target target = makeTarget(2, 1, nullptr);
  std::vector<SpriteVertex> vertices;
  appendQuad(vertices, 0, 1, 1, 0);
  appendQuad(vertices, 1, 1, 2, 0);
  ASSERT_TRUE(
      updateBuffer(kit.vertexBuffer, vertices.data(), vertices.size() * sizeof(SpriteVertex)));

  const uint64_t draws = counters().draws, refused = counters().refusedHandles;
  ASSERT_TRUE(beginPass(target, PassAction{{kGrey[0], kGrey[1], kGrey[2], kGrey[3]}}));
  applyPipeline(kit.pipeline);
  const auto mvp = pixelWorld(2, 1);
  applyUniforms(mvp.data(), sizeof(mvp));
  applyBindings({kit.vertexBuffer, kit.indexBuffer, gone, kit.sampler});
  draw(0, 6, 1);
  applyBindings({kit.vertexBuffer, kit.indexBuffer, kept, kit.sampler});
  draw(6, 6, 1);
  endPass();
  commit();
  EXPECT_EQ(counters().draws, draws + 1);
  EXPECT_GT(counters().refusedHandles, refused);
  const std::vector<uint8_t> shown = readTarget(target);
  EXPECT_EQ(pixelAt(shown, 2, 0, 0), kGreyPixel);
  EXPECT_EQ(pixelAt(shown, 2, 1, 0), kWhite);
}

TEST_F(GfxHandles, APipelineWhoseShaderIsGoneDrawsNothing) {
  SpriteKit kit;
  kit.make();
  const std::vector<uint8_t> white = pixelsOf({kWhite});
  const Image image = makeImage(1, 1, white.data(), nullptr);
  const Target target = makeTarget(1, 1, nullptr);
  std::vector<SpriteVertex> vertices;
  appendQuad(vertices, 0, 1, 1, 0);
  destroy(kit.shader);
  const uint64_t draws = counters().draws;
  kit.drawFrame(target, image, vertices, kGrey);
  EXPECT_EQ(counters().draws, draws);
  EXPECT_EQ(pixelAt(readTarget(target), 1, 0, 0), kGreyPixel);
  // A pipeline is not made over a shader that is gone.
  EXPECT_EQ(makeSpritePipeline(kit.shader).id, 0u);
}

TEST_F(GfxHandles, BuffersTakeNoMoreThanTheyHoldAndIndexBuffersNothingAfterTheirMaking) {
  const std::vector<uint8_t> bytes(65, 7);
  const Buffer stream = makeBuffer(BufferUsage::StreamVertex, 64, nullptr, "creator2d-verts");
  ASSERT_NE(stream.id, 0u);
  const uint64_t updates = counters().bufferUpdates;
  EXPECT_FALSE(updateBuffer(stream, bytes.data(), 65));
  EXPECT_TRUE(updateBuffer(stream, bytes.data(), 64));
  EXPECT_TRUE(updateBuffer(stream, bytes.data(), 8));
  EXPECT_EQ(counters().bufferUpdates, updates + 2);

  EXPECT_EQ(makeBuffer(BufferUsage::ImmutableIndex, 64, nullptr, nullptr).id, 0u);
  EXPECT_EQ(makeBuffer(BufferUsage::StreamVertex, 0, nullptr, nullptr).id, 0u);
  const Buffer indices = makeBuffer(BufferUsage::ImmutableIndex, 64, bytes.data(), nullptr);
  ASSERT_NE(indices.id, 0u);
  EXPECT_FALSE(updateBuffer(indices, bytes.data(), 4));
}

TEST_F(GfxHandles, ADrawPastTheEndOfTheIndexBufferIsRefused) {
  SpriteKit kit;
  kit.make(Filter::Nearest, 1);  // six indexes
  const std::vector<uint8_t> white = pixelsOf({kWhite});
  const Image image = makeImage(1, 1, white.data(), nullptr);
  const Target target = makeTarget(1, 1, nullptr);
  std::vector<SpriteVertex> vertices;
  appendQuad(vertices, 0, 1, 1, 0);
  ASSERT_TRUE(
      updateBuffer(kit.vertexBuffer, vertices.data(), vertices.size() * sizeof(SpriteVertex)));
  const uint64_t draws = counters().draws;
  ASSERT_TRUE(beginPass(target, PassAction{{kGrey[0], kGrey[1], kGrey[2], kGrey[3]}}));
  applyPipeline(kit.pipeline);
  const auto mvp = pixelWorld(1, 1);
  applyUniforms(mvp.data(), sizeof(mvp));
  applyBindings({kit.vertexBuffer, kit.indexBuffer, image, kit.sampler});
  draw(1, 6, 1);
  draw(0, 6, 1);
  endPass();
  commit();
  EXPECT_EQ(counters().draws, draws + 1);
  EXPECT_EQ(pixelAt(readTarget(target), 1, 0, 0), kWhite);
}

TEST_F(GfxHandles, AShaderThatDoesNotCompileOrWhoseBlockDiffersIsNotMade) {
  ::testing::internal::CaptureStdout();
  ShaderDesc broken;
  broken.vertexSource = "#version 330 core\nvoid main() { gl_Position = undefinedThing; }\n";
  broken.fragmentSource = kSpriteFragmentSource;
  broken.label = "broken";
  EXPECT_EQ(makeShader(broken).id, 0u);

  ShaderDesc wrongBlock;
  wrongBlock.vertexSource = kSpriteVertexSource;
  wrongBlock.fragmentSource = kSpriteFragmentSource;
  wrongBlock.attributes = {{"pos", 0}, {"uv", 1}, {"color", 2}};
  wrongBlock.uniformBlock = "Frame";
  wrongBlock.uniformBlockSize = 48;
  EXPECT_EQ(makeShader(wrongBlock).id, 0u);
  const std::string printed = ::testing::internal::GetCapturedStdout();
  EXPECT_NE(printed.find("[creator-2d] shader \"broken\": the vertex stage does not compile"),
            std::string::npos)
      << printed;
  EXPECT_NE(printed.find("uniform block Frame holds 64 bytes, not 48"), std::string::npos)
      << printed;
}

}  // namespace
}  // namespace talvero::gpu::testing
