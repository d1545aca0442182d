#include "scene3d/image_textures.h"

#include <stb_image.h>

#include <array>
#include <cmath>
#include <memory>
#include <utility>
#include <vector>

#include "platform/dispatch/background_queue.h"
#include "platform/dispatch/main_queue.h"
#include "scene3d/engine_state.h"
#include "scene3d/textures.h"

namespace talvero::scene3d {

namespace {

constexpr int kLargestSide = 8192;

// sRGB bytes to linear light and back, the way the texture's sampler reads them.
const std::array<float, 256>& linearOfByte() {
  static const std::array<float, 256> table = [] {
    std::array<float, 256> values{};
    for (int i = 0; i < 256; ++i) {
      const float c = i / 255.0f;
      values[i] = c <= 0.04045f ? c / 12.92f : std::pow((c + 0.055f) / 1.055f, 2.4f);
    }
    return values;
  }();
  return table;
}

uint8_t byteOfLinear(float linear) {
  const float c =
      linear <= 0.0031308f ? linear * 12.92f : 1.055f * std::pow(linear, 1 / 2.4f) - 0.055f;
  return static_cast<uint8_t>(std::lround(std::clamp(c, 0.0f, 1.0f) * 255));
}

// Colour multiplied by alpha in linear light, as the platform's colour-managed decoders
// deliver images, and stored again as sRGB bytes for an sRGB texture.
void premultiplyInLinearLight(std::vector<uint8_t>& rgba) {
  const auto& linear = linearOfByte();
  for (size_t at = 0; at + 3 < rgba.size(); at += 4) {
    const uint8_t alpha = rgba[at + 3];
    if (alpha == 255) continue;
    const float a = alpha / 255.0f;
    for (size_t channel = 0; channel < 3; ++channel) {
      rgba[at + channel] = byteOfLinear(linear[rgba[at + channel]] * a);
    }
  }
}

struct DecodedImage {
  std::vector<uint8_t> rgba;
  int width = 0;
  int height = 0;
};

// Null when the bytes do not decode or the image is too large.
std::unique_ptr<DecodedImage> decode(const Bytes& bytes) {
  if (!bytes || bytes->empty() || bytes->size() > INT32_MAX) return nullptr;
  const auto* data = bytes->data();
  const int size = static_cast<int>(bytes->size());
  int width = 0;
  int height = 0;
  int channels = 0;
  if (!stbi_info_from_memory(data, size, &width, &height, &channels)) return nullptr;
  if (width <= 0 || height <= 0 || width > kLargestSide || height > kLargestSide) return nullptr;
  stbi_uc* pixels = stbi_load_from_memory(data, size, &width, &height, &channels, 4);
  if (!pixels) return nullptr;
  auto image = std::make_unique<DecodedImage>();
  image->width = width;
  image->height = height;
  image->rgba.assign(pixels, pixels + size_t(width) * height * 4);
  stbi_image_free(pixels);
  premultiplyInLinearLight(image->rgba);
  return image;
}

}  // namespace

void createTexture(Bytes bytes, TextureMade made, TextureFailed failed) {
  dispatch::BackgroundQueue::global().post(
      [bytes = std::move(bytes), made = std::move(made), failed = std::move(failed)]() mutable {
        std::shared_ptr<DecodedImage> image = decode(bytes);
        dispatch::post([image, made = std::move(made), failed = std::move(failed)] {
          if (!image) {
            failed("the image does not decode, or is above 8192 pixels on a side");
            return;
          }
          const int64_t texture =
              createTextureFromRGBA(image->rgba.data(), image->width, image->height);
          if (texture < 0) {
            failed("no engine");
            return;
          }
          made(texture, static_cast<uint32_t>(image->width), static_cast<uint32_t>(image->height));
        });
      });
}

}  // namespace talvero::scene3d
