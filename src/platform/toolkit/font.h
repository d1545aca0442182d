#pragma once

#include <optional>
#include <string>

namespace talvero::toolkit {

enum class FontTrait { Bold, Italic };

// A font as a value: family, size in points (one point is one view unit), weight from 100 to
// 900 and an italic flag. The face that draws it is chosen by the platform when text is laid out.
class Font {
 public:
  // The interface font of the desktop at `size`, with `weight`.
  static Font system(double size, int weight = 400);
  // A font of an installed or registered family, matched without regard to case; nothing when
  // no such family is known.
  static std::optional<Font> named(const std::string& family, double size);
  // A font of `family` whether or not it exists: the platform falls back to a near match.
  Font(std::string family, double size, int weight = 400, bool italic = false);

  const std::string& family() const { return family_; }
  double size() const { return size_; }
  int weight() const { return weight_; }
  bool isItalic() const { return italic_; }

  // The same font with the trait: bold is weight 700 (or more when it already was heavier).
  Font withTrait(FontTrait trait) const;
  Font withSize(double size) const;

  // Metrics of the face that draws this font, in points: the descender is negative, below the
  // baseline; the leading is the extra space between lines that the face asks for.
  double ascender() const;
  double descender() const;
  double leading() const;
  // Family and style of the face that the platform chose, as "DejaVu Sans Bold Oblique".
  std::string faceName() const;

  bool operator==(const Font&) const = default;

  // For the toolkit's own files: a new PangoFontDescription* (caller frees), and the same font
  // as CSS declarations.
  void* newPangoDescription() const;
  std::string cssDeclarations() const;

 private:
  std::string family_;
  double size_ = 14;
  int weight_ = 400;
  bool italic_ = false;
};

}  // namespace talvero::toolkit
