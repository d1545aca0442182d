#include "platform/toolkit/text_input.h"

#include <gtk/gtk.h>

#include <algorithm>
#include <cmath>
#include <sstream>

namespace talvero::toolkit {

std::string cssColor(const Color& color) {
  std::ostringstream css;
  css.imbue(std::locale::classic());
  auto byte = [](double v) { return std::lround(std::clamp(v, 0.0, 1.0) * 255); };
  css << "rgba(" << byte(color.red) << "," << byte(color.green) << "," << byte(color.blue) << ","
      << std::clamp(color.alpha, 0.0, 1.0) << ")";
  return css.str();
}

TextInput::TextInput(void* input, const std::string& kind) : font_(Font::system(14)) {
  static int count = 0;
  styleClass_ = "talvero-" + kind + "-" + std::to_string(++count);
  auto* widget = static_cast<GtkWidget*>(input);
  input_ = g_object_ref_sink(widget);
  gtk_widget_add_css_class(widget, styleClass_.c_str());
  // Rules for the widget's inner nodes (placeholder, text) need a provider on the display;
  // the class keeps them to this view.
  GtkCssProvider* provider = gtk_css_provider_new();
  provider_ = provider;
  if (GdkDisplay* display = gtk_widget_get_display(widget)) {
    gtk_style_context_add_provider_for_display(display, GTK_STYLE_PROVIDER(provider),
                                               GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
  }
  GtkEventController* focus = gtk_event_controller_focus_new();
  g_signal_connect_swapped(focus, "enter", G_CALLBACK(+[](TextInput* self) {
                             self->setNeedsDisplay();
                             if (self->onFocus_) self->onFocus_();
                           }),
                           this);
  g_signal_connect_swapped(focus, "leave", G_CALLBACK(+[](TextInput* self) {
                             self->setNeedsDisplay();
                             if (self->onBlur_) self->onBlur_();
                           }),
                           this);
  gtk_widget_add_controller(widget, focus);
  focusController_ = focus;
  setNativeContent(widget);
}

TextInput::~TextInput() {
  auto* widget = static_cast<GtkWidget*>(input_);
  g_signal_handlers_disconnect_by_data(widget, this);
  g_signal_handlers_disconnect_by_data(focusController_, this);
  setNativeContent(nullptr);
  if (GdkDisplay* display = gtk_widget_get_display(widget)) {
    gtk_style_context_remove_provider_for_display(display, GTK_STYLE_PROVIDER(provider_));
  }
  g_object_unref(provider_);
  g_object_unref(widget);
}

void TextInput::updateStyle() {
  const std::string selector = "." + styleClass_;
  const std::string css = styledSelectors(selector) + " { " + font_.cssDeclarations() +
                          " color: " + cssColor(textColor_) +
                          "; caret-color: " + cssColor(textColor_) + "; background: none; }\n" +
                          extraRules(selector);
  gtk_css_provider_load_from_data(GTK_CSS_PROVIDER(provider_), css.c_str(),
                                  static_cast<gssize>(css.size()));
  setNeedsDisplay();
}

void TextInput::textChanged() {
  setNeedsDisplay();
  if (!settingText_ && onTextChange_) onTextChange_(string());
}

Color TextInput::placeholderColor() const {
  return placeholderColor_.value_or(
      Color{textColor_.red, textColor_.green, textColor_.blue, textColor_.alpha * 0.4});
}

bool TextInput::drawsItself() const {
  return gtk_widget_get_mapped(static_cast<GtkWidget*>(input_));
}

void* TextInput::newLayout(const std::string& text) const {
  PangoLayout* layout =
      gtk_widget_create_pango_layout(static_cast<GtkWidget*>(nativeWidget()), text.c_str());
  auto* description = static_cast<PangoFontDescription*>(font_.newPangoDescription());
  pango_layout_set_font_description(layout, description);
  pango_font_description_free(description);
  return layout;
}

void TextInput::setFont(const Font& font) {
  font_ = font;
  updateStyle();
}

void TextInput::setTextColor(Color color) {
  textColor_ = color;
  updateStyle();
}

void TextInput::focus() {
  gtk_widget_grab_focus(static_cast<GtkWidget*>(input_));
}

void TextInput::unfocus() {
  auto* widget = static_cast<GtkWidget*>(input_);
  GtkRoot* root = gtk_widget_get_root(widget);
  if (root && gtk_widget_has_focus(widget)) gtk_root_set_focus(root, nullptr);
}

bool TextInput::hasFocus() const {
  return gtk_widget_has_focus(static_cast<GtkWidget*>(input_));
}

void TextInput::setOnTextChange(std::function<void(const std::string&)> callback) {
  onTextChange_ = std::move(callback);
}

void TextInput::setOnFocus(std::function<void()> callback) {
  onFocus_ = std::move(callback);
}

void TextInput::setOnBlur(std::function<void()> callback) {
  onBlur_ = std::move(callback);
}

}  // namespace talvero::toolkit
