#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "platform/toolkit/view.h"
#include "svg/svg_model.h"
#include "svg/svg_parser.h"
#include "svg/svg_renderer.h"

namespace talvero {

// A view that shows one SVG document fitted whole into its bounds, centred, aspect kept. The
// toolkit's y already runs down, so the document draws as it is. Main thread only.
class SVGUIView : public toolkit::View {
 public:
  SVGUIView() = default;
  explicit SVGUIView(const toolkit::Rect& frame);
  // Markup that does not parse leaves the view without a document.
  explicit SVGUIView(SVGParser::FileUrl url);
  explicit SVGUIView(std::span<const uint8_t> bytes);

  // Null without a document.
  const ParsedSVG* parsedSVG() const { return renderer_ ? &renderer_->svg() : nullptr; }
  // Asks for a redraw.
  void setParsedSVG(std::optional<ParsedSVG> svg);

  // The document's size; without a document, the plain view's answer.
  toolkit::Size intrinsicContentSize() const override;
  void drawContent(toolkit::DrawContext& context) override;

 private:
  void adopt(SVGParseResult result);

  std::optional<SVGRenderer> renderer_;
};

}  // namespace talvero
