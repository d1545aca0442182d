#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>

#include "platform/toolkit/font.h"
#include "platform/toolkit/label.h"
#include "platform/toolkit/text_input.h"

namespace talvero::toolkit {

// Several lines of editable text filling the view, wrapped at words, with the platform's own
// typing, input methods, selection and clipboard. No background of its own and no scrolling:
// the text that does not fit is clipped. Main thread only.
class TextView : public TextInput {
 public:
  TextView();
  ~TextView() override;

  std::string string() const override;
  // Replaces the text without telling the change callback and puts the caret at its end; the
  // same text leaves the caret where it is.
  void setString(const std::string& text);
  void setAlignment(TextAlignment alignment);
  TextAlignment alignment() const;
  // Drawn while the text is empty and the view has no focus, in the view's font; the text
  // colour at 40% alpha when no colour is given.
  void setPlaceholder(const std::string& text, std::optional<Color> color = std::nullopt);
  const std::string& placeholder() const { return placeholder_; }
  bool showsPlaceholder() const;
  void setEditable(bool editable);
  bool isEditable() const;

  // Inserts at the caret, in place of any selection, as a key press or an input method
  // commit does: the change callback runs. Nothing happens when the view is not editable.
  void insertAtCursor(const std::string& text);
  // Where the caret stands before the character at `index`, in the view's coordinates.
  Rect caretRect(size_t index) const;

  void drawContent(DrawContext& context) override;

 private:
  std::string styledSelectors(const std::string& selector) const override;

  std::string placeholder_;
};

}  // namespace talvero::toolkit
