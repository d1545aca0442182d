#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/script/script_value.h"
#include "platform/toolkit/font.h"
#include "platform/toolkit/font_registry.h"

namespace talvero {

class CreatorUIStore;

// The fonts that scripts registered at run time, for the life of the process. Each family is
// entered twice: under "family|weight|style" (style 0 or 2) and under the plain family, which
// so always stands for the face registered last. Lookups may come from any thread.
class FontManager {
 public:
  static FontManager& shared();

  // Registers the bytes of a font file and enters its first face under `family`. A missing
  // `weight` counts as 400; `style` "italic" is style 2, anything else 0. A face registered
  // before counts as success. False when the bytes hold no face. Main thread.
  bool registerFont(const std::string& family, std::optional<int> weight,
                    const std::optional<std::string>& style, const std::vector<uint8_t>& data);

  // The face under the exact "family|weight|style" key, else under the plain family.
  std::optional<toolkit::RegisteredFace> lookup(const std::string& family, int weight,
                                                int style) const;

 private:
  mutable std::mutex lock;
  std::unordered_map<std::string, toolkit::RegisteredFace> registered;
};

// The font of the four font fields of a text node or an input: a registered face of the
// family, else an installed family of that name, else the system font with the weight. Only
// the system font takes the weight; a face stays as it was drawn. Style 2 is italic.
toolkit::Font makeFont(float fontSize, int fontWeight, uint8_t fontStyle,
                       const std::optional<std::string>& fontFamily);

// `_creatorUI.registerFont(family, source, options, onSuccess, onError)`. `source` is a path,
// a "file://" URL or a buffer id; its bytes are read at once and registered on a later turn of
// the main queue. Then the fonts of the open screens are refreshed and `onSuccess()` is called,
// or `onError("registerFont failed: <family>")` when there were no bytes or no face in them.
void registerFont(CreatorUIStore& store, const std::string& family, const ScriptValue& source,
                  const ScriptValue& options, const ScriptValue& onSuccess,
                  const ScriptValue& onError);

}  // namespace talvero
