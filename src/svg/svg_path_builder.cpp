#include "svg/svg_path_builder.h"

namespace talvero::SVGPathBuilder {

bool buildPath(graphics::GraphicsContext& context, const SVGShape& shape) {
  if (shape.subpaths.empty()) return false;
  for (const SVGSubpath& subpath : shape.subpaths) {
    context.moveTo(subpath.start.x, subpath.start.y);
    for (const CubicBezier& curve : subpath.curves) {
      context.cubicTo(curve.control1.x, curve.control1.y, curve.control2.x, curve.control2.y,
                      curve.end.x, curve.end.y);
    }
    if (subpath.isClosed) context.closePath();
  }
  return true;
}

}  // namespace talvero::SVGPathBuilder
