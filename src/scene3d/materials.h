#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace talvero::scene3d {

// Materials, their instances and meshes. A material or instance handle is its index in a table
// that only grows while the engine lives. Main thread only; a bad handle, name or array logs
// one "[creator-gl] <operation>: …" line and changes nothing.

// A material built from a compiled package after `checkMaterialPackage`; -1 and a line with
// the reason when the bytes are refused or there is no engine.
int64_t createMaterial(const uint8_t* data, size_t size);
// A new instance whose every 2D sampler holds a 1 × 1 white texture until the script sets
// one, so that it draws at once; -1 for a bad material.
int64_t createMaterialInstance(int64_t material);
size_t materialInstanceCount();

// Colour numbers: 0xRRGGBB as sRGB, 0xRRGGBBAA as premultiplied sRGB. Each setter checks that
// the material has a parameter of that name and type.
void setUniformRgb(int64_t instance, const std::string& name, uint32_t rgb);
void setUniformRgba(int64_t instance, const std::string& name, uint32_t rgba);
void setUniformFloat(int64_t instance, const std::string& name, float value);
void setUniformBoolean(int64_t instance, const std::string& name, bool value);

// Two to four floats set a float2, float3 or float4 parameter; any other count sets nothing.
void setUniformArray(int64_t instance, const std::string& name, const float* values, size_t count);

// The instance drawn by the entity's primitive, and a new handle to the instance it draws
// (asking twice gives two handles to one instance); -1 without a renderable or primitive.
void setMaterial(uint32_t entity, int64_t instance, uint32_t primitive);
int64_t getMaterial(uint32_t entity, uint32_t primitive);
void setCulling(uint32_t entity, bool enabled);
void setReceiveShadows(uint32_t entity, bool enabled);
void setCastShadows(uint32_t entity, bool enabled);

// The perspective scale of the open view, as (scale, 0, 0, 1) in the `float4` parameter
// `materialGlobal3` of every instance whose material declares one, now and for instances
// made later.
void setMaterialGlobal3(float scale);

// One primitive on `entity` with `instance`, casting and receiving shadows as the global
// defaults say: 3 floats a vertex of positions and of normals,
// 2 of texture coordinates, 16-bit indices below the vertex count. Primitive 1 draws lines,
// 2 points, anything else triangles. A mesh already on the entity is replaced and its buffers
// freed. False, with a line, for arrays that do not fit.
bool createMesh(uint32_t entity, int64_t instance, const float* positions, size_t positionCount,
                const float* normals, size_t normalCount, const uint16_t* indices,
                size_t indexCount, const float* uvs, size_t uvCount, int primitive);
bool hasMesh(uint32_t entity);

// Everything above, destroyed with the engine.
void destroyMaterialTables();

}  // namespace talvero::scene3d
