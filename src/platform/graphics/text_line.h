#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace talvero::graphics {

struct FontDescription {
  std::string family;  // empty: the system's sans-serif
  int weight = 400;    // 100 to 1000, as in CSS
  bool italic = false;
  double sizePx = 16;  // in user units, which are the units the text is drawn in
};

// One line of shaped text. Its width is the width it draws at every scale: glyph positions
// are neither hinted nor rounded to pixels. Line breaks in the text count as spaces. Main
// thread only: all lines share one font context.
class TextLine {
 public:
  struct Layout;  // the shaping library's line, private to this folder

  TextLine(std::string_view text, const FontDescription& font);
  ~TextLine();
  TextLine(const TextLine&) = delete;
  TextLine& operator=(const TextLine&) = delete;

  double width() const { return width_; }
  double ascent() const { return ascent_; }    // above the baseline, positive
  double descent() const { return descent_; }  // below the baseline, positive

  const Layout& layout() const { return *layout_; }

 private:
  std::unique_ptr<Layout> layout_;
  double width_ = 0;
  double ascent_ = 0;
  double descent_ = 0;
};

}  // namespace talvero::graphics
