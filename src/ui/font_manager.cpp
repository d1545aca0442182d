#include "ui/font_manager.h"

#include <cmath>

#include "platform/dispatch/main_queue.h"
#include "platform/net/http_task.h"
#include "platform/net/url.h"
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
  const std::optional<std::string> path = localPathOf(text);
  if (!path) return nullptr;
  std::optional<std::vector<uint8_t>> bytes = readFileBytes(*path);
  return bytes ? makeBytes(std::move(*bytes)) : nullptr;
}

struct PendingRegistration {
  CreatorUIStore* store;
  std::string family;
  std::optional<int> weight;
  std::optional<std::string> style;
  ScriptValue onSuccess;
  ScriptValue onError;
};

// The end of every registration, on a later turn of the main queue whatever the source.
void finishRegistration(PendingRegistration pending, Bytes data) {
  dispatch::post([pending = std::move(pending), data] {
    if (data &&
        FontManager::shared().registerFont(pending.family, pending.weight, pending.style, *data)) {
      // The store may have gone with its engine while the registration waited.
      if (CreatorUIStore::active() == pending.store) pending.store->refreshFonts();
      if (pending.onSuccess.isFunction()) pending.onSuccess.call();
    } else if (pending.onError.isFunction()) {
      pending.onError.call({"registerFont failed: " + pending.family});
    }
  });
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
  PendingRegistration pending{&store, family, weight, style, onSuccess, onError};
  const std::string text = source.toStringIfAny().value_or("");
  if (isRemoteSource(text) && net::isParsableUrl(text)) {
    net::HttpRequest request;
    request.url = text;
    net::DataTaskCallbacks callbacks;
    auto shared = std::make_shared<PendingRegistration>(std::move(pending));
    callbacks.onComplete = [shared](const net::HttpResponse&, Bytes body) {
      finishRegistration(std::move(*shared), std::move(body));
    };
    callbacks.onError = [shared](const std::string&) {
      finishRegistration(std::move(*shared), nullptr);
    };
    net::startDataTask(std::move(request), std::move(callbacks));
    return;
  }
  finishRegistration(std::move(pending), sourceBytes(source));
}

}  // namespace talvero
