#pragma once

#include <cstdint>
#include <memory>
#include <vector>

namespace talvero {

// An immutable byte string shared between its producer and its consumers, so that a body
// passes from the network or a file to a decoder without being copied.
using Bytes = std::shared_ptr<const std::vector<uint8_t>>;

inline Bytes makeBytes(std::vector<uint8_t> data) {
  return std::make_shared<const std::vector<uint8_t>>(std::move(data));
}

}  // namespace talvero
