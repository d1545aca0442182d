#include "runtime/handlers/creator_utils_handler.h"

#include "runtime/keyboard_state.h"
#include "services/system_utility_rows.h"

namespace talvero {

CreatorUtilsHandler::CreatorUtilsHandler(std::shared_ptr<AnimationManager> animationManager)
    : animationManager_(std::move(animationManager)) {
  // Rows are added in the order scripts see them listed.
  addPlatformPropertyRows(
      exports_, systemUtilities_, [this] { return language; }, [this] { return platform; });
  addFetchRows(exports_, fetchService_);
  addPickerAndRunRows(exports_, systemUtilities_);
  AnimationManager* animations = animationManager_.get();
  exports_
      .add("animate",
           [animations](ScriptValue callback, float duration) {
             return animations->animate(std::move(callback), duration);
           })
      .add("stopAnimation", [animations](int64_t id) { animations->stopAnimation(id); })
      .add("pauseAnimation", [animations](int64_t id) { animations->pauseAnimation(id); })
      .add("resumeAnimation", [animations](int64_t id) { animations->resumeAnimation(id); });
  addSystemOpenRows(exports_, systemUtilities_);
  exports_.add("inputKey", [](ScriptValue name) {
    const auto text = name.toStringIfAny();
    return text && KeyboardState::shared().isPressed(*text);
  });
  addWebSocketRows(exports_, wsManager_);
  addLocalStorageRows(exports_, localStorage_);
  addShareRow(exports_, systemUtilities_);
}

}  // namespace talvero
