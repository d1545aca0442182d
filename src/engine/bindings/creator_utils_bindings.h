#pragma once

#include <functional>
#include <memory>
#include <string>

#include "engine/bindings/script_handler.h"
#include "platform/bytes.h"
#include "runtime/animation_manager.h"
#include "services/fetch.h"
#include "services/local_storage.h"
#include "services/system_utilities.h"
#include "services/ws_manager.h"

namespace talvero {

// `_creatorUtils`: the door to everything that is neither scene nor UI. A retired context's
// web sockets close with it.
class CreatorUtilsHandler : public ScriptHandler {
 public:
  using OpenProject = std::function<void(const std::string& source, const ScriptValue& reject)>;
  using FetchLocal = std::function<Bytes(const std::string& path)>;

  explicit CreatorUtilsHandler(std::shared_ptr<AnimationManager> animationManager);

  void release(const ScriptContext& context) override { wsManager_.closeAll(context); }

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

// The rows of `_creatorUtils` in groups that stand apart in its table, each keeping a
// reference to the service it calls, which must outlive the table. The handler adds them in
// this order, which is the order scripts see; tests build tables of single groups.

// `language`, `platform` and `pixelRatio`, read-only properties read at each access, then
// `setPreciseTouch`, which pointer input here has no use for.
void addPlatformPropertyRows(ExportTable& exports, SystemUtilities& utilities,
                             std::function<std::string()> language,
                             std::function<std::string()> platform);
// `fetch`, `fetchToJson`, `fetchToText`, `disposeFetch`, `fetchLocal`, `fetchSlice`.
void addFetchRows(ExportTable& exports, FetchService& service);
// `openFilePicker(onComplete, ignored, multiple, accept)`, then `run(id, reject)`.
void addPickerAndRunRows(ExportTable& exports, SystemUtilities& utilities);
// `animate(callback, duration)`, `stopAnimation`, `pauseAnimation`, `resumeAnimation`.
void addAnimationRows(ExportTable& exports, AnimationManager& animations);
// `openAppSettings()`, `openUrl(url, ignored)`, then `inputKey(name)`.
void addSystemOpenRows(ExportTable& exports, SystemUtilities& utilities);
// `websocketOpen(url, callback, headers)`, `websocketSend(id, text)`, `websocketClose(id)`.
void addWebSocketRows(ExportTable& exports, WsManager& manager);
// `localStorageSetStorage`, `localStorageSetValue`, `localStorageGetValue` (undefined for a
// missing key), `localStorageRemoveValue`.
void addLocalStorageRows(ExportTable& exports, LocalStorage& storage);
// `shareMedia(id, text)`.
void addShareRow(ExportTable& exports, SystemUtilities& utilities);

}  // namespace talvero
