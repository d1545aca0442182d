#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <vector>

#include "platform/gpu/gfx.h"

// What the 2D renderer draws with, for the graphics layer's tests: one textured, coloured
// sprite shader and its pipeline, and quads in a y-up world of pixels.
namespace talvero::gpu::testing {

using Pixel = std::array<uint8_t, 4>;

struct SpriteVertex {
  float x, y, u, v, r, g, b, a;
};

inline const char* const kSpriteVertexSource = R"(#version 330 core
layout(std140) uniform Frame { mat4 mvp; };
in vec2 pos;
in vec2 uv;
in vec4 color;
out vec2 fragmentUv;
out vec4 fragmentColor;
void main() {
  gl_Position = mvp * vec4(pos, 0.0, 1.0);
  fragmentUv = uv;
  fragmentColor = color;
}
)";

inline const char* const kSpriteFragmentSource = R"(#version 330 core
uniform sampler2D tex;
in vec2 fragmentUv;
in vec4 fragmentColor;
out vec4 outColor;
void main() { outColor = texture(tex, fragmentUv) * fragmentColor; }
)";

inline Shader makeSpriteShader(const char* label = "creator2d-sprite") {
  ShaderDesc desc;
  desc.vertexSource = kSpriteVertexSource;
  desc.fragmentSource = kSpriteFragmentSource;
  desc.attributes = {{"pos", 0}, {"uv", 1}, {"color", 2}};
  desc.uniformBlock = "Frame";
  desc.uniformBlockSize = 64;
  desc.textureUniform = "tex";
  desc.label = label;
  return makeShader(desc);
}

inline Pipeline makeSpritePipeline(Shader shader, const char* label = "creator2d-sprite") {
  PipelineDesc desc;
  desc.shader = shader;
  desc.stride = sizeof(SpriteVertex);
  desc.attributes = {
      {0, VertexFormat::Float2, 0}, {1, VertexFormat::Float2, 8}, {2, VertexFormat::Float4, 16}};
  desc.blend = true;
  desc.srcRGB = BlendFactor::SrcAlpha;
  desc.dstRGB = BlendFactor::OneMinusSrcAlpha;
  desc.srcAlpha = BlendFactor::One;
  desc.dstAlpha = BlendFactor::OneMinusSrcAlpha;
  desc.label = label;
  return makePipeline(desc);
}

// Column-major: world x in 0..width and y in 0..height (y up) fill the target.
inline std::array<float, 16> pixelWorld(int width, int height) {
  const float sx = 2.0f / static_cast<float>(width), sy = 2.0f / static_cast<float>(height);
  return {sx, 0, 0, 0, 0, sy, 0, 0, 0, 0, 1, 0, -1, -1, 0, 1};
}

struct Rgba {
  float r = 1, g = 1, b = 1, a = 1;
};

// A quad from (left, top) to (right, bottom) of the y-up world: texture row v0 at its top.
inline void appendQuad(std::vector<SpriteVertex>& vertices, float left, float top, float right,
                       float bottom, Rgba c = {}, float u0 = 0, float v0 = 0, float u1 = 1,
                       float v1 = 1) {
  vertices.push_back({left, top, u0, v0, c.r, c.g, c.b, c.a});
  vertices.push_back({right, top, u1, v0, c.r, c.g, c.b, c.a});
  vertices.push_back({right, bottom, u1, v1, c.r, c.g, c.b, c.a});
  vertices.push_back({left, bottom, u0, v1, c.r, c.g, c.b, c.a});
}

// 0, 1, 2, 0, 2, 3 for each quad, 4 higher each time.
inline std::vector<uint32_t> quadIndices(uint32_t quads) {
  std::vector<uint32_t> indices;
  for (uint32_t q = 0; q < quads; ++q) {
    for (uint32_t corner : {0u, 1u, 2u, 0u, 2u, 3u}) indices.push_back(q * 4 + corner);
  }
  return indices;
}

inline std::vector<uint8_t> pixelsOf(std::initializer_list<Pixel> pixels) {
  std::vector<uint8_t> bytes;
  for (const Pixel& p : pixels) bytes.insert(bytes.end(), p.begin(), p.end());
  return bytes;
}

inline Pixel pixelAt(const std::vector<uint8_t>& rgba, int width, int x, int y) {
  const size_t at = (static_cast<size_t>(y) * static_cast<size_t>(width) + x) * 4;
  return {rgba[at], rgba[at + 1], rgba[at + 2], rgba[at + 3]};
}

// Everything one sprite frame needs, made once: quads are drawn into `target` through it.
struct SpriteKit {
  Shader shader;
  Pipeline pipeline;
  Sampler sampler;
  Buffer vertexBuffer;
  Buffer indexBuffer;

  void make(Filter filter = Filter::Nearest, uint32_t quadCapacity = 4) {
    shader = makeSpriteShader();
    pipeline = makeSpritePipeline(shader);
    SamplerDesc samplerDesc;
    samplerDesc.minFilter = samplerDesc.magFilter = filter;
    samplerDesc.label = "creator2d-sampler";
    sampler = makeSampler(samplerDesc);
    vertexBuffer = makeBuffer(BufferUsage::StreamVertex, quadCapacity * 4 * sizeof(SpriteVertex),
                              nullptr, "creator2d-verts");
    const std::vector<uint32_t> indices = quadIndices(quadCapacity);
    indexBuffer = makeBuffer(BufferUsage::ImmutableIndex, indices.size() * sizeof(uint32_t),
                             indices.data(), "creator2d-indices");
  }

  bool complete() const {
    return shader.id && pipeline.id && sampler.id && vertexBuffer.id && indexBuffer.id;
  }

  // One pass: cleared, then the quads drawn with `image` from `firstQuad`, then committed.
  void drawFrame(Target target, Image image, const std::vector<SpriteVertex>& vertices,
                 const float clear[4], int firstQuad = 0, int quadCount = -1) {
    updateBuffer(vertexBuffer, vertices.data(), vertices.size() * sizeof(SpriteVertex));
    PassAction action;
    for (int i = 0; i < 4; ++i) action.clearColor[i] = clear[i];
    ASSERT_TRUE(beginPass(target, action));
    applyPipeline(pipeline);
    const std::array<float, 16> mvp = pixelWorld(targetWidth(target), targetHeight(target));
    applyUniforms(mvp.data(), sizeof(mvp));
    applyBindings({vertexBuffer, indexBuffer, image, sampler});
    if (quadCount < 0) quadCount = static_cast<int>(vertices.size() / 4) - firstQuad;
    draw(firstQuad * 6, quadCount * 6, 1);
    endPass();
    commit();
  }
};

}  // namespace talvero::gpu::testing
