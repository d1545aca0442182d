#pragma once

#include <stb_image_write.h>

#include <cstdint>
#include <vector>

namespace talvero::testing {

// `width` × `height` RGBA pixels, row 0 the top, encoded by stb as PNG (or JPEG at quality 100).
inline std::vector<uint8_t> encodeImage(int width, int height, const void* rgba,
                                        bool jpeg = false) {
  std::vector<uint8_t> encoded;
  const auto append = [](void* context, void* data, int size) {
    auto* bytes = static_cast<std::vector<uint8_t>*>(context);
    bytes->insert(bytes->end(), static_cast<uint8_t*>(data), static_cast<uint8_t*>(data) + size);
  };
  if (jpeg) {
    stbi_write_jpg_to_func(append, &encoded, width, height, 4, rgba, 100);
  } else {
    stbi_write_png_to_func(append, &encoded, width, height, 4, rgba, width * 4);
  }
  return encoded;
}

}  // namespace talvero::testing
