#pragma once

#include <functional>
#include <optional>
#include <string>

#include "platform/toolkit/font.h"
#include "platform/toolkit/view.h"

namespace talvero::toolkit {

// What the single-line field and the multi-line text view share: a platform text widget as
// the view's native content, with the platform's own typing, input methods, selection and
// clipboard; a font and text colour of its own through a style rule that reaches only this
// view; focus; and the change and focus callbacks. No background: the layer shows through.
// The platform widget draws only on screen; offscreen snapshots get the text drawn by the view
// itself, in the same font, colour and place.
class TextInput : public View {
 public:
  ~TextInput() override;

  virtual std::string string() const = 0;
  void setFont(const Font& font);
  const Font& font() const { return font_; }
  void setTextColor(Color color);
  Color textColor() const { return textColor_; }

  // Focus moves only within a window on screen.
  void focus();
  void unfocus();
  bool hasFocus() const;

  // After each change the user made, with the whole new text.
  void setOnTextChange(std::function<void(const std::string&)> callback);
  void setOnFocus(std::function<void()> callback);
  void setOnBlur(std::function<void()> callback);

 protected:
  // Takes a reference to `input` (a GtkWidget*); `kind` names the style class.
  TextInput(void* input, const std::string& kind);

  // Subclasses rebuild the style when what their rules depend on changes, and once at the
  // end of their construction.
  void updateStyle();
  // The selectors the font and colour go to, and any further rules, for this view's class.
  virtual std::string styledSelectors(const std::string& selector) const { return selector; }
  virtual std::string extraRules(const std::string&) const { return {}; }
  // Subclasses call this from their platform widget's change signal.
  void textChanged();
  // The placeholder's colour: the given one, else the text colour at 40% alpha.
  Color placeholderColor() const;
  // Whether the platform widget is on screen and so draws the text itself.
  bool drawsItself() const;
  // A new PangoLayout* of `text` in the view's font; the caller unrefs it.
  void* newLayout(const std::string& text) const;

  void* input_ = nullptr;  // GtkWidget*
  std::optional<Color> placeholderColor_;
  bool settingText_ = false;

 private:
  void* provider_ = nullptr;         // GtkCssProvider*
  void* focusController_ = nullptr;  // GtkEventController*
  std::string styleClass_;
  Font font_;
  Color textColor_{0, 0, 0, 1};
  std::function<void(const std::string&)> onTextChange_;
  std::function<void()> onFocus_;
  std::function<void()> onBlur_;
};

// A CSS colour for a style rule, independent of the locale.
std::string cssColor(const Color& color);

}  // namespace talvero::toolkit
