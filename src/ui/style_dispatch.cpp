#include "ui/style_dispatch.h"

#include "style_core/layers.h"
#include "style_core/properties.h"
#include "ui/capabilities.h"
#include "ui/ui_store.h"

namespace talvero {

void applyStyle(LayerId layer, YGNodeRef node, const std::string& key, const NativeValue& value) {
  if (value.isString()) {
    setStringExt(layer, node, key.c_str(), value.asString().c_str());
  } else if (value.isNumber()) {
    setFloatExt(layer, node, key.c_str(), static_cast<float>(value.asNumber()));
  }
}

void registerStyleHandlers() {}

}  // namespace talvero
