#include "scene3d/material_package.h"

#include <backend/DriverEnums.h>
#include <filaflat/BlobDictionary.h>
#include <filaflat/ChunkContainer.h>
#include <filaflat/DictionaryReader.h>
#include <filaflat/MaterialChunk.h>
#include <filaflat/ShaderBuilder.h>
#include <filaflat/Unflattener.h>
#include <filament/MaterialChunkType.h>
#include <filament/MaterialEnums.h>

namespace talvero::scene3d {

namespace {

// The smallest chunk: an 8-byte type and a 4-byte size. The chunk reader reads that much
// before it looks at the length.
constexpr size_t kSmallestChunk = 12;

}  // namespace

std::string checkMaterialPackage(const uint8_t* data, size_t size) {
  using filamat::ChunkType;
  if (!data || size < kSmallestChunk) return "too short to be a material package";
  filaflat::ChunkContainer container(data, size);
  if (!container.parse()) return "not a material package";
  if (!container.hasChunk(ChunkType::MaterialVersion)) return "no material version";
  uint32_t version = 0;
  filaflat::Unflattener versionReader(container.getChunkStart(ChunkType::MaterialVersion),
                                      container.getChunkEnd(ChunkType::MaterialVersion));
  if (!versionReader.read(&version)) return "unreadable material version";
  if (version != filament::MATERIAL_VERSION) {
    return "material version " + std::to_string(version) + ", this engine reads " +
           std::to_string(filament::MATERIAL_VERSION);
  }
  if (!container.hasChunk(ChunkType::MaterialGlsl)) return "no OpenGL shaders";
  if (!container.hasChunk(ChunkType::DictionaryText)) return "no shader text dictionary";
  filaflat::BlobDictionary dictionary;
  if (!filaflat::DictionaryReader::unflatten(container, ChunkType::DictionaryText, dictionary)) {
    return "unreadable shader text dictionary";
  }
  filaflat::MaterialChunk shaders(container);
  if (!shaders.readIndex(ChunkType::MaterialGlsl)) return "unreadable shader index";
  const auto model = static_cast<uint8_t>(filament::backend::ShaderModel::GL_CORE_41);
  for (const auto stage :
       {filament::backend::ShaderType::VERTEX, filament::backend::ShaderType::FRAGMENT}) {
    filaflat::ShaderBuilder builder;
    if (!shaders.getShader(builder, dictionary, model, 0, static_cast<uint8_t>(stage))) {
      return "no desktop shaders";
    }
  }
  return {};
}

}  // namespace talvero::scene3d
