#include <time.h>

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "scene2d/internal/renderer.h"
#include "scene2d/scene2d.h"

namespace talvero::scene2d {

namespace {

constexpr const char* kVertexSource = R"(#version 330 core
layout(std140) uniform params {
  mat4 mvp;
};
in vec2 pos;
in vec2 uv;
in vec4 color;
out vec2 fragUv;
out vec4 fragColor;
void main() {
  gl_Position = mvp * vec4(pos, 0.0, 1.0);
  fragUv = uv;
  fragColor = color;
}
)";

constexpr const char* kFragmentSource = R"(#version 330 core
uniform sampler2D tex;
in vec2 fragUv;
in vec4 fragColor;
out vec4 outColor;
void main() {
  outColor = texture(tex, fragUv) * fragColor;
}
)";

constexpr size_t kBytesPerQuad = 4 * sizeof(V2D);

gpu::Sampler makeSampler(bool linear) {
  gpu::SamplerDesc desc;
  desc.minFilter = desc.magFilter = linear ? gpu::Filter::Linear : gpu::Filter::Nearest;
  desc.mipmapFilter = gpu::Filter::Nearest;
  desc.wrapU = desc.wrapV = desc.wrapW = gpu::Wrap::ClampToEdge;
  desc.label = "creator2d-sampler";
  return gpu::makeSampler(desc);
}

void growBuffers(int32_t quads) {
  Renderer& r = g_renderer;
  r.capacity = std::max(quads, r.capacity > 0 ? r.capacity * 2 : 1024);
  if (r.vertexBuffer.id != 0) gpu::destroy(r.vertexBuffer);
  r.vertexBuffer = gpu::makeBuffer(gpu::BufferUsage::StreamVertex, r.capacity * kBytesPerQuad,
                                   nullptr, "creator2d-verts");
  r.indices.resize(static_cast<size_t>(r.capacity) * 6);
  for (uint32_t quad = 0; quad < static_cast<uint32_t>(r.capacity); ++quad) {
    uint32_t* at = &r.indices[quad * 6];
    const uint32_t first = quad * 4;
    at[0] = first;
    at[1] = first + 1;
    at[2] = first + 2;
    at[3] = first;
    at[4] = first + 2;
    at[5] = first + 3;
  }
  if (r.indexBuffer.id != 0) gpu::destroy(r.indexBuffer);
  r.indexBuffer =
      gpu::makeBuffer(gpu::BufferUsage::ImmutableIndex, r.indices.size() * sizeof(uint32_t),
                      r.indices.data(), "creator2d-indices");
}

// World to clip space: the camera's position, rotation and zoom over a view of the viewport's
// size in points. Column-major.
void cameraMatrix(const Scene2D& scene, float out[16]) {
  const float density = g_density > 0.000001f ? g_density : 1;
  const float zoom = std::max(scene.zoom, 0.000001f);
  const float hw = g_viewportW / density * 0.5f / zoom;
  const float hh = g_viewportH / density * 0.5f / zoom;
  const float c = std::cos(scene.cameraRotation);
  const float s = std::sin(scene.cameraRotation);
  const float cx = scene.cameraX;
  const float cy = scene.cameraY;
  // clang-format off
  const float m[16] = {
      c / hw,                  -s / hh,                 0, 0,
      s / hw,                  c / hh,                  0, 0,
      0,                       0,                       1, 0,
      (-cx * c - s * cy) / hw, (cx * s - c * cy) / hh,  0, 1,
  };
  // clang-format on
  std::copy(m, m + 16, out);
}

}  // namespace

double threadCpuSeconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + now.tv_nsec * 1e-9;
}

void rendererInit() {
  Renderer& r = g_renderer;
  if (r.initialised) return;
  r.initialised = true;

  gpu::ShaderDesc shader;
  shader.vertexSource = kVertexSource;
  shader.fragmentSource = kFragmentSource;
  shader.attributes = {{"pos", 0}, {"uv", 1}, {"color", 2}};
  shader.uniformBlock = "params";
  shader.uniformBlockSize = 64;
  shader.textureUniform = "tex";
  shader.label = "creator2d-sprite";
  r.shader = gpu::makeShader(shader);

  gpu::PipelineDesc pipeline;
  pipeline.shader = r.shader;
  pipeline.stride = sizeof(V2D);
  pipeline.attributes = {{0, gpu::VertexFormat::Float2, offsetof(V2D, x)},
                         {1, gpu::VertexFormat::Float2, offsetof(V2D, u)},
                         {2, gpu::VertexFormat::Float4, offsetof(V2D, r)}};
  pipeline.primitive = gpu::Primitive::Triangles;
  pipeline.indexType = gpu::IndexType::Uint32;
  pipeline.blend = true;
  pipeline.srcRGB = gpu::BlendFactor::SrcAlpha;
  pipeline.dstRGB = gpu::BlendFactor::OneMinusSrcAlpha;
  pipeline.srcAlpha = gpu::BlendFactor::One;
  pipeline.dstAlpha = gpu::BlendFactor::OneMinusSrcAlpha;
  // The depth buffer plays no part in order: later quads are simply on top.
  pipeline.depthCompare = gpu::CompareFunc::Always;
  pipeline.depthWrite = false;
  pipeline.cull = gpu::CullMode::None;
  pipeline.label = "creator2d-sprite";
  r.pipeline = gpu::makePipeline(pipeline);

  r.sampler = makeSampler(r.linearFilter);
}

void rendererSetFilter(bool linear) {
  Renderer& r = g_renderer;
  if (linear == r.linearFilter && r.sampler.id != 0) return;
  r.linearFilter = linear;
  // Before the first frame with a device there is nothing to remake: rendererInit reads the
  // stored value.
  if (!r.initialised) return;
  if (r.sampler.id != 0) gpu::destroy(r.sampler);
  r.sampler = makeSampler(linear);
}

RenderCounts rendererDrawScene(const Scene2D& scene) {
  Renderer& r = g_renderer;
  RenderCounts counts;
  const double buildStart = threadCpuSeconds();
  buildDrawList(scene);
  counts.buildSeconds = threadCpuSeconds() - buildStart;

  const auto quads = static_cast<int32_t>(r.vertices.size() / 4);
  if (quads == 0) return counts;
  if (r.capacity < quads) growBuffers(quads);
  counts.uploaded =
      gpu::updateBuffer(r.vertexBuffer, r.vertices.data(), r.vertices.size() * sizeof(V2D));

  float mvp[16];
  cameraMatrix(scene, mvp);
  gpu::applyPipeline(r.pipeline);
  gpu::applyUniforms(mvp, sizeof(mvp));
  for (const Batch& batch : r.batches) {
    if (batch.quadCount == 0) continue;
    const Texture2D* texture = liveTexture(batch.texture);
    // A texture made while no device was there has no image to sample.
    if (!texture || texture->image.id == 0) continue;
    gpu::applyBindings({r.vertexBuffer, r.indexBuffer, texture->image, r.sampler});
    gpu::draw(batch.firstQuad * 6, batch.quadCount * 6, 1);
    ++counts.draws;
  }
  return counts;
}

}  // namespace talvero::scene2d

void c2dSetDefaultFilter(bool linear) {
  talvero::scene2d::rendererSetFilter(linear);
}
