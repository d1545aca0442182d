#pragma once

#include <optional>
#include <string>

#include "platform/toolkit/font.h"
#include "platform/toolkit/label.h"
#include "ui/capabilities.h"
#include "ui/node.h"

namespace talvero {

enum class TextDecoration { None, Underline, LineThrough };

// A piece of text, and the main measured node: the layout core asks it for its size. The font
// is worked out again only after one of the four font fields changed.
class NodeText : public NodeView<toolkit::Label>, public NodeTextStyling {
 public:
  NodeText(const std::string& type, YGNodeRef nodePtr, ScriptValue script, CreatorUIStore& store);

  // The size of the text wrapped at `width` (a NaN width sets no limit), in whole points
  // rounded up, packed width high.
  uint64_t measure(float width, uint8_t widthMode, float height, uint8_t heightMode) override;
  // "text" sets the content on a later turn of the main queue; other keys are ignored.
  void updateNode(const std::string& key, const ScriptValue& value) override;

  void setFontSize(float size) override;
  void setFontWeight(int weight) override;
  void setFontFamily(std::optional<std::string> family) override;
  void setFontStyle(uint8_t style) override;
  void setColor(toolkit::Color color) override;
  void setTextAlign(toolkit::TextAlignment alignment) override;
  void reloadFont() override;
  // "underline", "line-through" or "none"; any other text keeps the decoration there is.
  void setTextDecoration(const std::string& text);
  void setLetterSpacing(double spacing);

  // Puts the content into the view: plain text in the node's font, or an attributed text
  // when it is decorated or spaced.
  void applyContent();

  bool hasMeasure() const { return hasMeasure_; }
  const std::string& content() const { return content_; }
  const toolkit::Font& cachedFont() const { return cachedFont_; }
  float fontSize() const { return fontSize_; }
  int fontWeight() const { return fontWeight_; }
  const std::optional<std::string>& fontFamily() const { return fontFamily_; }
  uint8_t fontStyle() const { return fontStyle_; }
  TextDecoration decoration() const { return decoration_; }
  double letterSpacing() const { return letterSpacing_; }

 private:
  void fontFieldChanged();

  bool hasMeasure_ = false;  // the layout core depends on this node's size
  std::string content_;
  toolkit::Font cachedFont_ = toolkit::Font::system(14);
  bool needsFontUpdate_ = true;
  float fontSize_ = 14.0f;
  int fontWeight_ = 400;
  std::optional<std::string> fontFamily_;
  uint8_t fontStyle_ = 0;
  TextDecoration decoration_ = TextDecoration::None;
  double letterSpacing_ = 0.0;
};

}  // namespace talvero
