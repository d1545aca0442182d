#pragma once

#include <string>

namespace talvero {

// The kernel release cut to major.minor.patch, or major.minor when the patch is 0:
// "6.1.0-13-amd64" gives "6.1", "6.18.44-fc" gives "6.18.44".
std::string systemVersionOf(const std::string& kernelRelease);

// "Talvero/1.0.2 (Linux; <system version>)", made once per process.
const std::string& defaultUserAgent();

}  // namespace talvero
