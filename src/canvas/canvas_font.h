#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/graphics/text_line.h"

namespace talvero::canvas {

// A canvas `font` text as the script writes it: "italic bold 14px \"Helvetica Neue\", Arial".
struct ParsedFont {
  std::optional<std::string> family;  // the first family only, quotes trimmed
  int weight = 400;
  int style = 0;  // 2 italic or oblique
  double size = 16;
};

namespace CanvasFont {

ParsedFont parse(std::string_view text);

// The font to draw with. Weights outside 100, 200, 300, 500, 600 and 700 draw regular, as the
// platform's named weights do. A family goes to the font machinery by name, where the faces that
// scripts registered are found as well; an unknown family falls back to the system font.
// Results are kept by text, so a font set every frame is parsed once.
const graphics::FontDescription& resolve(const std::string& text);

}  // namespace CanvasFont

}  // namespace talvero::canvas
