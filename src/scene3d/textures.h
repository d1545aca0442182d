#pragma once

#include <cstddef>
#include <cstdint>

namespace talvero::scene3d {

// Textures of the 3D layer: a handle is the index in a table that only grows while the engine
// lives. Main thread only.

// A 2D texture of sRGB pixels with straight alpha, `width` × `height` × 4 bytes, one level;
// -1 without an engine or for a size of 0 or above 8192 on a side.
int64_t createTextureFromRGBA(const uint8_t* pixels, uint32_t width, uint32_t height);
// New pixels for the texture; of another size, a new texture in the same slot, and instances
// that had the old one bound draw white until the script binds the handle again.
void updateTextureFromRGBA(int64_t handle, const uint8_t* pixels, uint32_t width, uint32_t height);
size_t textureCount();

// Binds the texture to the sampler `name` of a material instance, linear both ways, with the
// wrap modes (0 clamp to edge, 1 repeat, 2 mirrored repeat) taken modulo 4.
void setUniformTexture(int64_t instance, const char* name, int64_t texture, uint32_t wrapS,
                       uint32_t wrapT);

// Every texture, destroyed with the engine.
void destroyTextureTable();

}  // namespace talvero::scene3d
