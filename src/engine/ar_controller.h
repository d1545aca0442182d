#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/bytes.h"

namespace talvero {

// The augmented-reality extension point. The runtime has no tracker of its own: an
// integrator registers a factory under a name, and scripts make controllers by that name.
class ARController {
 public:
  virtual ~ARController() = default;

  virtual void setRootAnchor(uint32_t entity) = 0;
  virtual void addImageAnchor(uint32_t entity, Bytes image, float physicalWidth) = 0;
  virtual void launch(std::function<void()> onSuccess,
                      std::function<void(const std::string&)> onFailure) = 0;
  virtual void stop() = 0;
  virtual std::optional<uint32_t> sceneMaterial() = 0;

  uint32_t sceneId = 0;
  uint32_t cameraEntity = 0;
  std::function<void(uint32_t entity, bool tracked)> anchorCallback;
};

using ARControllerFactory = std::function<std::shared_ptr<ARController>()>;

}  // namespace talvero
