#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>

#include "platform/toolkit/font.h"
#include "platform/toolkit/label.h"
#include "platform/toolkit/text_input.h"

namespace talvero::toolkit {

// A single line of editable text filling the view, with the platform's own typing, input
// methods, selection and clipboard. No background of its own: the view's layer shows through.
// The text is centred vertically. Main thread only.
class TextField : public TextInput {
 public:
  TextField();
  ~TextField() override;

  std::string string() const override;
  // Replaces the text without telling the change callback and puts the caret at its end; the
  // same text leaves the caret where it is.
  void setString(const std::string& text);
  // Justified and natural text lines up on the left.
  void setAlignment(TextAlignment alignment);
  TextAlignment alignment() const;
  // Shown while the field is empty, in the field's font; the text colour at 40% alpha
  // when no colour is given.
  void setPlaceholder(const std::string& text, std::optional<Color> color = std::nullopt);
  std::string placeholder() const;
  void setEditable(bool editable);
  bool isEditable() const;
  // Secure entry keeps the text but shows a bullet for every character, and lets nothing
  // be copied out.
  void setSecure(bool secure);
  bool isSecure() const;

  // Inserts at the caret, in place of any selection, as a key press or an input method
  // commit does: the change callback runs. Nothing happens when the field is not editable.
  void insertAtCursor(const std::string& text);
  // Where the caret stands before the character at `index`, in the view's coordinates.
  Rect caretRect(size_t index) const;

  // Return pressed.
  void setOnSubmit(std::function<void()> callback);

  void drawContent(DrawContext& context) override;

 private:
  std::string extraRules(const std::string& selector) const override;

  std::function<void()> onSubmit_;
};

}  // namespace talvero::toolkit
