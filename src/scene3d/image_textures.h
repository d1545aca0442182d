#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "platform/bytes.h"

namespace talvero::scene3d {

using TextureMade = std::function<void(int64_t texture, uint32_t width, uint32_t height)>;
using TextureFailed = std::function<void(const std::string& reason)>;

// An image file (PNG, JPEG, BMP, GIF's first frame, … as stb_image reads them) decoded on a
// background queue into a texture of linear, premultiplied colour, which is made on the main
// queue. Exactly one of `made` and `failed` follows, on the main thread: `failed` for bytes
// that do not decode, an image above 8192 pixels on a side, or no engine by then.
void createTexture(Bytes bytes, TextureMade made, TextureFailed failed);

}  // namespace talvero::scene3d
