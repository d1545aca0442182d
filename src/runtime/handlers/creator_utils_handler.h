#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/bytes.h"
#include "runtime/animation_manager.h"
#include "runtime/handlers/script_handler.h"

namespace talvero {

// `_creatorUtils`: the door to everything that is neither scene nor UI.
class CreatorUtilsHandler : public ScriptHandler {
 public:
  using OpenProject = std::function<void(const std::string& source, const ScriptValue& reject)>;
  using FetchLocal = std::function<Bytes(const std::string& path)>;

  explicit CreatorUtilsHandler(std::shared_ptr<AnimationManager> animationManager);

  OpenProject openProject;
  std::string language = "en";
  std::string platform = "linux";
  FetchLocal onFetchLocal;

 private:
  std::shared_ptr<AnimationManager> animationManager_;
};

}  // namespace talvero
