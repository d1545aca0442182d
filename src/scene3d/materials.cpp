#include "scene3d/materials.h"

#include <filament/IndexBuffer.h>
#include <filament/Material.h>
#include <filament/MaterialInstance.h>
#include <filament/RenderableManager.h>
#include <filament/Texture.h>
#include <filament/TextureSampler.h>
#include <filament/TransformManager.h>
#include <filament/VertexBuffer.h>
#include <math/mat3.h>
#include <math/norm.h>
#include <math/vec3.h>
#include <utils/Entity.h>

#include <algorithm>
#include <cfloat>
#include <cstring>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

#include "runtime/log.h"
#include "scene3d/engine_state.h"
#include "scene3d/material_access.h"
#include "scene3d/material_package.h"
#include "scene3d/report.h"

namespace talvero::scene3d {

namespace {

using filament::Material;
using filament::MaterialInstance;
using filament::backend::UniformType;
using filament::math::float3;
using filament::math::float4;
using filament::math::mat3f;
using filament::math::quatf;

// One interleaved vertex of a script mesh.
struct MeshVertex {
  float position[3];
  quatf tangents;
  uint8_t colour[4];
  float uv[2];
};
static_assert(sizeof(MeshVertex) == 40);

struct MeshBuffers {
  filament::VertexBuffer* vertices = nullptr;
  filament::IndexBuffer* indices = nullptr;
};

struct Tables {
  std::vector<Material*> materials;
  std::vector<MaterialInstance*> instances;
  filament::Texture* dummyTexture = nullptr;
  std::unordered_map<uint32_t, MeshBuffers> meshes;
  std::optional<float> global3;
};

Tables& tables() {
  static Tables t;
  return t;
}

std::vector<Material::ParameterInfo> parametersOf(const Material& material) {
  std::vector<Material::ParameterInfo> parameters(material.getParameterCount());
  parameters.resize(material.getParameters(parameters.data(), parameters.size()));
  return parameters;
}

bool isSampler2D(const Material::ParameterInfo& parameter) {
  return parameter.isSampler && parameter.samplerType == filament::backend::SamplerType::SAMPLER_2D;
}

bool isUniform(const Material::ParameterInfo& parameter, filament::backend::UniformType type) {
  return !parameter.isSampler && !parameter.isSubpass && parameter.type == type;
}

// The parameter `name` of the instance's material passes `fits`; else one line for the row,
// naming what it is not.
template <class Fits>
bool checkParameter(const char* row, int64_t handle, const MaterialInstance& instance,
                    const std::string& name, const char* kind, Fits fits) {
  for (const auto& parameter : parametersOf(*instance.getMaterial())) {
    if (name != parameter.name) continue;
    if (fits(parameter)) return true;
    reportOnce(row, handle, "parameter \"" + name + "\" is " + kind);
    return false;
  }
  reportOnce(row, handle, "unknown parameter \"" + name + "\"");
  return false;
}

// The instance of a handle whose material has a uniform `name` of `type`; else null, with one
// line for the row.
MaterialInstance* instanceWithUniform(const char* row, int64_t handle, const std::string& name,
                                      filament::backend::UniformType type) {
  MaterialInstance* instance = materialInstanceAt(row, handle);
  const auto fits = [type](const Material::ParameterInfo& parameter) {
    return isUniform(parameter, type);
  };
  if (!instance || !checkParameter(row, handle, *instance, name, "of another type", fits)) {
    return nullptr;
  }
  return instance;
}

}  // namespace

filament::Texture* whiteTexture() {
  Tables& t = tables();
  if (t.dummyTexture) return t.dummyTexture;
  filament::Engine& engine = *state().engine;
  t.dummyTexture = filament::Texture::Builder()
                       .width(1)
                       .height(1)
                       .levels(1)
                       .sampler(filament::Texture::Sampler::SAMPLER_2D)
                       .format(filament::Texture::InternalFormat::RGBA8)
                       .build(engine);
  static const uint8_t white[4] = {0xFF, 0xFF, 0xFF, 0xFF};
  t.dummyTexture->setImage(
      engine, 0,
      filament::Texture::PixelBufferDescriptor(white, sizeof white, filament::Texture::Format::RGBA,
                                               filament::Texture::Type::UBYTE));
  return t.dummyTexture;
}

namespace {

void applyGlobal3(MaterialInstance& instance) {
  const std::optional<float> scale = tables().global3;
  if (scale && instance.getMaterial()->hasParameter("materialGlobal3")) {
    instance.setParameter("materialGlobal3", float4{*scale, 0, 0, 1});
  }
}

// A tangent frame from a normal alone: any tangent across it will do for unlit and simply
// lit meshes.
quatf tangentFrame(float3 normal) {
  float3 tangent = cross(normal, float3{1, 0, 0});
  if (length(tangent) < 0.01f) tangent = cross(normal, float3{0, 1, 0});
  if (length(tangent) < 0.01f) tangent = cross(normal, float3{0, 0, 1});
  tangent = normalize(tangent);
  const float3 bitangent = cross(normalize(normal), tangent);
  return mat3f::packTangentFrame(mat3f{bitangent, tangent, normal}, sizeof(int16_t));
}

filament::RenderableManager::PrimitiveType primitiveOf(int primitive) {
  using Type = filament::RenderableManager::PrimitiveType;
  if (primitive == 1) return Type::LINES;
  if (primitive == 2) return Type::POINTS;
  return Type::TRIANGLES;
}

}  // namespace

MaterialInstance* materialInstanceAt(const char* row, int64_t handle) {
  if (!state().engine || handle < 0 || handle >= static_cast<int64_t>(tables().instances.size())) {
    reportOnce(row, handle, "unknown material instance " + std::to_string(handle));
    return nullptr;
  }
  return tables().instances[static_cast<size_t>(handle)];
}

bool hasSampler(const char* row, int64_t handle, const MaterialInstance& instance,
                const char* name) {
  return checkParameter(row, handle, instance, name, "no 2D sampler", isSampler2D);
}

int64_t createMaterial(const uint8_t* data, size_t size) {
  filament::Engine* engine = state().engine;
  if (!engine) {
    logLine("[creator-gl] createMaterial: no engine");
    return -1;
  }
  const std::string refused = checkMaterialPackage(data, size);
  if (!refused.empty()) {
    logLine("[creator-gl] createMaterial: " + refused);
    return -1;
  }
  Material* material = Material::Builder().package(data, size).build(*engine);
  if (!material) {
    logLine("[creator-gl] createMaterial: the package did not build");
    return -1;
  }
  tables().materials.push_back(material);
  return static_cast<int64_t>(tables().materials.size() - 1);
}

int64_t createMaterialInstance(int64_t material) {
  Tables& t = tables();
  if (!state().engine || material < 0 || material >= static_cast<int64_t>(t.materials.size())) {
    reportOnce("createMaterialInstance", material, "unknown material " + std::to_string(material));
    return -1;
  }
  Material& source = *t.materials[static_cast<size_t>(material)];
  MaterialInstance* instance = source.createInstance();
  for (const auto& parameter : parametersOf(source)) {
    if (isSampler2D(parameter)) {
      instance->setParameter(parameter.name, whiteTexture(), filament::TextureSampler());
    }
  }
  applyGlobal3(*instance);
  t.instances.push_back(instance);
  return static_cast<int64_t>(t.instances.size() - 1);
}

size_t materialInstanceCount() {
  return tables().instances.size();
}

void setUniformRgb(int64_t handle, const std::string& name, uint32_t rgb) {
  if (auto* instance = instanceWithUniform("setUniformRgb", handle, name, UniformType::FLOAT3)) {
    const float3 colour{((rgb >> 16) & 0xFF) / 255.0f, ((rgb >> 8) & 0xFF) / 255.0f,
                        (rgb & 0xFF) / 255.0f};
    instance->setParameter(name.c_str(), filament::RgbType::sRGB, colour);
  }
}

void setUniformRgba(int64_t handle, const std::string& name, uint32_t rgba) {
  if (auto* instance = instanceWithUniform("setUniformRgba", handle, name, UniformType::FLOAT4)) {
    const float4 colour{((rgba >> 24) & 0xFF) / 255.0f, ((rgba >> 16) & 0xFF) / 255.0f,
                        ((rgba >> 8) & 0xFF) / 255.0f, (rgba & 0xFF) / 255.0f};
    instance->setParameter(name.c_str(), filament::RgbaType::PREMULTIPLIED_sRGB, colour);
  }
}

void setUniformFloat(int64_t handle, const std::string& name, float value) {
  if (auto* instance = instanceWithUniform("setUniformFloat", handle, name, UniformType::FLOAT)) {
    instance->setParameter(name.c_str(), value);
  }
}

void setUniformBoolean(int64_t handle, const std::string& name, bool value) {
  if (auto* instance = instanceWithUniform("setUniformBoolean", handle, name, UniformType::BOOL)) {
    instance->setParameter(name.c_str(), value);
  }
}

void setUniformArray(int64_t handle, const std::string& name, const float* values, size_t count) {
  if (!values || count < 2 || count > 4) {
    materialInstanceAt("setUniformArray", handle);  // a bad handle is still reported
    return;
  }
  const UniformType type = count == 2   ? UniformType::FLOAT2
                           : count == 3 ? UniformType::FLOAT3
                                        : UniformType::FLOAT4;
  MaterialInstance* instance = instanceWithUniform("setUniformArray", handle, name, type);
  if (!instance) return;
  if (count == 2) {
    instance->setParameter(name.c_str(), filament::math::float2{values[0], values[1]});
  } else if (count == 3) {
    instance->setParameter(name.c_str(), float3{values[0], values[1], values[2]});
  } else {
    instance->setParameter(name.c_str(), float4{values[0], values[1], values[2], values[3]});
  }
}

namespace {

// The renderable of an entity with at least `primitive + 1` primitives, with one line per row
// and entity when there is none.
filament::RenderableManager::Instance renderableOf(const char* row, uint32_t entity,
                                                   uint32_t primitive) {
  filament::Engine* engine = state().engine;
  if (!engine) return {};
  auto& renderables = engine->getRenderableManager();
  const auto instance = renderables.getInstance(utils::Entity::import(static_cast<int>(entity)));
  if (!instance) {
    reportOnce(row, entity, "entity " + std::to_string(entity) + " has no mesh");
    return {};
  }
  if (primitive >= renderables.getPrimitiveCount(instance)) {
    reportOnce(
        row, entity,
        "entity " + std::to_string(entity) + " has no primitive " + std::to_string(primitive));
    return {};
  }
  return instance;
}

}  // namespace

void setMaterial(uint32_t entity, int64_t handle, uint32_t primitive) {
  MaterialInstance* instance = materialInstanceAt("setMaterial", handle);
  const auto renderable = renderableOf("setMaterial", entity, primitive);
  if (!instance || !renderable) return;
  state().engine->getRenderableManager().setMaterialInstanceAt(renderable, primitive, instance);
}

int64_t getMaterial(uint32_t entity, uint32_t primitive) {
  const auto renderable = renderableOf("getMaterial", entity, primitive);
  if (!renderable) return -1;
  MaterialInstance* instance =
      state().engine->getRenderableManager().getMaterialInstanceAt(renderable, primitive);
  tables().instances.push_back(instance);
  return static_cast<int64_t>(tables().instances.size() - 1);
}

void setCulling(uint32_t entity, bool enabled) {
  if (const auto renderable = renderableOf("setCulling", entity, 0)) {
    state().engine->getRenderableManager().setCulling(renderable, enabled);
  }
}

void setReceiveShadows(uint32_t entity, bool enabled) {
  if (const auto renderable = renderableOf("setReceiveShadows", entity, 0)) {
    state().engine->getRenderableManager().setReceiveShadows(renderable, enabled);
  }
}

void setCastShadows(uint32_t entity, bool enabled) {
  if (const auto renderable = renderableOf("setCastShadows", entity, 0)) {
    state().engine->getRenderableManager().setCastShadows(renderable, enabled);
  }
}

void setMaterialGlobal3(float scale) {
  tables().global3 = scale;
  for (MaterialInstance* instance : tables().instances) applyGlobal3(*instance);
}

bool createMesh(uint32_t entity, int64_t handle, const float* positions, size_t positionCount,
                const float* normals, size_t normalCount, const uint16_t* indices,
                size_t indexCount, const float* uvs, size_t uvCount, int primitive) {
  MaterialInstance* instance = materialInstanceAt("setMesh", handle);
  if (!instance) return false;
  filament::Engine& engine = *state().engine;
  const utils::Entity target = utils::Entity::import(static_cast<int>(entity));
  const size_t vertexCount = positionCount / 3;
  const char* refused = nullptr;
  if (!engine.getTransformManager().hasComponent(target)) {
    refused = "unknown entity";
  } else if (!positions || positionCount % 3 != 0 || vertexCount == 0) {
    refused = "positions must be 3 floats a vertex, one vertex at least";
  } else if (vertexCount > 65536) {
    refused = "more vertices than 16-bit indices reach";
  } else if (!normals || normalCount < vertexCount * 3) {
    refused = "normals must cover every vertex";
  } else if (!uvs || uvCount < vertexCount * 2) {
    refused = "texture coordinates must cover every vertex";
  } else if (!indices || indexCount == 0 ||
             std::any_of(indices, indices + indexCount,
                         [vertexCount](uint16_t index) { return index >= vertexCount; })) {
    refused = "indices must be below the vertex count";
  }
  if (refused) {
    reportOnce("setMesh", entity, refused);
    return false;
  }
  auto* vertices = new MeshVertex[vertexCount];
  float3 low{FLT_MAX};
  float3 high{-FLT_MAX};
  for (size_t i = 0; i < vertexCount; ++i) {
    MeshVertex& vertex = vertices[i];
    const float3 position{positions[i * 3], positions[i * 3 + 1], positions[i * 3 + 2]};
    std::memcpy(vertex.position, &positions[i * 3], sizeof vertex.position);
    vertex.tangents = tangentFrame({normals[i * 3], normals[i * 3 + 1], normals[i * 3 + 2]});
    std::memset(vertex.colour, 0xFF, sizeof vertex.colour);
    std::memcpy(vertex.uv, &uvs[i * 2], sizeof vertex.uv);
    low = min(low, position);
    high = max(high, position);
  }
  auto* indexCopy = new uint16_t[indexCount];
  std::memcpy(indexCopy, indices, indexCount * sizeof(uint16_t));
  using Attribute = filament::VertexBuffer::AttributeType;
  filament::VertexBuffer* vertexBuffer =
      filament::VertexBuffer::Builder()
          .vertexCount(static_cast<uint32_t>(vertexCount))
          .bufferCount(1)
          .attribute(filament::VertexAttribute::POSITION, 0, Attribute::FLOAT3, 0, 40)
          .attribute(filament::VertexAttribute::TANGENTS, 0, Attribute::FLOAT4, 12, 40)
          // Normalised bytes: a material reading the colour gets white, (1, 1, 1, 1).
          .attribute(filament::VertexAttribute::COLOR, 0, Attribute::UBYTE4, 28, 40)
          .normalized(filament::VertexAttribute::COLOR)
          .attribute(filament::VertexAttribute::UV0, 0, Attribute::FLOAT2, 32, 40)
          .build(engine);
  vertexBuffer->setBufferAt(
      engine, 0,
      filament::VertexBuffer::BufferDescriptor(
          vertices, vertexCount * sizeof(MeshVertex),
          [](void* buffer, size_t, void*) { delete[] static_cast<MeshVertex*>(buffer); }));
  filament::IndexBuffer* indexBuffer = filament::IndexBuffer::Builder()
                                           .indexCount(static_cast<uint32_t>(indexCount))
                                           .bufferType(filament::IndexBuffer::IndexType::USHORT)
                                           .build(engine);
  indexBuffer->setBuffer(
      engine, filament::IndexBuffer::BufferDescriptor(
                  indexCopy, indexCount * sizeof(uint16_t),
                  [](void* buffer, size_t, void*) { delete[] static_cast<uint16_t*>(buffer); }));
  // A mesh already on the entity goes, with its buffers.
  auto& renderables = engine.getRenderableManager();
  if (renderables.hasComponent(target)) renderables.destroy(target);
  if (auto old = tables().meshes.find(entity); old != tables().meshes.end()) {
    engine.destroy(old->second.vertices);
    engine.destroy(old->second.indices);
  }
  tables().meshes[entity] = {vertexBuffer, indexBuffer};
  filament::RenderableManager::Builder(1)
      .culling(true)
      .castShadows(state().castShadowsGlobal)
      .receiveShadows(state().receiveShadowsGlobal)
      .boundingBox({(low + high) / 2, (high - low) / 2})
      .geometry(0, primitiveOf(primitive), vertexBuffer, indexBuffer)
      .material(0, instance)
      .build(engine, target);
  return true;
}

bool hasMesh(uint32_t entity) {
  filament::Engine* engine = state().engine;
  return engine && engine->getRenderableManager().hasComponent(
                       utils::Entity::import(static_cast<int>(entity)));
}

void destroyMaterialTables() {
  Tables& t = tables();
  filament::Engine* engine = state().engine;
  if (engine) {
    for (auto& [entity, buffers] : t.meshes) {
      engine->getRenderableManager().destroy(utils::Entity::import(static_cast<int>(entity)));
      engine->destroy(buffers.vertices);
      engine->destroy(buffers.indices);
    }
    // `getMaterial` hands out more handles to one instance: each instance goes once.
    std::sort(t.instances.begin(), t.instances.end());
    t.instances.erase(std::unique(t.instances.begin(), t.instances.end()), t.instances.end());
    for (MaterialInstance* instance : t.instances) engine->destroy(instance);
    for (Material* material : t.materials) engine->destroy(material);
    if (t.dummyTexture) engine->destroy(t.dummyTexture);
  }
  t = Tables();
}

}  // namespace talvero::scene3d
