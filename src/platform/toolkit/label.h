#pragma once

#include <array>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/toolkit/font.h"
#include "platform/toolkit/view.h"

namespace talvero::toolkit {

// Natural follows the direction of the text: left for Latin, right for Arabic or Hebrew.
// Justified stretches every line but the last of a paragraph.
enum class TextAlignment { Left, Center, Right, Justified, Natural };

// A piece of text with its own looks; what a run leaves unset comes from the view.
struct TextRun {
  TextRun() = default;
  explicit TextRun(std::string text) : text(std::move(text)) {}

  std::string text;  // UTF-8
  std::optional<Color> color;
  std::optional<Font> font;
  double letterSpacing = 0;  // points added after each character
  bool underline = false;
  bool strikethrough = false;

  bool operator==(const TextRun&) const = default;
};

struct AttributedString {
  std::vector<TextRun> runs;

  std::string string() const;
  bool empty() const { return string().empty(); }
  bool operator==(const AttributedString&) const = default;
};

// Text that is shown, not edited: plain or attributed, wrapped at words to the view's width
// and drawn from the top. Main thread only.
class Label : public View {
 public:
  Label();

  void setFont(const Font& font);
  const Font& font() const { return font_; }
  // Plain text in the label's font and colour; replaces any attributed text.
  void setString(const std::string& text);
  void setAttributedString(AttributedString text);
  std::string string() const { return text_.string(); }
  const AttributedString& attributedString() const { return text_; }
  void setTextColor(Color color);
  Color textColor() const { return textColor_; }
  void setAlignment(TextAlignment alignment);
  TextAlignment alignment() const { return alignment_; }
  // Shown while the text is empty; runs without a colour take the text colour at 40% alpha.
  void setPlaceholder(AttributedString placeholder);

  // The size the text needs when it wraps at `width`, rounded up to whole points; with an
  // infinite or NaN width it does not wrap.
  Size sizeThatFits(double width) const;
  // Sizes are remembered until the label changes; fonts registered later can change them too.
  void forgetMeasurements() { measured_ = {}; }

  void drawContent(DrawContext& context) override;

 private:
  // A new PangoLayout* of what the label shows, wrapped at `width` (none when not finite), on
  // the shared measuring context or on the widget's own one for drawing.
  void* newLayout(double width, bool forMeasuring) const;

  // Layout asks the same label for the same widths many times per pass (unbounded, then the
  // width it settles on); shaping text is the expensive part, so the last two answers are kept.
  struct Measurement {
    double width = -1;
    Size size;
  };
  mutable std::array<Measurement, 2> measured_{};

  Font font_;
  AttributedString text_;
  AttributedString placeholder_;
  Color textColor_{0, 0, 0, 1};
  TextAlignment alignment_ = TextAlignment::Natural;
};

}  // namespace talvero::toolkit
