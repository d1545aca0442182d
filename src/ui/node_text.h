#pragma once

#include <optional>
#include <string>

#include "platform/toolkit/font.h"
#include "platform/toolkit/label.h"
#include "ui/capabilities.h"
#include "ui/node.h"

namespace talvero {

enum class TextDecoration { None, Underline, LineThrough };

// A piece of text, and the main measured node: the layout core asks it for its size.
class NodeText : public NodeView<toolkit::Label>, public NodeTextStyling {
 public:
  NodeText(const std::string& type, YGNodeRef nodePtr, ScriptValue script, CreatorUIStore& store);

  uint64_t measure(float width, uint8_t widthMode, float height, uint8_t heightMode) override;
  void updateNode(const std::string& key, const ScriptValue& value) override;

  void setFontSize(float size) override;
  void setFontWeight(int weight) override;
  void setFontFamily(std::optional<std::string> family) override;
  void setFontStyle(uint8_t style) override;
  void setColor(toolkit::Color color) override;
  void setTextAlign(toolkit::TextAlignment alignment) override;
  void reloadFont() override;
  void setTextDecoration(const std::string& text);
  void setLetterSpacing(double spacing);
};

}  // namespace talvero
