#include "runtime/handlers/creator_utils_handler.h"

#include "runtime/keyboard_state.h"

namespace talvero {

CreatorUtilsHandler::CreatorUtilsHandler(std::shared_ptr<AnimationManager> animationManager)
    : animationManager_(std::move(animationManager)) {
  AnimationManager* animations = animationManager_.get();
  exports_
      .add("animate",
           [animations](ScriptValue callback, float duration) {
             return animations->animate(std::move(callback), duration);
           })
      .add("stopAnimation", [animations](int64_t id) { animations->stopAnimation(id); })
      .add("pauseAnimation", [animations](int64_t id) { animations->pauseAnimation(id); })
      .add("resumeAnimation", [animations](int64_t id) { animations->resumeAnimation(id); })
      .add("inputKey", [](ScriptValue name) {
        const auto text = name.toStringIfAny();
        return text && KeyboardState::shared().isPressed(*text);
      });
}

}  // namespace talvero
