#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/script/script_value.h"
#include "platform/toolkit/font.h"

namespace talvero {

class CreatorUIStore;

// Fonts registered at run time, for the life of the process: family names (plain, and
// "family|weight|style") to the face each stands for.
class FontManager {
 public:
  static FontManager& shared();
  // Registers the bytes of a font file under `family`; a face that is already registered
  // counts as success. `style` is 2 for italic, else 0.
  bool registerFont(const std::string& family, int weight, int style,
                    const std::vector<uint8_t>& data);
  // The registered face for the exact weight and style, else the one under the plain family.
  std::optional<std::string> lookup(const std::string& family, int weight, int style) const;

 private:
  mutable std::mutex lock_;
  std::unordered_map<std::string, std::string> registered_;
};

// The font of a text node's four font fields.
toolkit::Font makeFont(float fontSize, int fontWeight, uint8_t fontStyle,
                       const std::optional<std::string>& fontFamily);

// `_creatorUI.registerFont`: reads the source, registers it on the main queue, then refreshes
// the fonts of open screens and calls `onSuccess`, or calls `onError` with
// "registerFont failed: <family>".
void registerFont(CreatorUIStore& store, const std::string& family, const ScriptValue& source,
                  const ScriptValue& options, const ScriptValue& onSuccess,
                  const ScriptValue& onError);

}  // namespace talvero
