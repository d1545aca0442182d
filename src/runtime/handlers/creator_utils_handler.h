#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/bytes.h"
#include "runtime/animation_manager.h"
#include "runtime/handlers/script_handler.h"
#include "services/fetch.h"
#include "services/local_storage.h"
#include "services/system_utilities.h"
#include "services/ws_manager.h"

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

  WsManager& wsManager() { return wsManager_; }
  SystemUtilities& systemUtilities() { return systemUtilities_; }

 private:
  std::shared_ptr<AnimationManager> animationManager_;
  // Both read the slots above at each use, so the host may fill them after construction.
  FetchService fetchService_{onFetchLocal};
  SystemUtilities systemUtilities_{openProject};
  WsManager wsManager_;
  LocalStorage localStorage_;
};

}  // namespace talvero
