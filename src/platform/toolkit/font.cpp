#include "platform/toolkit/font.h"

#include <gtk/gtk.h>
#include <pango/pangocairo.h>

#include <algorithm>
#include <sstream>

namespace talvero::toolkit {

namespace {

// One context for questions about fonts; sizes are absolute, so its resolution does not matter.
PangoContext* fontContext() {
  static PangoContext* context = pango_font_map_create_context(pango_cairo_font_map_get_default());
  return context;
}

std::string systemFamily() {
  std::string family = "Sans";
  GtkSettings* settings = gtk_settings_get_default();
  if (!settings) return family;
  char* name = nullptr;
  g_object_get(settings, "gtk-font-name", &name, nullptr);
  if (name) {
    PangoFontDescription* description = pango_font_description_from_string(name);
    if (const char* found = pango_font_description_get_family(description); found && *found)
      family = found;
    pango_font_description_free(description);
    g_free(name);
  }
  return family;
}

struct Metrics {
  double ascender = 0;
  double descender = 0;
  double leading = 0;
};

Metrics metricsOf(const Font& font) {
  auto* description = static_cast<PangoFontDescription*>(font.newPangoDescription());
  PangoFontMetrics* metrics =
      pango_context_get_metrics(fontContext(), description, pango_language_get_default());
  pango_font_description_free(description);
  Metrics result;
  const double ascent = pango_font_metrics_get_ascent(metrics) / double(PANGO_SCALE);
  const double descent = pango_font_metrics_get_descent(metrics) / double(PANGO_SCALE);
  const double height = pango_font_metrics_get_height(metrics) / double(PANGO_SCALE);
  pango_font_metrics_unref(metrics);
  result.ascender = ascent;
  result.descender = -descent;
  result.leading = std::max(0.0, height - ascent - descent);
  return result;
}

}  // namespace

Font::Font(std::string family, double size, int weight, bool italic)
    : family_(std::move(family)),
      size_(std::max(size, 0.0)),
      weight_(std::clamp(weight, 100, 900)),
      italic_(italic) {}

Font Font::system(double size, int weight) {
  return Font(systemFamily(), size, weight);
}

std::optional<Font> Font::named(const std::string& family, double size) {
  PangoFontFamily** families = nullptr;
  int count = 0;
  pango_font_map_list_families(pango_cairo_font_map_get_default(), &families, &count);
  std::optional<Font> found;
  for (int i = 0; i < count && !found; ++i) {
    const char* name = pango_font_family_get_name(families[i]);
    if (g_ascii_strcasecmp(name, family.c_str()) == 0) found = Font(name, size);
  }
  g_free(families);
  return found;
}

Font Font::withTrait(FontTrait trait) const {
  Font font = *this;
  if (trait == FontTrait::Bold) font.weight_ = std::max(weight_, 700);
  if (trait == FontTrait::Italic) font.italic_ = true;
  return font;
}

Font Font::withSize(double size) const {
  return Font(family_, size, weight_, italic_);
}

double Font::ascender() const {
  return metricsOf(*this).ascender;
}

double Font::descender() const {
  return metricsOf(*this).descender;
}

double Font::leading() const {
  return metricsOf(*this).leading;
}

std::string Font::faceName() const {
  auto* description = static_cast<PangoFontDescription*>(newPangoDescription());
  PangoFont* font = pango_context_load_font(fontContext(), description);
  pango_font_description_free(description);
  if (!font) return {};
  std::string name;
  if (PangoFontFace* face = pango_font_get_face(font)) {
    PangoFontFamily* family = pango_font_face_get_family(face);
    name = std::string(family ? pango_font_family_get_name(family) : "") + " " +
           pango_font_face_get_face_name(face);
  }
  g_object_unref(font);
  return name;
}

void* Font::newPangoDescription() const {
  PangoFontDescription* description = pango_font_description_new();
  pango_font_description_set_family(description, family_.c_str());
  pango_font_description_set_absolute_size(description, size_ * PANGO_SCALE);
  pango_font_description_set_weight(description, static_cast<PangoWeight>(weight_));
  pango_font_description_set_style(description, italic_ ? PANGO_STYLE_ITALIC : PANGO_STYLE_NORMAL);
  return description;
}

std::string Font::cssDeclarations() const {
  std::ostringstream css;
  css.imbue(std::locale::classic());
  std::string family;
  for (char c : family_) {
    if (c == '"' || c == '\\') family += '\\';
    family += c;
  }
  css << "font-family: \"" << family << "\"; font-size: " << size_ << "px; font-weight: " << weight_
      << "; font-style: " << (italic_ ? "italic" : "normal") << ";";
  return css.str();
}

}  // namespace talvero::toolkit
