#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace talvero::scene3d {

// Whether bytes are a compiled material package that this engine can build and draw: a
// chunk container of this renderer's material version with desktop GL shaders whose
// vertex and fragment stages of variant 0 decode. The renderer ends the process on a
// package that fails any of these, so every package is checked before it sees one.
// Empty on success, else the reason in a few words.
std::string checkMaterialPackage(const uint8_t* data, size_t size);

}  // namespace talvero::scene3d
