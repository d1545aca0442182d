#include "ui/node_input.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "platform/dispatch/main_queue.h"
#include "runtime/value_helpers.h"
#include "style_core/style_core.h"
#include "ui/font_manager.h"

namespace talvero {

namespace {

constexpr toolkit::Color kWhite{1, 1, 1, 1};
constexpr toolkit::Color kDefaultPlaceholderTint{1, 1, 1, 0.4};
constexpr float kDefaultWidth = 200;
// Room above and below the lines, beside what the font asks for.
constexpr double kVerticalPadding = 8;

// The text of a script value; a missing value is no text rather than "undefined".
std::string textOf(const ScriptValue& value) {
  if (value.isUndefined()) return {};
  return value.toStringIfAny().value_or("");
}

// The layout's size when it sets one; the node's own size when it gives none, or only a
// limit: the layout core measures every flex basis against the space of the parent, and an
// input is not meant to fill that space.
float sizeInMode(float own, float given, uint8_t mode) {
  if (std::isnan(given) || mode == YGMeasureModeUndefined) return own;
  return mode == YGMeasureModeAtMost ? std::min(own, given) : given;
}

}  // namespace

template <class InputView>
NodeTextEntry<InputView>::NodeTextEntry(YGNodeRef nodePtr, ScriptValue script,
                                        CreatorUIStore& store, int lines)
    : NodeView<InputView>(nodePtr, std::move(script), store), lines_(lines) {
  this->setTextColor(kWhite);
  this->setAlignment(toolkit::TextAlignment::Left);
  this->setOnTextChange(
      [this](const std::string& text) { callListeners("cl", {NativeValue(text)}); });
  this->setOnFocus([this] { callListeners("fl", {}); });
  this->setOnBlur([this] { callListeners("bl", {}); });
  applyFont();
}

template <class InputView>
void NodeTextEntry<InputView>::callListeners(const char* property,
                                             const std::vector<NativeValue>& args) {
  // Until the flush takes its view away, a removed node can still be typed into or lose the
  // keyboard; the script has forgotten it.
  if (!this->show) return;
  call_list(getIfNotEmpty(this->script().get(property)), args);
}

template <class InputView>
void NodeTextEntry<InputView>::updateFontIfNeeded() {
  if (!needsFontUpdate_) return;
  cachedFont_ = makeFont(fontSize_, fontWeight_, fontStyle_, fontFamily_);
  lineHeight_ = std::ceil(cachedFont_.ascender() - cachedFont_.descender() + cachedFont_.leading());
  needsFontUpdate_ = false;
}

template <class InputView>
void NodeTextEntry<InputView>::applyFont() {
  updateFontIfNeeded();
  this->setFont(cachedFont_);
  applyPlaceholder();
}

template <class InputView>
void NodeTextEntry<InputView>::applyPlaceholder() {
  if (placeholderText_.empty()) {
    InputView::setPlaceholder("");
    return;
  }
  updateFontIfNeeded();
  InputView::setPlaceholder(placeholderText_, placeholderTint_.value_or(kDefaultPlaceholderTint));
}

template <class InputView>
uint64_t NodeTextEntry<InputView>::measure(float width, uint8_t widthMode, float height,
                                           uint8_t heightMode) {
  updateFontIfNeeded();
  const auto lineBased = static_cast<float>(lineHeight_ * lines_ + kVerticalPadding);
  return packMeasuredSize(sizeInMode(kDefaultWidth, width, widthMode),
                          sizeInMode(lineBased, height, heightMode));
}

template <class InputView>
void NodeTextEntry<InputView>::updateNode(const std::string& key, const ScriptValue& value) {
  if (key != "value") return;
  // One more turn keeps the order of the updates of one turn; the node may die meanwhile.
  std::weak_ptr<toolkit::View> weak = this->weak_from_this();
  dispatch::post([weak, text = textOf(value)] {
    const std::shared_ptr<toolkit::View> view = weak.lock();
    auto* node = dynamic_cast<NodeTextEntry*>(view.get());
    // The same text is left alone, so that the caret does not move.
    if (!node || node->string() == text) return;
    node->setString(text);
    node->setNeedsDisplay();
  });
}

template <class InputView>
void NodeTextEntry<InputView>::debugType(const std::string& text) {
  this->setString(text);
  callListeners("cl", {NativeValue(text)});
}

template <class InputView>
void NodeTextEntry<InputView>::fontFieldChanged() {
  needsFontUpdate_ = true;
  applyFont();
}

template <class InputView>
void NodeTextEntry<InputView>::setFontSize(float size) {
  fontSize_ = size;
  fontFieldChanged();
}

template <class InputView>
void NodeTextEntry<InputView>::setFontWeight(int weight) {
  fontWeight_ = weight;
  fontFieldChanged();
}

template <class InputView>
void NodeTextEntry<InputView>::setFontFamily(std::optional<std::string> family) {
  fontFamily_ = std::move(family);
  fontFieldChanged();
}

template <class InputView>
void NodeTextEntry<InputView>::setFontStyle(uint8_t style) {
  fontStyle_ = style;
  fontFieldChanged();
}

template <class InputView>
void NodeTextEntry<InputView>::reloadFont() {
  fontFieldChanged();
}

template <class InputView>
void NodeTextEntry<InputView>::setColor(toolkit::Color color) {
  this->setTextColor(color);
}

template <class InputView>
void NodeTextEntry<InputView>::setTextAlign(toolkit::TextAlignment alignment) {
  this->setAlignment(alignment);
}

template <class InputView>
void NodeTextEntry<InputView>::setPlaceholder(const std::string& text) {
  placeholderText_ = text;
  applyPlaceholder();
}

template <class InputView>
void NodeTextEntry<InputView>::setPlaceholderColor(toolkit::Color color) {
  placeholderTint_ = color;
  applyPlaceholder();
}

template class NodeTextEntry<toolkit::TextField>;
template class NodeTextEntry<toolkit::TextView>;

NodeInput::NodeInput(const std::string&, YGNodeRef nodePtr, ScriptValue script,
                     CreatorUIStore& store)
    : NodeTextEntry(nodePtr, std::move(script), store, 1) {}

void NodeInput::setInputType(const std::string& type) {
  const bool secure = type == "password";
  if (secure == isSecure_) return;
  isSecure_ = secure;
  setSecure(secure);
  applyPlaceholder();
  setNeedsDisplay();
}

NodeTextArea::NodeTextArea(const std::string&, YGNodeRef nodePtr, ScriptValue script,
                           CreatorUIStore& store)
    : NodeTextEntry(nodePtr, std::move(script), store, 4) {}

}  // namespace talvero
