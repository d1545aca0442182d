#pragma once

#include <filament/MaterialInstance.h>
#include <filament/Texture.h>

#include <cstdint>

namespace talvero::scene3d {

// For the 3D layer's own files: the instance of a handle, or null with one
// "<row>: unknown material instance" line.
filament::MaterialInstance* materialInstanceAt(const char* row, int64_t handle);
// The instance's material has a 2D sampler `name`; else one line for the row.
bool hasSampler(const char* row, int64_t handle, const filament::MaterialInstance& instance,
                const char* name);

// The 1 × 1 white texture that stands in for a sampler the script has not set.
filament::Texture* whiteTexture();

}  // namespace talvero::scene3d
