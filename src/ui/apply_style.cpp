#include <cmath>
#include <cstdint>
#include <string>

#include "style_core/style_core.h"
#include "ui/capabilities.h"
#include "ui/style_dispatch.h"
#include "ui/ui_store.h"

namespace talvero {

namespace {

// The text of a handle's `_id` after "id:": a whole number without a fraction part.
std::string handleIdText(const NativeValue& id) {
  if (id.isString()) return id.asString();
  if (!id.isNumber()) return {};
  const double number = id.asNumber();
  if (std::isfinite(number) && number == std::trunc(number) && std::fabs(number) < 9.0e15) {
    return std::to_string(static_cast<int64_t>(number));
  }
  return std::to_string(number);
}

// A block's `duration`, in milliseconds, is the transition of a node that animates its layer
// switches; other nodes drop it, and it never becomes a style.
void applyDuration(YGNodeRef nodePtr, const NativeValue& milliseconds) {
  if (!milliseconds.isNumber()) return;
  const std::shared_ptr<UIScreen> screen = CreatorUIStore::getScreen(getScreenId(nodePtr));
  NodeProtocol* node = screen ? screen->node(reinterpret_cast<uintptr_t>(nodePtr)) : nullptr;
  if (auto* transition = dynamic_cast<NodeTransition*>(node)) {
    transition->duration = milliseconds.asNumber() / 1000.0;
  }
}

void applyBlockEntry(LayerId target, YGNodeRef nodePtr, const std::string& key,
                     const NativeValue& value) {
  if (key == "duration") {
    applyDuration(nodePtr, value);
  } else {
    applyStyle(target, nodePtr, key, value);
  }
}

}  // namespace

void applyStyle(LayerId layer, YGNodeRef nodePtr, const std::string& key,
                const NativeValue& value) {
  if (value.isScriptValue()) {
    applyStyle(layer, nodePtr, key, value.asScriptValue().toNative());
  } else if (value.isString()) {
    setStringExt(layer, nodePtr, key.c_str(), value.asString().c_str());
  } else if (value.isNumber()) {
    setFloatExt(layer, nodePtr, key.c_str(), static_cast<float>(value.asNumber()));
  } else if (const NativeValue* id = value.find("_id")) {
    // A handle on binary data, read back by the background image.
    setStringExt(layer, nodePtr, key.c_str(), ("id:" + handleIdText(*id)).c_str());
  } else if (value.isDict()) {
    const LayerId target = getLayer(nodePtr, key.c_str());
    for (const auto& [entryKey, entryValue] : value.asDict()) {
      applyBlockEntry(target, nodePtr, entryKey, entryValue);
    }
  } else if (value.isArray()) {
    // An array is an object too: its entries are keyed by their indices.
    const LayerId target = getLayer(nodePtr, key.c_str());
    const NativeValue::Array& entries = value.asArray();
    for (size_t i = 0; i < entries.size(); ++i) {
      applyBlockEntry(target, nodePtr, std::to_string(i), entries[i]);
    }
  }
}

}  // namespace talvero
