#include "platform/graphics/text_line.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "platform/graphics/cairo_glue.h"

namespace talvero::graphics {
namespace {

// One context for all text, with hinting off and unrounded positions: a line then measures
// the same as it draws whatever the scale of the bitmap it lands in.
PangoContext* sharedContext() {
  static PangoContext* context = [] {
    PangoFontMap* fontMap = pango_cairo_font_map_new();
    PangoContext* made = pango_font_map_create_context(fontMap);
    g_object_unref(fontMap);
    cairo_font_options_t* options = cairo_font_options_create();
    cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
    cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_NONE);
    pango_cairo_context_set_font_options(made, options);
    cairo_font_options_destroy(options);
    pango_context_set_round_glyph_positions(made, FALSE);
    return made;
  }();
  return context;
}

PangoFontDescription* describe(const FontDescription& font) {
  PangoFontDescription* description = pango_font_description_new();
  pango_font_description_set_family(description,
                                    font.family.empty() ? "sans-serif" : font.family.c_str());
  pango_font_description_set_weight(description,
                                    static_cast<PangoWeight>(std::clamp(font.weight, 100, 1000)));
  pango_font_description_set_style(description,
                                   font.italic ? PANGO_STYLE_ITALIC : PANGO_STYLE_NORMAL);
  const double size = std::isfinite(font.sizePx) ? std::clamp(font.sizePx, 0.0, 10000.0) : 16.0;
  pango_font_description_set_absolute_size(description, size * PANGO_SCALE);
  return description;
}

}  // namespace

TextLine::TextLine(std::string_view text, const FontDescription& font) {
  PangoContext* context = sharedContext();
  gchar* valid =
      g_utf8_make_valid(text.empty() ? "" : text.data(), static_cast<gssize>(text.size()));
  for (gchar* c = valid; *c; ++c) {
    if (*c == '\n' || *c == '\r') *c = ' ';
  }
  PangoFontDescription* description = describe(font);

  PangoLayout* layout = pango_layout_new(context);
  pango_layout_set_font_description(layout, description);
  pango_layout_set_single_paragraph_mode(layout, TRUE);
  pango_layout_set_text(layout, valid, -1);
  g_free(valid);
  layout_ = std::make_unique<Layout>(layout);

  PangoRectangle logical;
  pango_layout_line_get_extents(layout_->line(), nullptr, &logical);
  width_ = pango_units_to_double(logical.width);

  PangoFontMetrics* metrics = pango_context_get_metrics(context, description, nullptr);
  ascent_ = pango_units_to_double(pango_font_metrics_get_ascent(metrics));
  descent_ = pango_units_to_double(pango_font_metrics_get_descent(metrics));
  pango_font_metrics_unref(metrics);
  pango_font_description_free(description);
}

TextLine::~TextLine() = default;

}  // namespace talvero::graphics
