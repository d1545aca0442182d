#include <stb_image.h>

#include <climits>
#include <string>

#include "runtime/log.h"
#include "scene2d/internal/tables.h"
#include "scene2d/scene2d.h"

namespace gpu = talvero::gpu;
using talvero::logLine;
using namespace talvero::scene2d;

namespace {

constexpr const char* kLabel = "creator2d-texture";
// The side that every GL 3.3 device we meet takes, for a process that has none.
constexpr int kLargestSideWithoutDevice = 16384;

// The first upload is the first need of the device: it is made here if it is not there yet.
int largestSide() {
  return gpu::setup() ? gpu::maxTextureSize() : kLargestSideWithoutDevice;
}

// Without a device the image stays null, and the texture keeps its slot and size all the same.
gpu::Image upload(const uint8_t* rgba, int32_t width, int32_t height) {
  if (!gpu::setup()) return {};
  return gpu::makeImage(width, height, rgba, kLabel);
}

// Slots only append: a destroyed id never comes back, so a stale one stays dead.
int32_t addTexture(const uint8_t* rgba, int32_t width, int32_t height) {
  if (g_textures.empty()) g_textures.emplace_back();
  Texture2D& texture = g_textures.emplace_back();
  texture.alive = true;
  texture.width = width;
  texture.height = height;
  texture.image = upload(rgba, width, height);
  return static_cast<int32_t>(g_textures.size() - 1);
}

void logDecodeFailure(const char* reason, size_t length) {
  logLine(std::string("[creator-2d] texture decode failed: ") + (reason ? reason : "unknown") +
          " (" + std::to_string(length) + " bytes)");
}

}  // namespace

int32_t c2dCreateTexture(const uint8_t* bytes, size_t length) {
  if (!bytes || length == 0 || length > INT_MAX) {
    logDecodeFailure(length == 0 ? "no bytes" : "too many bytes", length);
    return 0;
  }
  const int size = static_cast<int>(length);
  int width = 0;
  int height = 0;
  int channels = 0;
  if (!stbi_info_from_memory(bytes, size, &width, &height, &channels)) {
    logDecodeFailure(stbi_failure_reason(), length);
    return 0;
  }
  const int largest = largestSide();
  if (width > largest || height > largest) {
    logLine("[creator-2d] texture too large: " + std::to_string(width) + "x" +
            std::to_string(height) + " (max " + std::to_string(largest) + ")");
    return 0;
  }
  stbi_uc* pixels = stbi_load_from_memory(bytes, size, &width, &height, &channels, 4);
  if (!pixels) {
    logDecodeFailure(stbi_failure_reason(), length);
    return 0;
  }
  const int32_t id = addTexture(pixels, width, height);
  stbi_image_free(pixels);
  return id;
}

int32_t c2dCreateTextureFromRGBA(const uint8_t* rgba, int32_t width, int32_t height) {
  if (!rgba || width < 1 || height < 1) return 0;
  return addTexture(rgba, width, height);
}

void c2dUpdateTextureFromRGBA(int32_t id, const uint8_t* rgba, int32_t width, int32_t height) {
  Texture2D* texture = liveTexture(id);
  if (!texture || !rgba || width < 1 || height < 1) return;
  const bool sameSize = texture->width == width && texture->height == height;
  if (sameSize && texture->image.id != 0 && gpu::updateImage(texture->image, width, height, rgba)) {
    return;
  }
  if (texture->image.id != 0) gpu::destroy(texture->image);
  texture->image = upload(rgba, width, height);
  texture->width = width;
  texture->height = height;
}

int32_t c2dGetTextureWidth(int32_t id) {
  const Texture2D* texture = liveTexture(id);
  return texture ? texture->width : 0;
}

int32_t c2dGetTextureHeight(int32_t id) {
  const Texture2D* texture = liveTexture(id);
  return texture ? texture->height : 0;
}

void c2dDestroyTexture(int32_t id) {
  Texture2D* texture = liveTexture(id);
  if (!texture) return;
  if (texture->image.id != 0) gpu::destroy(texture->image);
  *texture = Texture2D{};
}
