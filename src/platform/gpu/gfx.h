#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// A small graphics layer over OpenGL 3.3 core for the 2D renderer: shaders, pipelines,
// samplers, images, buffers and passes into render targets of ours. No GL header leaks out of
// it. All objects live in one surfaceless GL context of the display, made at the first call that
// needs it; every entry point makes that context current itself. Handles are small ids checked
// on use: a handle that was destroyed, or never made, is refused (the call does nothing or gives
// a neutral result), never dereferenced. Main thread only.
namespace talvero::gpu {

struct Shader {
  uint32_t id = 0;
};
struct Pipeline {
  uint32_t id = 0;
};
struct Sampler {
  uint32_t id = 0;
};
struct Image {
  uint32_t id = 0;
};
struct Buffer {
  uint32_t id = 0;
};
// An offscreen colour texture (RGBA8) with a depth-stencil renderbuffer (DEPTH24_STENCIL8).
struct Target {
  uint32_t id = 0;
};

// Makes the device if it is not there yet. False when there is none: no display, no GL 3.3
// core. The first failure prints "[creator-2d] no GL device (<reason>): 2D scenes run but are
// not drawn" once; later calls fail quietly with the same reason.
bool setup();
bool hasDevice();
// Why setup failed; empty while it has not failed.
const std::string& unavailableReason();
// The line printed when there is no device.
std::string noDeviceMessage(const std::string& reason);
// GL_MAX_TEXTURE_SIZE of the device; 0 without one.
int maxTextureSize();

struct ShaderAttribute {
  const char* name;
  int location;
};
struct ShaderDesc {
  const char* vertexSource = nullptr;    // GLSL 330 core
  const char* fragmentSource = nullptr;  // GLSL 330 core
  std::vector<ShaderAttribute> attributes;
  // One vertex-stage uniform block at binding 0, set whole by applyUniforms.
  const char* uniformBlock = nullptr;
  size_t uniformBlockSize = 0;
  // The sampler uniform bound to texture unit 0.
  const char* textureUniform = nullptr;
  const char* label = nullptr;
};
// A failed compile or link prints the GL log and gives a null handle.
Shader makeShader(const ShaderDesc& desc);

enum class VertexFormat { Float2, Float4 };
struct VertexAttribute {
  int location;
  VertexFormat format;
  size_t offset;
};
enum class Primitive { Triangles };
enum class IndexType { Uint32 };
enum class BlendFactor { Zero, One, SrcAlpha, OneMinusSrcAlpha };
enum class CompareFunc { Always, Less, LessEqual };
enum class CullMode { None, Back };
struct PipelineDesc {
  Shader shader;
  size_t stride = 0;
  std::vector<VertexAttribute> attributes;
  Primitive primitive = Primitive::Triangles;
  IndexType indexType = IndexType::Uint32;
  bool blend = false;
  BlendFactor srcRGB = BlendFactor::One, dstRGB = BlendFactor::Zero;
  BlendFactor srcAlpha = BlendFactor::One, dstAlpha = BlendFactor::Zero;
  CompareFunc depthCompare = CompareFunc::Always;
  bool depthWrite = false;
  CullMode cull = CullMode::None;
  const char* label = nullptr;
};
Pipeline makePipeline(const PipelineDesc& desc);

enum class Filter { Nearest, Linear };
enum class Wrap { ClampToEdge, Repeat };
struct SamplerDesc {
  Filter minFilter = Filter::Nearest, magFilter = Filter::Nearest, mipmapFilter = Filter::Nearest;
  Wrap wrapU = Wrap::ClampToEdge, wrapV = Wrap::ClampToEdge, wrapW = Wrap::ClampToEdge;
  const char* label = nullptr;
};
Sampler makeSampler(const SamplerDesc& desc);

// An RGBA8 image of one level from width × height × 4 bytes, row 0 the top of the picture.
Image makeImage(int width, int height, const uint8_t* rgba, const char* label);
// Replaces the pixels of an image of that very size; false when the handle is bad or the size
// differs.
bool updateImage(Image image, int width, int height, const uint8_t* rgba);

enum class BufferUsage { StreamVertex, ImmutableIndex };
// `data` may be null for a stream buffer; an immutable buffer needs its contents now.
Buffer makeBuffer(BufferUsage usage, size_t size, const void* data, const char* label);
// Replaces the start of a stream buffer; false for a bad handle or more bytes than it holds.
bool updateBuffer(Buffer buffer, const void* data, size_t size);

Target makeTarget(int width, int height, const char* label);
int targetWidth(Target target);
int targetHeight(Target target);

void destroy(Shader);
void destroy(Pipeline);
void destroy(Sampler);
void destroy(Image);
void destroy(Buffer);
void destroy(Target);

struct PassAction {
  float clearColor[4] = {0, 0, 0, 1};
};
// Draws into the target from here to endPass, with the viewport at its full size, cleared.
// False for a bad target or no device; the calls up to endPass then do nothing.
bool beginPass(Target target, const PassAction& action);
void applyPipeline(Pipeline pipeline);
// The pipeline's uniform block, whole.
void applyUniforms(const void* data, size_t size);
struct Bindings {
  Buffer vertexBuffer;
  Buffer indexBuffer;
  Image image;  // texture unit 0
  Sampler sampler;
};
void applyBindings(const Bindings& bindings);
// Indexed triangles from `firstElement`, `elementCount` indexes.
void draw(int firstElement, int elementCount, int instances);
void endPass();
// Flushes the frame's commands and leaves a fence on the target drawn last.
void commit();

// The target's pixels once its last frame has finished: straight from the colour texture,
// width × height × 4 bytes, row 0 the top. Empty for a bad target or no device.
std::vector<uint8_t> readTarget(Target target);

// Draws the target's colour into the framebuffer bound in the GL context current now (a
// GtkGLArea's, in its render signal) at 0, 0 and `width` × `height`, after waiting on the
// target's fence. Framebuffers are not shared between contexts, so a read framebuffer is kept
// for each context it is called in. False when there is nothing to draw.
bool presentTarget(Target target, int width, int height);

// Counters since setup, for tests and benchmarks.
struct Counters {
  uint64_t draws = 0;
  uint64_t bufferUpdates = 0;
  uint64_t passes = 0;
  uint64_t refusedHandles = 0;
};
const Counters& counters();

}  // namespace talvero::gpu
