#pragma once

#include <optional>

#include "platform/graphics/bitmap.h"
#include "platform/graphics/graphics_context.h"
#include "svg/svg_model.h"
#include "svg/svg_parser.h"

namespace talvero {

// Draws a parsed document with the graphics layer. It holds nothing but its immutable
// document, so a background queue may render with it. An optional tint replaces every paint
// (a `none` paint stays none), so that monochrome icons can be recoloured.
class SVGRenderer {
 public:
  explicit SVGRenderer(ParsedSVG svg) : svg_(std::move(svg)) {}

  // A bitmap of `width` × `height` points at `scale` pixels a point (2 when not above 0),
  // pixel sizes rounded up; nothing for fewer than one pixel a side or over the pixel limit.
  graphics::BitmapRef renderToImage(double width, double height, double scale,
                                    const std::optional<SVGColor>& tint) const;
  // Fits the document whole into the rectangle, centred, aspect kept; nothing when the
  // document's size is not finite and above 0.
  void draw(graphics::GraphicsContext& context, double x, double y, double width, double height,
            const std::optional<SVGColor>& tint) const;

  const ParsedSVG& svg() const { return svg_; }

 private:
  ParsedSVG svg_;
};

struct SVGDrawing {
  graphics::BitmapRef bitmap;
  SVGSize documentSize;
};

// A parsed document drawn at `size` points, or at its own size without one; nothing when it
// did not parse, its size is not above 0, or it makes no pixels.
std::optional<SVGDrawing> drawParsedSVG(SVGParseResult parsed, std::optional<SVGSize> size,
                                        double scale, const std::optional<SVGColor>& tint);

}  // namespace talvero
