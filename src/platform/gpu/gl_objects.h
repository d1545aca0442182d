#pragma once

// The GL objects behind the graphics layer's handles, shared by its own files only.

#include <epoxy/gl.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/gpu/gfx.h"
#include "platform/gpu/gl_device.h"

namespace talvero::gpu {

struct ShaderRecord {
  GLuint program = 0;
  // Holds the block that `applyUniforms` sets, bound at binding 0 for each draw.
  GLuint uniformBuffer = 0;
  size_t uniformBlockSize = 0;
};

struct PipelineRecord {
  uint32_t shader = 0;
  // Vertex arrays are not shared between contexts; this one lives in the device's.
  GLuint vertexArray = 0;
  GLsizei stride = 0;
  std::vector<VertexAttribute> attributes;
  bool blend = false;
  GLenum srcRGB = GL_ONE, dstRGB = GL_ZERO, srcAlpha = GL_ONE, dstAlpha = GL_ZERO;
  bool depthTest = false;
  GLenum depthFunc = GL_ALWAYS;
  bool depthWrite = false;
  bool cullBack = false;
};

struct SamplerRecord {
  GLuint sampler = 0;
};

struct ImageRecord {
  GLuint texture = 0;
  int width = 0;
  int height = 0;
};

struct BufferRecord {
  GLuint buffer = 0;
  BufferUsage usage = BufferUsage::StreamVertex;
  size_t size = 0;
};

struct TargetRecord {
  GLuint texture = 0;
  GLuint depthStencil = 0;
  GLuint framebuffer = 0;
  int width = 0;
  int height = 0;
  // Signalled once the last committed frame drawn into the target has finished.
  GLsync fence = nullptr;
};

// Records by handle id. Ids count up and are not given out again, so a stale handle finds
// nothing rather than a newer object; only live records are held.
template <typename Record>
class HandleTable {
 public:
  uint32_t insert(Record record) {
    const uint32_t id = nextId_++;
    records_.emplace(id, std::move(record));
    return id;
  }

  // The live record of `id`, or null for a handle refused (and counted).
  Record* find(uint32_t id) {
    const auto found = records_.find(id);
    if (found == records_.end()) {
      ++mutableCounters().refusedHandles;
      return nullptr;
    }
    return &found->second;
  }

  // The live record of `id` or null, for ids the layer keeps itself: nothing is counted.
  Record* peek(uint32_t id) {
    const auto found = records_.find(id);
    return found == records_.end() ? nullptr : &found->second;
  }

  // Takes the record out of the table; nothing for a refused handle.
  std::optional<Record> take(uint32_t id) {
    const auto found = records_.find(id);
    if (found == records_.end()) {
      ++mutableCounters().refusedHandles;
      return std::nullopt;
    }
    Record record = std::move(found->second);
    records_.erase(found);
    return record;
  }

 private:
  std::unordered_map<uint32_t, Record> records_;
  uint32_t nextId_ = 1;
};

struct ObjectTables {
  HandleTable<ShaderRecord> shaders;
  HandleTable<PipelineRecord> pipelines;
  HandleTable<SamplerRecord> samplers;
  HandleTable<ImageRecord> images;
  HandleTable<BufferRecord> buffers;
  HandleTable<TargetRecord> targets;
};

ObjectTables& objects();

// The record of a target for a pass or a read, when the device is there.
TargetRecord* findTarget(Target target);

}  // namespace talvero::gpu
