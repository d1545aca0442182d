#include "scene3d/material_package.h"

#include <backend/DriverEnums.h>
#include <filaflat/ChunkContainer.h>
#include <filament/MaterialChunkType.h>
#include <filament/MaterialEnums.h>

#include <cstring>

namespace talvero::scene3d {

namespace {

using filamat::ChunkType;

// The smallest chunk: an 8-byte type and a 4-byte size. The chunk reader reads that much
// before it looks at the length.
constexpr size_t kSmallestChunk = 12;

// Reads little-endian values from one chunk, never past its end.
class ChunkReader {
 public:
  ChunkReader(const uint8_t* start, const uint8_t* end)
      : start_(start), cursor_(start), end_(end) {}

  template <class T>
  bool read(T& value) {
    if (static_cast<size_t>(end_ - cursor_) < sizeof(T)) return false;
    std::memcpy(&value, cursor_, sizeof(T));
    cursor_ += sizeof(T);
    return true;
  }
  // Skips a NUL-terminated text that ends inside the chunk.
  bool skipText() {
    const void* nul = std::memchr(cursor_, 0, static_cast<size_t>(end_ - cursor_));
    if (!nul) return false;
    cursor_ = static_cast<const uint8_t*>(nul) + 1;
    return true;
  }
  bool seek(uint64_t offset) {
    if (offset > static_cast<uint64_t>(end_ - start_)) return false;
    cursor_ = start_ + offset;
    return true;
  }

 private:
  const uint8_t* start_;
  const uint8_t* cursor_;
  const uint8_t* end_;
};

ChunkReader readerOf(const filaflat::ChunkContainer& container, ChunkType type) {
  return {container.getChunkStart(type), container.getChunkEnd(type)};
}

// The number of lines in the shader text dictionary; -1 when it does not read whole.
int64_t dictionaryLines(const filaflat::ChunkContainer& container) {
  ChunkReader reader = readerOf(container, ChunkType::DictionaryText);
  uint32_t count = 0;
  if (!reader.read(count)) return -1;
  for (uint32_t i = 0; i < count; ++i) {
    if (!reader.skipText()) return -1;
  }
  return count;
}

// Every shader of the index decodes: its offset lies in the chunk, its lines too, and each
// line is in the dictionary. The renderer decodes them without these checks, variant by
// variant, as it first draws each one. Empty, or the reason.
std::string checkShaders(const filaflat::ChunkContainer& container, int64_t lines) {
  ChunkReader index = readerOf(container, ChunkType::MaterialGlsl);
  uint64_t count = 0;
  if (!index.read(count) || count == 0) return "no shaders";
  bool desktopVertex = false;
  bool desktopFragment = false;
  const auto desktop = static_cast<uint8_t>(filament::backend::ShaderModel::GL_CORE_41);
  for (uint64_t i = 0; i < count; ++i) {
    uint8_t model = 0;
    uint8_t variant = 0;
    uint8_t stage = 0;
    uint32_t offset = 0;
    if (!index.read(model) || !index.read(variant) || !index.read(stage) || !index.read(offset)) {
      return "unreadable shader index";
    }
    ChunkReader shader = readerOf(container, ChunkType::MaterialGlsl);
    uint32_t size = 0;
    uint32_t lineCount = 0;
    if (offset == 0 || !shader.seek(offset) || !shader.read(size) || !shader.read(lineCount)) {
      return "a shader lies outside the package";
    }
    for (uint32_t line = 0; line < lineCount; ++line) {
      uint16_t entry = 0;
      if (!shader.read(entry)) return "a shader lies outside the package";
      if (entry >= lines) return "a shader line is not in the dictionary";
    }
    if (model == desktop && variant == 0) {
      desktopVertex |= stage == static_cast<uint8_t>(filament::backend::ShaderType::VERTEX);
      desktopFragment |= stage == static_cast<uint8_t>(filament::backend::ShaderType::FRAGMENT);
    }
  }
  return desktopVertex && desktopFragment ? "" : "no desktop shaders";
}

}  // namespace

std::string checkMaterialPackage(const uint8_t* data, size_t size) {
  if (!data || size < kSmallestChunk) return "too short to be a material package";
  filaflat::ChunkContainer container(data, size);
  if (!container.parse()) return "not a material package";
  if (!container.hasChunk(ChunkType::MaterialVersion)) return "no material version";
  uint32_t version = 0;
  if (!readerOf(container, ChunkType::MaterialVersion).read(version)) {
    return "unreadable material version";
  }
  if (version != filament::MATERIAL_VERSION) {
    return "material version " + std::to_string(version) + ", this engine reads " +
           std::to_string(filament::MATERIAL_VERSION);
  }
  if (!container.hasChunk(ChunkType::MaterialGlsl)) return "no OpenGL shaders";
  if (!container.hasChunk(ChunkType::DictionaryText)) return "no shader text dictionary";
  // The renderer stops on a package without its uniform and sampler interface blocks.
  if (!container.hasChunk(ChunkType::MaterialUib) || !container.hasChunk(ChunkType::MaterialSib)) {
    return "no parameter blocks";
  }
  const int64_t lines = dictionaryLines(container);
  if (lines < 0) return "unreadable shader text dictionary";
  return checkShaders(container, lines);
}

}  // namespace talvero::scene3d
