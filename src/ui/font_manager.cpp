#include "ui/font_manager.h"

#include "runtime/log.h"
#include "runtime/value_helpers.h"

namespace talvero {

// Placeholder until run-time font registration lands: fails visibly.
void registerFont(CreatorUIStore&, const std::string& family, const ScriptValue&,
                  const ScriptValue&, const ScriptValue&, const ScriptValue& onError) {
  logLine("[WARN] registerFont is not built yet");
  if (onError.isFunction()) onError.call({"registerFont failed: " + family});
}

toolkit::Font makeFont(float fontSize, int fontWeight, uint8_t fontStyle,
                       const std::optional<std::string>& fontFamily) {
  toolkit::Font font = fontFamily ? toolkit::Font(*fontFamily, fontSize)
                                  : toolkit::Font::system(fontSize, fontWeight);
  return fontStyle == 2 ? font.withTrait(toolkit::FontTrait::Italic) : font;
}

}  // namespace talvero
