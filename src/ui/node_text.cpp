#include "ui/node_text.h"

#include "style_core/node_tree.h"

namespace talvero {

NodeText::NodeText(const std::string&, YGNodeRef nodePtr, ScriptValue script, CreatorUIStore& store)
    : NodeView(nodePtr, std::move(script), store) {
  setString(this->script().get("_text").toString());
  setTextColor(toolkit::Color{1, 1, 1, 1});
}

uint64_t NodeText::measure(float width, uint8_t, float, uint8_t) {
  const toolkit::Size size = sizeThatFits(width);
  return packMeasuredSize(static_cast<float>(size.width), static_cast<float>(size.height));
}

void NodeText::updateNode(const std::string&, const ScriptValue&) {}
void NodeText::setFontSize(float) {}
void NodeText::setFontWeight(int) {}
void NodeText::setFontFamily(std::optional<std::string>) {}
void NodeText::setFontStyle(uint8_t) {}
void NodeText::setColor(toolkit::Color color) {
  setTextColor(color);
}
void NodeText::setTextAlign(toolkit::TextAlignment alignment) {
  setAlignment(alignment);
}
void NodeText::reloadFont() {}
void NodeText::setTextDecoration(const std::string&) {}
void NodeText::setLetterSpacing(double) {}

}  // namespace talvero
