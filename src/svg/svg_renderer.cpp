#include "svg/svg_renderer.h"

#include <cmath>
#include <limits>

#include "svg/svg_path_builder.h"

namespace talvero {
namespace {

using Xform = std::array<float, 6>;

constexpr double kDefaultScale = 2.0;

graphics::Color toColor(const SVGColor& color) {
  return {color.red, color.green, color.blue, color.alpha};
}

graphics::FillRule toRule(SVGFillRule rule) {
  return rule == SVGFillRule::evenOdd ? graphics::FillRule::EvenOdd : graphics::FillRule::NonZero;
}

graphics::LineCap toCap(SVGLineCap cap) {
  switch (cap) {
    case SVGLineCap::round:
      return graphics::LineCap::Round;
    case SVGLineCap::square:
      return graphics::LineCap::Square;
    case SVGLineCap::butt:
      break;
  }
  return graphics::LineCap::Butt;
}

graphics::LineJoin toJoin(SVGLineJoin join) {
  switch (join) {
    case SVGLineJoin::round:
      return graphics::LineJoin::Round;
    case SVGLineJoin::bevel:
      return graphics::LineJoin::Bevel;
    case SVGLineJoin::miter:
      break;
  }
  return graphics::LineJoin::Miter;
}

// The model stores the inverse of the gradient's placement; drawing needs the placement itself.
// A singular matrix gives non-finite values, which the context refuses by drawing nothing.
std::array<double, 6> placementOf(const Xform& inverse) {
  const double a = inverse[0], b = inverse[1], c = inverse[2], d = inverse[3];
  const double e = inverse[4], f = inverse[5];
  const double det = a * d - c * b;
  const double inv = 1.0 / det;
  return {d * inv, -b * inv, -c * inv, a * inv, (c * f - d * e) * inv, (b * e - a * f) * inv};
}

template <typename G>
graphics::Gradient gradientBase(const G& gradient) {
  graphics::Gradient result;
  for (const SVGGradientStop& stop : gradient.stops)
    result.stops.push_back({stop.offset, toColor(stop.color)});
  // Reflect and repeat are not drawn as such: past the ends nothing is painted.
  result.extend =
      gradient.spread == SVGSpread::pad ? graphics::Extend::Pad : graphics::Extend::None;
  return result;
}

// Clips to the shape, then paints the gradient in its own unit space under the placement. The
// placement goes on the context rather than into the end points, so that a skewing or
// non-uniform gradientTransform bends the gradient as it bends the shape. In that unit space a
// linear gradient runs from (0, 0) to (0, 1) and a radial one fills the unit circle.
template <typename G>
void paintGradient(graphics::GraphicsContext& context, const SVGShape& shape, const G& gradient,
                   graphics::Gradient paint) {
  context.save();
  context.beginPath();
  SVGPathBuilder::buildPath(context, shape);
  context.clip(toRule(shape.fillRule));
  const std::array<double, 6> p = placementOf(gradient.xform);
  context.concat(p[0], p[1], p[2], p[3], p[4], p[5]);
  context.paint(paint);
  context.restore();
}

void fillShape(graphics::GraphicsContext& context, const SVGShape& shape,
               const std::optional<SVGColor>& tint) {
  if (std::holds_alternative<SVGNoPaint>(shape.fill)) return;
  if (tint || std::holds_alternative<SVGColor>(shape.fill)) {
    const SVGColor color = tint ? *tint : std::get<SVGColor>(shape.fill);
    context.setFill(toColor(color));
    context.beginPath();
    SVGPathBuilder::buildPath(context, shape);
    context.fill(toRule(shape.fillRule));
    return;
  }
  if (const auto* linear = std::get_if<SVGLinearGradient>(&shape.fill)) {
    if (linear->stops.empty()) return;
    graphics::Gradient paint = gradientBase(*linear);
    paint.kind = graphics::Gradient::Kind::Linear;
    paint.x1 = 0;
    paint.y1 = 1;
    paintGradient(context, shape, *linear, std::move(paint));
  } else if (const auto* radial = std::get_if<SVGRadialGradient>(&shape.fill)) {
    if (radial->stops.empty()) return;
    graphics::Gradient paint = gradientBase(*radial);
    paint.kind = graphics::Gradient::Kind::Radial;
    // A focal point outside the circle is moved onto it, as SVG asks, rather than drawing a cone.
    const SVGPoint focus = radial->focusFromCentre;
    const double focalDistance = std::hypot(focus.x, focus.y);
    const double focalScale = focalDistance > 1 ? 1 / focalDistance : 1;
    paint.x0 = focus.x * focalScale;
    paint.y0 = focus.y * focalScale;
    paint.r1 = 1;
    paintGradient(context, shape, *radial, std::move(paint));
  }
}

void strokeShape(graphics::GraphicsContext& context, const SVGShape& shape,
                 const std::optional<SVGColor>& tint) {
  if (std::holds_alternative<SVGNoPaint>(shape.stroke) || !(shape.strokeWidth > 0)) return;
  if (!tint && !std::holds_alternative<SVGColor>(shape.stroke)) return;
  const SVGColor color = tint ? *tint : std::get<SVGColor>(shape.stroke);
  context.setStroke(toColor(color));
  context.setLineWidth(shape.strokeWidth);
  context.setLineCap(toCap(shape.lineCap));
  context.setLineJoin(toJoin(shape.lineJoin));
  context.setMiterLimit(shape.miterLimit);
  if (shape.dash && !shape.dash->pattern.empty()) {
    const std::vector<double> lengths(shape.dash->pattern.begin(), shape.dash->pattern.end());
    context.setLineDash(lengths, shape.dash->offset);
  }
  context.beginPath();
  SVGPathBuilder::buildPath(context, shape);
  context.stroke();
}

void drawShape(graphics::GraphicsContext& context, const SVGShape& shape,
               const std::optional<SVGColor>& tint) {
  if (shape.subpaths.empty()) return;
  context.save();
  fillShape(context, shape, tint);
  strokeShape(context, shape, tint);
  context.restore();
}

}  // namespace

graphics::BitmapRef SVGRenderer::renderToImage(double width, double height, double scale,
                                               const std::optional<SVGColor>& tint) const {
  const double s = scale > 0 ? scale : kDefaultScale;
  const double pixelWidth = std::ceil(width * s);
  const double pixelHeight = std::ceil(height * s);
  // The comparisons also refuse NaN; sizes past int are left to the pixel limit to refuse.
  constexpr double kLargest = std::numeric_limits<int>::max();
  if (!(pixelWidth >= 1 && pixelHeight >= 1)) return nullptr;
  if (!(pixelWidth <= kLargest && pixelHeight <= kLargest)) return nullptr;
  auto context = graphics::GraphicsContext::create(static_cast<int>(pixelWidth),
                                                   static_cast<int>(pixelHeight), s);
  if (!context) return nullptr;
  draw(*context, 0, 0, width, height, tint);
  return context->finish();
}

std::optional<SVGDrawing> drawParsedSVG(SVGParseResult parsed, std::optional<SVGSize> size,
                                        double scale, const std::optional<SVGColor>& tint) {
  auto* document = std::get_if<ParsedSVG>(&parsed);
  if (!document || !(document->size.width > 0) || !(document->size.height > 0)) {
    return std::nullopt;
  }
  const SVGSize documentSize = document->size;
  const SVGSize drawn = size.value_or(documentSize);
  if (!(drawn.width > 0) || !(drawn.height > 0)) return std::nullopt;
  graphics::BitmapRef bitmap =
      SVGRenderer(std::move(*document)).renderToImage(drawn.width, drawn.height, scale, tint);
  if (!bitmap) return std::nullopt;
  return SVGDrawing{std::move(bitmap), documentSize};
}

void SVGRenderer::draw(graphics::GraphicsContext& context, double x, double y, double width,
                       double height, const std::optional<SVGColor>& tint) const {
  const double documentWidth = svg_.size.width, documentHeight = svg_.size.height;
  if (!(std::isfinite(documentWidth) && documentWidth > 0)) return;
  if (!(std::isfinite(documentHeight) && documentHeight > 0)) return;
  context.save();
  const double factor = std::min(width / documentWidth, height / documentHeight);
  context.translate(x + (width - documentWidth * factor) / 2,
                    y + (height - documentHeight * factor) / 2);
  context.scale(factor, factor);
  for (const SVGShape& shape : svg_.shapes) drawShape(context, shape, tint);
  context.restore();
}

}  // namespace talvero
