#include "ui/font_manager.h"

#include <cmath>

#include "platform/dispatch/main_queue.h"
#include "runtime/buffers.h"
#include "runtime/log.h"
#include "ui/font_source.h"
#include "ui/ui_store.h"

namespace talvero {

namespace {

std::string faceKey(const std::string& family, int weight, int style) {
  return family + "|" + std::to_string(weight) + "|" + std::to_string(style);
}

// The weights that have a name; 400, 800, 900 and every other number give the regular weight.
int systemWeightOf(int fontWeight) {
  switch (fontWeight) {
    case 100:  // thin
    case 200:  // ultra light
    case 300:  // light
    case 500:  // medium
    case 600:  // semibold
    case 700:  // bold
      return fontWeight;
    default:
      return 400;
  }
}

// The face at `size`, when its family is still known to the platform.
std::optional<toolkit::Font> fontOfFace(const toolkit::RegisteredFace& face, double size) {
  const std::optional<toolkit::Font> named = toolkit::Font::named(face.family, size);
  if (!named) return std::nullopt;
  return toolkit::Font(named->family(), size, face.weight, face.italic);
}

toolkit::Font italicized(const toolkit::Font& font) {
  return font.withTrait(toolkit::FontTrait::Italic);
}

// The bytes that a script names: a buffer id, a local file, or nothing.
Bytes sourceBytes(const ScriptValue& source) {
  if (source.isNumber()) {
    const double id = source.toDouble();
    return std::isfinite(id) ? Buffers::get(static_cast<int64_t>(id)) : nullptr;
  }
  const std::string text = source.toStringIfAny().value_or("");
  if (isRemoteSource(text)) {
    logLine(
        "[WARN] registerFont: fonts from the network need the network layer, which is not "
        "built yet; cannot load " +
        text);
    return nullptr;
  }
  const std::optional<std::string> path = localPathOf(text);
  if (!path) return nullptr;
  std::optional<std::vector<uint8_t>> bytes = readFileBytes(*path);
  return bytes ? makeBytes(std::move(*bytes)) : nullptr;
}

}  // namespace

FontManager& FontManager::shared() {
  static auto* manager = new FontManager();
  return *manager;
}

bool FontManager::registerFont(const std::string& family, std::optional<int> weight,
                               const std::optional<std::string>& style,
                               const std::vector<uint8_t>& data) {
  const toolkit::FontRegistration result = toolkit::registerFontData(data);
  if (result.status == toolkit::FontRegistration::Status::Failed || result.faces.empty()) {
    return false;
  }
  const toolkit::RegisteredFace& face = result.faces.front();
  const int styleCode = style == "italic" ? 2 : 0;
  std::lock_guard guard(lock);
  registered[faceKey(family, weight.value_or(400), styleCode)] = face;
  registered[family] = face;
  return true;
}

std::optional<toolkit::RegisteredFace> FontManager::lookup(const std::string& family, int weight,
                                                           int style) const {
  std::lock_guard guard(lock);
  for (const std::string& key : {faceKey(family, weight, style), family}) {
    if (const auto found = registered.find(key); found != registered.end()) return found->second;
  }
  return std::nullopt;
}

toolkit::Font makeFont(float fontSize, int fontWeight, uint8_t fontStyle,
                       const std::optional<std::string>& fontFamily) {
  std::optional<toolkit::Font> font;
  if (fontFamily) {
    if (const auto face = FontManager::shared().lookup(*fontFamily, fontWeight, fontStyle)) {
      font = fontOfFace(*face, fontSize);
    }
    if (!font) font = toolkit::Font::named(*fontFamily, fontSize);
  }
  if (!font) font = toolkit::Font::system(fontSize, systemWeightOf(fontWeight));
  return fontStyle == 2 ? italicized(*font) : *font;
}

void registerFont(CreatorUIStore& store, const std::string& family, const ScriptValue& source,
                  const ScriptValue& options, const ScriptValue& onSuccess,
                  const ScriptValue& onError) {
  std::optional<int> weight;
  std::optional<std::string> style;
  if (options.isObject()) {
    if (const ScriptValue value = options.get("weight"); value.isNumber()) {
      weight = value.toInt32();
    }
    if (const ScriptValue value = options.get("style"); value.isString()) {
      style = value.toString();
    }
  }
  const Bytes data = sourceBytes(source);
  CreatorUIStore* storePtr = &store;
  dispatch::post([storePtr, family, weight, style, data, onSuccess, onError] {
    if (data && FontManager::shared().registerFont(family, weight, style, *data)) {
      // The store may have gone with its engine while the registration waited.
      if (CreatorUIStore::active() == storePtr) storePtr->refreshFonts();
      if (onSuccess.isFunction()) onSuccess.call();
    } else if (onError.isFunction()) {
      onError.call({"registerFont failed: " + family});
    }
  });
}

}  // namespace talvero
