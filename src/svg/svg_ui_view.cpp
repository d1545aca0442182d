#include "svg/svg_ui_view.h"

#include <utility>

#include "platform/toolkit/graphics_drawing.h"

namespace talvero {

SVGUIView::SVGUIView(const toolkit::Rect& frame) {
  setFrame(frame);
}

SVGUIView::SVGUIView(SVGParser::FileUrl url) {
  adopt(SVGParser::parse(url));
}

SVGUIView::SVGUIView(std::span<const uint8_t> bytes) {
  adopt(SVGParser::parse(bytes));
}

void SVGUIView::adopt(SVGParseResult result) {
  if (auto* svg = std::get_if<ParsedSVG>(&result)) renderer_.emplace(std::move(*svg));
}

void SVGUIView::setParsedSVG(std::optional<ParsedSVG> svg) {
  renderer_.reset();
  if (svg) renderer_.emplace(std::move(*svg));
  setNeedsDisplay();
}

toolkit::Size SVGUIView::intrinsicContentSize() const {
  if (!renderer_) return View::intrinsicContentSize();
  return {renderer_->svg().size.width, renderer_->svg().size.height};
}

void SVGUIView::drawContent(toolkit::DrawContext& context) {
  if (!renderer_) return;
  const toolkit::Rect area = bounds();
  toolkit::drawGraphics(context, area, [&](graphics::GraphicsContext& graphics) {
    renderer_->draw(graphics, area.x(), area.y(), area.width(), area.height(), std::nullopt);
  });
}

}  // namespace talvero
