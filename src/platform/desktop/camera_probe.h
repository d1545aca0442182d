#pragma once

#include <string>

namespace talvero::desktop {

// Linux has no camera permission prompt: a camera is available when a video device of the
// directory opens and reports that it captures. Blocking (device opens may be slow): call it
// off the main thread.
bool hasCaptureCamera(const std::string& deviceDirectory = "/dev");

}  // namespace talvero::desktop
