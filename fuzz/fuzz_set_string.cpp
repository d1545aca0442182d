// setString on a live node with any name and value: the property table, the layers, every
// parser and the handlers, then layout passes that flip the orientation. The first line of
// the input is the name, the rest the value.

#include "fuzz_input.h"
#include "style_core/internal/layers.h"
#include "style_core/internal/node_tree.h"
#include "style_core/internal/properties.h"

namespace {

using talvero::fuzz::require;

void onString(int32_t, YGNodeRef node, const char* value) {
  require(node && value);
}
void onFloat(int32_t, YGNodeRef node, float) {
  require(node);
}
void onColour(int32_t, YGNodeRef node, uint32_t) {
  require(node);
}
void onReset(int32_t, YGNodeRef node) {
  require(node);
}
void onMatrix(int32_t, YGNodeRef node, const float* matrix) {
  require(node && matrix);
}
void onGradient(int32_t, YGNodeRef node, const talvero::CUIGradient* gradient) {
  require(node && gradient && gradient->stops && gradient->stopCount >= 2);
}

// The handlers a host registers, so that every path reaches view code.
bool registerHandlers() {
  using namespace talvero;
  for (const char* name :
       {"backgroundColor", "borderColor", "tintColor", "borderTopColor", "borderRightColor",
        "borderBottomColor", "borderLeftColor", "color", "placeholderColor", "overlayColor"}) {
    addUIntHandler(name, onColour);
  }
  for (const char* name :
       {"backgroundImage", "backgroundSize", "textAlign", "fontFamily", "textDecoration",
        "placeholder", "type", "objectFit", "display", "overflow", "pointerEvents"}) {
    addStringHandler(name, onString);
  }
  for (const char* name :
       {"borderWidth", "borderTopWidth", "borderRightWidth", "borderBottomWidth", "borderLeftWidth",
        "fontSize", "fontWeight", "fontStyle", "letterSpacing", "scrollDirection", "showScrollbar",
        "borderRadius", "borderTopLeftRadius", "borderTopRightRadius", "borderBottomLeftRadius",
        "borderBottomRightRadius", "opacity"}) {
    addFloatHandler(name, onFloat);
  }
  for (const char* name :
       {"backgroundColor", "backgroundImage", "tintColor", "borderTopWidth", "borderRightWidth",
        "borderBottomWidth", "borderLeftWidth", "borderTopColor", "borderRightColor",
        "borderBottomColor", "borderLeftColor", "overlayColor", "display", "backgroundGradient"}) {
    addResetHandler(name, onReset);
  }
  setMatrixHandler(onMatrix);
  setGradientHandler(onGradient);
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace talvero;
  static const bool registered = registerHandlers();
  (void)registered;
  const std::string text = talvero::fuzz::textOf(data, size);
  const size_t lineEnd = text.find('\n');
  const std::string name = text.substr(0, lineEnd);
  const std::string value = lineEnd == std::string::npos ? "" : text.substr(lineEnd + 1);

  YGNodeRef root = createNodeRoot(1);
  YGNodeRef child = createNode(root, 0, 0);
  setString(child, name.c_str(), value.c_str());
  const LayerId layer = getLayer(child, "$fuzz");
  setStringExt(layer, child, name.c_str(), value.c_str());
  setStringExt(kPortraitLayer, root, name.c_str(), value.c_str());
  enableNodeLayer(child, layer);
  calculate(root, 320, 480);
  disableNodeLayer(child, layer);
  calculate(root, 480, 320);
  setSafePaddings(root, 20, 0, 34, 0);
  freeNode(root);
  return 0;
}
