#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace talvero {

// Strict UTF-8: no overlong forms, no surrogates, nothing past U+10FFFF, no cut sequence.
bool isValidUtf8(std::string_view text);
bool isValidUtf8(const uint8_t* bytes, size_t size);

// The bytes as UTF-8 text where every invalid or cut sequence becomes U+FFFD, so a slice
// that cuts through a character still reads.
std::string decodeUtf8Repairing(const uint8_t* bytes, size_t size);

}  // namespace talvero
