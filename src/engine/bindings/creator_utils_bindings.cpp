#include "engine/bindings/creator_utils_bindings.h"

#include <optional>
#include <utility>

#include "runtime/keyboard_state.h"

namespace talvero {

CreatorUtilsHandler::CreatorUtilsHandler(std::shared_ptr<AnimationManager> animationManager)
    : ScriptHandler("_creatorUtils"), animationManager_(std::move(animationManager)) {
  addPlatformPropertyRows(
      exports_, systemUtilities_, [this] { return language; }, [this] { return platform; });
  addFetchRows(exports_, fetchService_);
  addPickerAndRunRows(exports_, systemUtilities_);
  addAnimationRows(exports_, *animationManager_);
  addSystemOpenRows(exports_, systemUtilities_);
  addWebSocketRows(exports_, wsManager_);
  addLocalStorageRows(exports_, localStorage_);
  addShareRow(exports_, systemUtilities_);
  // The host adds `systemInfo` and `getArgv` after these, to every context, through its
  // registrations.
}

void addPlatformPropertyRows(ExportTable& exports, SystemUtilities& utilities,
                             std::function<std::string()> language,
                             std::function<std::string()> platform) {
  SystemUtilities* system = &utilities;
  exports.addProperty("language", [language = std::move(language)] { return language(); })
      .addProperty("platform", [platform = std::move(platform)] { return platform(); })
      .addProperty("pixelRatio", [system] { return system->pixelRatio(); })
      .add("setPreciseTouch", [](bool) {});
}

void addFetchRows(ExportTable& exports, FetchService& service) {
  FetchService* fetch = &service;
  exports
      .add("fetch",
           [](std::string url, ScriptValue options, ScriptValue onComplete, ScriptValue onReject) {
             fetchInternal(url, options, std::move(onComplete), std::move(onReject));
           })
      .add("fetchToJson", [](int64_t id) { return fetchToJson(ScriptContext::current(), id); })
      .add("fetchToText", &fetchToText)
      .add("disposeFetch", &disposeFetch)
      .add("fetchLocal", [fetch](std::string path) { return fetch->fetchLocal(path); })
      .add("fetchSlice", &fetchSlice);
}

void addPickerAndRunRows(ExportTable& exports, SystemUtilities& utilities) {
  SystemUtilities* system = &utilities;
  exports
      .add("openFilePicker",
           [system](ScriptValue onComplete, ScriptValue, bool multiple, ScriptValue accept) {
             system->openFilePicker(std::move(onComplete), multiple, acceptListOf(accept));
           })
      .add("run", [system](int64_t id, ScriptValue reject) { system->run(id, std::move(reject)); });
}

void addAnimationRows(ExportTable& exports, AnimationManager& animations) {
  AnimationManager* clock = &animations;
  exports
      .add("animate",
           [clock](ScriptValue callback, float duration) {
             return clock->animate(std::move(callback), duration);
           })
      .add("stopAnimation", [clock](int64_t id) { clock->stopAnimation(id); })
      .add("pauseAnimation", [clock](int64_t id) { clock->pauseAnimation(id); })
      .add("resumeAnimation", [clock](int64_t id) { clock->resumeAnimation(id); });
}

void addSystemOpenRows(ExportTable& exports, SystemUtilities& utilities) {
  SystemUtilities* system = &utilities;
  exports.add("openAppSettings", [system] { system->openAppSettings(); })
      .add("openUrl", [system](std::string url, bool) { system->openUrl(url); })
      .add("inputKey", [](ScriptValue name) {
        const std::optional<std::string> text = name.toStringIfAny();
        return text && KeyboardState::shared().isPressed(*text);
      });
}

void addWebSocketRows(ExportTable& exports, WsManager& manager) {
  WsManager* sockets = &manager;
  exports
      .add("websocketOpen",
           [sockets](std::string url, ScriptValue callback, ScriptValue headers) {
             return sockets->websocketOpen(url, callback, headers);
           })
      .add("websocketSend",
           [sockets](int64_t id, std::string text) { sockets->websocketSend(id, text); })
      .add("websocketClose", [sockets](int64_t id) { sockets->websocketClose(id); });
}

void addLocalStorageRows(ExportTable& exports, LocalStorage& storage) {
  LocalStorage* store = &storage;
  exports.add("localStorageSetStorage", [store](std::string id) { store->setProject(id); })
      .add("localStorageSetValue",
           [store](std::string key, std::string value) { store->set(key, value); })
      .add("localStorageGetValue",
           [store](std::string key) {
             const ScriptContext context = ScriptContext::current();
             std::optional<std::string> value = store->get(key);
             return value ? context.make(NativeValue(std::move(*value))) : context.undefinedValue();
           })
      .add("localStorageRemoveValue", [store](std::string key) { store->remove(key); });
}

void addShareRow(ExportTable& exports, SystemUtilities& utilities) {
  SystemUtilities* system = &utilities;
  exports.add("shareMedia",
              [system](int64_t id, std::string text) { system->shareMedia(id, text); });
}

}  // namespace talvero
