#include "platform/desktop/camera_probe.h"

#include <fcntl.h>
#include <linux/videodev2.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <filesystem>

namespace talvero::desktop {

namespace {

bool capturesVideo(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return false;
  v4l2_capability capability{};
  const bool answered = ::ioctl(fd, VIDIOC_QUERYCAP, &capability) == 0;
  ::close(fd);
  if (!answered) return false;
  // A device node may stand for one function of a multi-function device.
  const uint32_t caps = (capability.capabilities & V4L2_CAP_DEVICE_CAPS) ? capability.device_caps
                                                                         : capability.capabilities;
  return (caps & (V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_VIDEO_CAPTURE_MPLANE)) != 0;
}

}  // namespace

bool hasCaptureCamera(const std::string& deviceDirectory) {
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(deviceDirectory, error)) {
    if (entry.path().filename().string().rfind("video", 0) != 0) continue;
    if (capturesVideo(entry.path().string())) return true;
  }
  return false;
}

}  // namespace talvero::desktop
