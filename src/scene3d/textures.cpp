#include "scene3d/textures.h"

#include <filament/MaterialInstance.h>
#include <filament/Texture.h>
#include <filament/TextureSampler.h>

#include <cstring>
#include <string>
#include <unordered_map>
#include <vector>

#include "scene3d/engine_state.h"
#include "scene3d/material_access.h"
#include "scene3d/report.h"

namespace talvero::scene3d {

namespace {

constexpr uint32_t kLargestSide = 8192;

std::vector<filament::Texture*>& textures() {
  static std::vector<filament::Texture*> table;
  return table;
}

// Where each texture is bound, so that one replaced by another size is unbound first.
struct Binding {
  filament::MaterialInstance* instance;
  std::string name;
};
std::unordered_map<const filament::Texture*, std::vector<Binding>>& bindings() {
  static std::unordered_map<const filament::Texture*, std::vector<Binding>> table;
  return table;
}

filament::Texture* buildTexture(uint32_t width, uint32_t height) {
  return filament::Texture::Builder()
      .width(width)
      .height(height)
      .levels(1)
      .sampler(filament::Texture::Sampler::SAMPLER_2D)
      .format(filament::Texture::InternalFormat::SRGB8_A8)
      .build(*state().engine);
}

void upload(filament::Texture& texture, const uint8_t* pixels, uint32_t width, uint32_t height) {
  const size_t size = size_t(width) * height * 4;
  auto* copy = new uint8_t[size];
  std::memcpy(copy, pixels, size);
  texture.setImage(
      *state().engine, 0, 0, 0, width, height,
      filament::Texture::PixelBufferDescriptor(
          copy, size, filament::Texture::Format::RGBA, filament::Texture::Type::UBYTE, 1, 0, 0, 0,
          [](void* buffer, size_t, void*) { delete[] static_cast<uint8_t*>(buffer); }));
}

bool sizeFits(const char* row, int64_t id, uint32_t width, uint32_t height) {
  if (width > 0 && height > 0 && width <= kLargestSide && height <= kLargestSide) return true;
  reportOnce(row, id,
             "a texture is 1 to 8192 pixels on a side, not " + std::to_string(width) + " x " +
                 std::to_string(height));
  return false;
}

}  // namespace

int64_t createTextureFromRGBA(const uint8_t* pixels, uint32_t width, uint32_t height) {
  if (!state().engine || !pixels || !sizeFits("createTextureFromRGBA", -1, width, height)) {
    return -1;
  }
  filament::Texture* texture = buildTexture(width, height);
  upload(*texture, pixels, width, height);
  textures().push_back(texture);
  return static_cast<int64_t>(textures().size() - 1);
}

void updateTextureFromRGBA(int64_t handle, const uint8_t* pixels, uint32_t width, uint32_t height) {
  if (!state().engine || handle < 0 || handle >= static_cast<int64_t>(textures().size()) ||
      !pixels || !sizeFits("updateTextureFromRGBA", handle, width, height)) {
    return;
  }
  filament::Texture*& slot = textures()[static_cast<size_t>(handle)];
  if (slot->getWidth(0) != width || slot->getHeight(0) != height) {
    // Instances keep no hold on the new texture until the script binds it again; until then
    // they draw the white stand-in, never the texture destroyed here.
    if (auto bound = bindings().extract(slot)) {
      for (const Binding& binding : bound.mapped()) {
        binding.instance->setParameter(binding.name.c_str(), whiteTexture(),
                                       filament::TextureSampler());
      }
    }
    filament::Texture* replacement = buildTexture(width, height);
    state().engine->destroy(slot);
    slot = replacement;
  }
  upload(*slot, pixels, width, height);
}

size_t textureCount() {
  return textures().size();
}

void setUniformTexture(int64_t instance, const char* name, int64_t texture, uint32_t wrapS,
                       uint32_t wrapT) {
  filament::MaterialInstance* target = materialInstanceAt("setUniformTexture", instance);
  if (!target || !hasSampler("setUniformTexture", instance, *target, name)) return;
  if (texture < 0 || texture >= static_cast<int64_t>(textures().size())) {
    reportOnce("setUniformTexture", texture, "unknown texture " + std::to_string(texture));
    return;
  }
  using Sampler = filament::TextureSampler;
  // Modes are taken modulo 4; the one number past mirrored repeat clamps, like 0.
  const auto wrap = [](uint32_t mode) {
    return mode % 4 == 3 ? Sampler::WrapMode::CLAMP_TO_EDGE
                         : static_cast<Sampler::WrapMode>(mode % 4);
  };
  Sampler sampler(Sampler::MinFilter::LINEAR, Sampler::MagFilter::LINEAR, wrap(wrapS), wrap(wrapT),
                  wrap(wrapS));
  filament::Texture* bound = textures()[static_cast<size_t>(texture)];
  target->setParameter(name, bound, sampler);
  bindings()[bound].push_back({target, name});
}

void destroyTextureTable() {
  if (state().engine) {
    for (filament::Texture* texture : textures()) state().engine->destroy(texture);
  }
  textures().clear();
  bindings().clear();
}

}  // namespace talvero::scene3d
