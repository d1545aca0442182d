#include "platform/toolkit/label.h"

#include <gtk/gtk.h>

#include <algorithm>
#include <cmath>

#include "platform/toolkit/draw_context.h"

namespace talvero::toolkit {

namespace {

PangoAttribute* spanning(PangoAttribute* attribute, size_t start, size_t end) {
  attribute->start_index = static_cast<guint>(start);
  attribute->end_index = static_cast<guint>(end);
  return attribute;
}

guint16 channel(double value) {
  return static_cast<guint16>(std::lround(std::clamp(value, 0.0, 1.0) * 65535));
}

void addColor(PangoAttrList* list, const Color& color, size_t start, size_t end) {
  pango_attr_list_insert(
      list, spanning(pango_attr_foreground_new(channel(color.red), channel(color.green),
                                               channel(color.blue)),
                     start, end));
  pango_attr_list_insert(
      list, spanning(pango_attr_foreground_alpha_new(channel(color.alpha)), start, end));
}

// Every run gets an explicit colour, so drawing needs no default.
PangoAttrList* attributesOf(const AttributedString& text, const Color& defaultColor) {
  PangoAttrList* list = pango_attr_list_new();
  size_t start = 0;
  for (const TextRun& run : text.runs) {
    const size_t end = start + run.text.size();
    if (end == start) continue;
    addColor(list, run.color.value_or(defaultColor), start, end);
    if (run.font) {
      auto* description = static_cast<PangoFontDescription*>(run.font->newPangoDescription());
      pango_attr_list_insert(list, spanning(pango_attr_font_desc_new(description), start, end));
      pango_font_description_free(description);
    }
    if (run.letterSpacing != 0) {
      pango_attr_list_insert(list, spanning(pango_attr_letter_spacing_new(static_cast<int>(
                                                std::lround(run.letterSpacing * PANGO_SCALE))),
                                            start, end));
    }
    if (run.underline) {
      pango_attr_list_insert(
          list, spanning(pango_attr_underline_new(PANGO_UNDERLINE_SINGLE), start, end));
    }
    if (run.strikethrough) {
      pango_attr_list_insert(list, spanning(pango_attr_strikethrough_new(TRUE), start, end));
    }
    start = end;
  }
  return list;
}

}  // namespace

std::string AttributedString::string() const {
  std::string text;
  for (const TextRun& run : runs) text += run.text;
  return text;
}

Label::Label() : font_(Font::system(14)) {}

void Label::setFont(const Font& font) {
  if (font == font_) return;
  font_ = font;
  forgetMeasurements();
  setNeedsDisplay();
}

void Label::setString(const std::string& text) {
  if (text_.runs.size() == 1 && text_.runs[0] == TextRun(text)) return;
  text_.runs.assign(1, TextRun(text));
  forgetMeasurements();
  setNeedsDisplay();
}

void Label::setAttributedString(AttributedString text) {
  if (text == text_) return;
  text_ = std::move(text);
  forgetMeasurements();
  setNeedsDisplay();
}

void Label::setTextColor(Color color) {
  textColor_ = color;
  setNeedsDisplay();
}

void Label::setAlignment(TextAlignment alignment) {
  if (alignment == alignment_) return;
  alignment_ = alignment;
  forgetMeasurements();
  setNeedsDisplay();
}

void Label::setPlaceholder(AttributedString placeholder) {
  if (placeholder == placeholder_) return;
  placeholder_ = std::move(placeholder);
  forgetMeasurements();
  setNeedsDisplay();
}

// Measuring happens for thousands of labels before most of them are drawn, and a widget's own
// Pango context is made at its first use; one context made from the same display settings
// serves every measurement instead.
static PangoContext* measuringContext(GtkWidget* anyWidget) {
  static PangoContext* context = gtk_widget_create_pango_context(anyWidget);
  return context;
}

void* Label::newLayout(double width, bool forMeasuring) const {
  auto* widget = static_cast<GtkWidget*>(nativeWidget());
  PangoContext* context =
      forMeasuring ? measuringContext(widget) : gtk_widget_get_pango_context(widget);
  PangoLayout* layout = pango_layout_new(context);
  auto* description = static_cast<PangoFontDescription*>(font_.newPangoDescription());
  pango_layout_set_font_description(layout, description);
  pango_font_description_free(description);

  const bool showsPlaceholder = text_.empty();
  const AttributedString& shown = showsPlaceholder ? placeholder_ : text_;
  Color defaultColor = textColor_;
  if (showsPlaceholder) defaultColor.alpha *= 0.4;
  const std::string text = shown.string();
  pango_layout_set_text(layout, text.c_str(), static_cast<int>(text.size()));
  PangoAttrList* attributes = attributesOf(shown, defaultColor);
  pango_layout_set_attributes(layout, attributes);
  pango_attr_list_unref(attributes);

  if (std::isfinite(width)) {
    pango_layout_set_width(layout, static_cast<int>(std::max(width, 0.0) * PANGO_SCALE));
    pango_layout_set_wrap(layout, PANGO_WRAP_WORD_CHAR);
  }
  // Pango swaps left and right in right-to-left paragraphs only when it picks the direction.
  pango_layout_set_auto_dir(layout, alignment_ == TextAlignment::Natural);
  switch (alignment_) {
    case TextAlignment::Left:
    case TextAlignment::Natural:
      pango_layout_set_alignment(layout, PANGO_ALIGN_LEFT);
      break;
    case TextAlignment::Center:
      pango_layout_set_alignment(layout, PANGO_ALIGN_CENTER);
      break;
    case TextAlignment::Right:
      pango_layout_set_alignment(layout, PANGO_ALIGN_RIGHT);
      break;
    case TextAlignment::Justified:
      pango_layout_set_alignment(layout, PANGO_ALIGN_LEFT);
      pango_layout_set_justify(layout, TRUE);
      break;
  }
  return layout;
}

Size Label::sizeThatFits(double width) const {
  if (!std::isfinite(width)) width = INFINITY;
  for (const Measurement& known : measured_) {
    if (known.width == width) return known.size;
  }
  auto* layout = static_cast<PangoLayout*>(newLayout(width, true));
  PangoRectangle ink, logical;
  pango_layout_get_extents(layout, &ink, &logical);
  g_object_unref(layout);
  // Lines are as wide as their text; alignment only moves them within the wrapping width.
  const Size size{std::ceil(static_cast<double>(logical.width) / PANGO_SCALE),
                  std::ceil(static_cast<double>(logical.height) / PANGO_SCALE)};
  measured_[1] = measured_[0];
  measured_[0] = Measurement{width, size};
  return size;
}

void Label::drawContent(DrawContext& context) {
  if (text_.empty() && placeholder_.empty()) return;
  auto* layout = static_cast<PangoLayout*>(newLayout(bounds().width(), false));
  context.appendLayout(layout, textColor_, bounds());
  g_object_unref(layout);
}

}  // namespace talvero::toolkit
