#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/toolkit/image.h"

namespace talvero {

using ImageArrival = std::function<void(std::shared_ptr<const toolkit::Image>)>;

// Fetches `url` and decodes the body off the main thread, raster formats only. `onImage` runs
// on the main thread with the image; a URL that does not parse, a failed request or bytes that
// are no image end it without a call. Nothing is cached or cancelled: of two loads into one
// place, the one that finishes last wins, and `onImage` checks that its target still lives.
void downloadImage(const std::string& url, ImageArrival onImage);

// The image in buffer `id`, decoded at once, raster formats only; null for a missing entry or
// bytes that are no image.
std::shared_ptr<const toolkit::Image> decodeBuffer(int64_t id);

}  // namespace talvero
