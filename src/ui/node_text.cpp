#include "ui/node_text.h"

#include <algorithm>
#include <cmath>

#include "platform/dispatch/main_queue.h"
#include "style_core/style_core.h"
#include "ui/font_manager.h"
#include "ui/relayout.h"

namespace talvero {

namespace {

// Wider than any text is set, and small enough for the toolkit's fixed-point layout units.
constexpr double kUnlimitedWidth = 100000;

// The text of a script value; a missing value is no text rather than "undefined".
std::string textOf(const ScriptValue& value) {
  if (value.isUndefined()) return {};
  return value.toStringIfAny().value_or("");
}

}  // namespace

NodeText::NodeText(const std::string&, YGNodeRef nodePtr, ScriptValue script, CreatorUIStore& store)
    : NodeView(nodePtr, std::move(script), store), content_(textOf(this->script().get("_text"))) {
  setTextColor(toolkit::Color{1, 1, 1, 1});
  setAlignment(toolkit::TextAlignment::Left);
  applyContent();
}

void NodeText::applyContent() {
  if (needsFontUpdate_) {
    cachedFont_ = makeFont(fontSize_, fontWeight_, fontStyle_, fontFamily_);
    needsFontUpdate_ = false;
  }
  // The view's own font also sets the height of an empty text, so it follows in both forms.
  setFont(cachedFont_);
  if (decoration_ == TextDecoration::None && letterSpacing_ == 0) {
    setString(content_);
    return;
  }
  toolkit::TextRun run(content_);
  run.font = cachedFont_;
  run.color = textColor();
  run.letterSpacing = letterSpacing_;
  run.underline = decoration_ == TextDecoration::Underline;
  run.strikethrough = decoration_ == TextDecoration::LineThrough;
  setAttributedString(toolkit::AttributedString{{run}});
}

uint64_t NodeText::measure(float width, uint8_t, float, uint8_t) {
  hasMeasure_ = true;
  applyContent();
  const double limit =
      std::isnan(width) ? kUnlimitedWidth : std::min<double>(width, kUnlimitedWidth);
  const toolkit::Size size = sizeThatFits(limit);
  return packMeasuredSize(static_cast<float>(std::ceil(size.width)),
                          static_cast<float>(std::ceil(size.height)));
}

void NodeText::updateNode(const std::string& key, const ScriptValue& value) {
  if (key != "text") return;
  // One more turn keeps several updates of one turn in order; the node may die meanwhile.
  std::weak_ptr<toolkit::View> weak = weak_from_this();
  dispatch::post([weak, text = textOf(value)] {
    const std::shared_ptr<toolkit::View> view = weak.lock();
    auto* node = dynamic_cast<NodeText*>(view.get());
    if (!node) return;
    node->content_ = text;
    node->applyContent();
    relayoutMeasuredNode(*node, node->hasMeasure_);
  });
}

void NodeText::fontFieldChanged() {
  needsFontUpdate_ = true;
  forgetMeasurements();
  applyContent();
}

void NodeText::setFontSize(float size) {
  fontSize_ = size;
  fontFieldChanged();
}

void NodeText::setFontWeight(int weight) {
  fontWeight_ = weight;
  fontFieldChanged();
}

void NodeText::setFontFamily(std::optional<std::string> family) {
  fontFamily_ = std::move(family);
  fontFieldChanged();
}

void NodeText::setFontStyle(uint8_t style) {
  fontStyle_ = style;
  fontFieldChanged();
}

void NodeText::setColor(toolkit::Color color) {
  setTextColor(color);
  applyContent();
}

void NodeText::setTextAlign(toolkit::TextAlignment alignment) {
  setAlignment(alignment);
}

void NodeText::reloadFont() {
  needsFontUpdate_ = true;
  forgetMeasurements();
  applyContent();
  relayoutMeasuredNode(*this, hasMeasure_);
}

void NodeText::setTextDecoration(const std::string& text) {
  if (text == "underline") {
    decoration_ = TextDecoration::Underline;
  } else if (text == "line-through") {
    decoration_ = TextDecoration::LineThrough;
  } else if (text == "none") {
    decoration_ = TextDecoration::None;
  }
  applyContent();
}

void NodeText::setLetterSpacing(double spacing) {
  letterSpacing_ = spacing;
  applyContent();
}

}  // namespace talvero
