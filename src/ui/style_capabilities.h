#pragma once

#include <optional>

#include "platform/toolkit/geometry.h"

namespace talvero {

// Capabilities the style handlers look for on image, video and scroll nodes; like those of
// `capabilities.h`, a handler does nothing on a node without the one it needs. An image
// node's fit needs none of these: it is the scaling of its toolkit image view.

// Image nodes: the style's tint, or none.
class NodeTinting {
 public:
  virtual ~NodeTinting() = default;
  virtual void setTintColor(std::optional<toolkit::Color> tint) = 0;
};

// How a video's picture fills its view.
enum class VideoGravity { AspectFit, AspectFill, Resize };

class NodeVideoFitting {
 public:
  virtual ~NodeVideoFitting() = default;
  virtual void setVideoGravity(VideoGravity gravity) = 0;
};

// Scroll containers. The axis is 1 vertical, 2 horizontal, 3 both; the scrollers follow
// `showScrollbar` at the next `setScrollAxis`.
class NodeScrolling {
 public:
  virtual ~NodeScrolling() = default;
  virtual int scrollAxis() const = 0;
  virtual void setScrollAxis(int axis) = 0;
  bool showScrollbar = true;
};

}  // namespace talvero
