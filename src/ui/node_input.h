#pragma once

#include <optional>
#include <string>

#include "platform/toolkit/font.h"
#include "platform/toolkit/text_field.h"
#include "platform/toolkit/text_view.h"
#include "ui/capabilities.h"
#include "ui/node.h"

namespace talvero {

// What the single-line input and the text area share: white text on no background, the font
// from the four font fields, a placeholder, and the listener arrays of the script object, read
// at each event: `cl` with the whole new text after the user changed it, `fl` when editing
// began and `bl` when it ended. The text belongs to the view; the native tree never sees it.
// `InputView` is the toolkit's `TextField` or `TextView`.
template <class InputView>
class NodeTextEntry : public NodeView<InputView>,
                      public NodeTextStyling,
                      public NodeInputStyling,
                      public NodeTextValue {
 public:
  // `lines`: how many lines of the font the node is high when the style sets no height.
  NodeTextEntry(YGNodeRef nodePtr, ScriptValue script, CreatorUIStore& store, int lines);

  // From the font alone, never from the text: 200 wide and `lines` lines plus 8 high, unless
  // the layout gives a size.
  uint64_t measure(float width, uint8_t widthMode, float height, uint8_t heightMode) override;
  // "value" replaces the text on a later turn of the main queue, without telling `cl`; other
  // keys are ignored.
  void updateNode(const std::string& key, const ScriptValue& value) override;

  void setFontSize(float size) override;
  void setFontWeight(int weight) override;
  void setFontFamily(std::optional<std::string> family) override;
  void setFontStyle(uint8_t style) override;
  void setColor(toolkit::Color color) override;
  void setTextAlign(toolkit::TextAlignment alignment) override;
  void reloadFont() override;

  void setPlaceholder(const std::string& text) override;
  void setPlaceholderColor(toolkit::Color color) override;
  void setInputType(const std::string&) override {}

  std::string textValue() const override { return this->string(); }

  // For runs without a user: sets the text and tells `cl`, as typing it would.
  void debugType(const std::string& text);

  const toolkit::Font& cachedFont() const { return cachedFont_; }
  float fontSize() const { return fontSize_; }
  int fontWeight() const { return fontWeight_; }
  const std::optional<std::string>& fontFamily() const { return fontFamily_; }
  uint8_t fontStyle() const { return fontStyle_; }
  const std::string& placeholderText() const { return placeholderText_; }
  const std::optional<toolkit::Color>& placeholderTint() const { return placeholderTint_; }

 protected:
  void applyFont();
  void applyPlaceholder();

 private:
  void updateFontIfNeeded();
  void fontFieldChanged();
  void callListeners(const char* property, const std::vector<NativeValue>& args);

  int lines_;
  bool needsFontUpdate_ = true;
  toolkit::Font cachedFont_ = toolkit::Font::system(14);
  double lineHeight_ = 0;  // of `cachedFont_`, in whole points
  float fontSize_ = 14;
  int fontWeight_ = 400;
  std::optional<std::string> fontFamily_;
  uint8_t fontStyle_ = 0;
  std::string placeholderText_;
  std::optional<toolkit::Color> placeholderTint_;
};

// One line of typed text; `type: "password"` in the style hides what is typed.
class NodeInput : public NodeTextEntry<toolkit::TextField> {
 public:
  NodeInput(const std::string& type, YGNodeRef nodePtr, ScriptValue script, CreatorUIStore& store);

  // "password" hides the text, anything else shows it again; the text, its colour, font,
  // alignment and placeholder stay.
  void setInputType(const std::string& type) override;
  bool isSecure() const { return isSecure_; }

 private:
  bool isSecure_ = false;
};

// Several lines of typed text, wrapped at words; four lines high unless the style says
// otherwise, whatever is typed.
class NodeTextArea : public NodeTextEntry<toolkit::TextView> {
 public:
  NodeTextArea(const std::string& type, YGNodeRef nodePtr, ScriptValue script,
               CreatorUIStore& store);
};

extern template class NodeTextEntry<toolkit::TextField>;
extern template class NodeTextEntry<toolkit::TextView>;

}  // namespace talvero
