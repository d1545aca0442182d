#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace talvero {

// Where the bytes of a font that a script registers come from, when it names them by text.

// The source names a resource on the network: it begins with "http://" or "https://".
bool isRemoteSource(const std::string& source);

// The path of the local file that a source names: a "file://" URL (host empty or "localhost",
// percent escapes decoded) or a plain path. Nothing for other URLs and for malformed ones.
std::optional<std::string> localPathOf(const std::string& source);

// The whole content of a file; nothing when it cannot be read or is empty.
std::optional<std::vector<uint8_t>> readFileBytes(const std::string& path);

}  // namespace talvero
