#include "platform/toolkit/text_field.h"

#include <gtk/gtk.h>

#include <algorithm>
#include <cmath>
#include <sstream>

namespace talvero::toolkit {

namespace {

std::string cssColor(const Color& color) {
  std::ostringstream css;
  css.imbue(std::locale::classic());
  auto byte = [](double v) { return std::lround(std::clamp(v, 0.0, 1.0) * 255); };
  css << "rgba(" << byte(color.red) << "," << byte(color.green) << "," << byte(color.blue) << ","
      << std::clamp(color.alpha, 0.0, 1.0) << ")";
  return css.str();
}

GtkText* asText(void* text) {
  return GTK_TEXT(text);
}

}  // namespace

TextField::TextField() : font_(Font::system(14)) {
  static int count = 0;
  styleClass_ = "talvero-text-field-" + std::to_string(++count);
  GtkWidget* text = gtk_text_new();
  text_ = g_object_ref_sink(text);
  gtk_widget_add_css_class(text, styleClass_.c_str());
  // Rules for the placeholder, a child of the text widget, need a provider on the display; the
  // class keeps them to this field.
  GtkCssProvider* provider = gtk_css_provider_new();
  provider_ = provider;
  if (GdkDisplay* display = gtk_widget_get_display(text)) {
    gtk_style_context_add_provider_for_display(display, GTK_STYLE_PROVIDER(provider),
                                               GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
  }
  g_signal_connect_swapped(text, "changed", G_CALLBACK(+[](TextField* self) {
                             if (!self->settingText_ && self->onTextChange_)
                               self->onTextChange_(self->string());
                           }),
                           this);
  g_signal_connect_swapped(text, "activate", G_CALLBACK(+[](TextField* self) {
                             if (self->onSubmit_) self->onSubmit_();
                           }),
                           this);
  GtkEventController* focus = gtk_event_controller_focus_new();
  g_signal_connect_swapped(focus, "enter", G_CALLBACK(+[](TextField* self) {
                             if (self->onFocus_) self->onFocus_();
                           }),
                           this);
  g_signal_connect_swapped(focus, "leave", G_CALLBACK(+[](TextField* self) {
                             if (self->onBlur_) self->onBlur_();
                           }),
                           this);
  gtk_widget_add_controller(text, focus);
  focusController_ = focus;
  updateStyle();
  setNativeContent(text);
}

TextField::~TextField() {
  GtkWidget* text = GTK_WIDGET(text_);
  g_signal_handlers_disconnect_by_data(text, this);
  g_signal_handlers_disconnect_by_data(focusController_, this);
  setNativeContent(nullptr);
  if (GdkDisplay* display = gtk_widget_get_display(text)) {
    gtk_style_context_remove_provider_for_display(display, GTK_STYLE_PROVIDER(provider_));
  }
  g_object_unref(provider_);
  g_object_unref(text);
}

void TextField::updateStyle() {
  const Color placeholder = placeholderColor_.value_or(
      Color{textColor_.red, textColor_.green, textColor_.blue, textColor_.alpha * 0.4});
  const std::string selector = "." + styleClass_;
  const std::string css = selector + " { " + font_.cssDeclarations() +
                          " color: " + cssColor(textColor_) +
                          "; caret-color: " + cssColor(textColor_) + "; background: none; }\n" +
                          selector + " > placeholder { color: " + cssColor(placeholder) + "; }\n";
  gtk_css_provider_load_from_data(GTK_CSS_PROVIDER(provider_), css.c_str(),
                                  static_cast<gssize>(css.size()));
}

std::string TextField::string() const {
  return gtk_editable_get_text(GTK_EDITABLE(text_));
}

void TextField::setString(const std::string& text) {
  if (text == string()) return;
  settingText_ = true;
  gtk_editable_set_text(GTK_EDITABLE(text_), text.c_str());
  gtk_editable_set_position(GTK_EDITABLE(text_), -1);
  settingText_ = false;
}

void TextField::setFont(const Font& font) {
  font_ = font;
  updateStyle();
}

void TextField::setTextColor(Color color) {
  textColor_ = color;
  updateStyle();
}

void TextField::setAlignment(TextAlignment alignment) {
  float xalign = 0;
  if (alignment == TextAlignment::Center) xalign = 0.5f;
  if (alignment == TextAlignment::Right) xalign = 1;
  gtk_editable_set_alignment(GTK_EDITABLE(text_), xalign);
}

void TextField::setPlaceholder(const std::string& text, std::optional<Color> color) {
  gtk_text_set_placeholder_text(asText(text_), text.empty() ? nullptr : text.c_str());
  placeholderColor_ = color;
  updateStyle();
}

void TextField::setEditable(bool editable) {
  gtk_editable_set_editable(GTK_EDITABLE(text_), editable);
}

bool TextField::isEditable() const {
  return gtk_editable_get_editable(GTK_EDITABLE(text_));
}

void TextField::setSecure(bool secure) {
  gtk_text_set_visibility(asText(text_), !secure);
  gtk_text_set_input_purpose(asText(text_),
                             secure ? GTK_INPUT_PURPOSE_PASSWORD : GTK_INPUT_PURPOSE_FREE_FORM);
}

bool TextField::isSecure() const {
  return !gtk_text_get_visibility(asText(text_));
}

void TextField::focus() {
  gtk_widget_grab_focus(GTK_WIDGET(text_));
}

void TextField::unfocus() {
  GtkWidget* text = GTK_WIDGET(text_);
  GtkRoot* root = gtk_widget_get_root(text);
  if (root && gtk_widget_has_focus(text)) gtk_root_set_focus(root, nullptr);
}

bool TextField::hasFocus() const {
  return gtk_widget_has_focus(GTK_WIDGET(text_));
}

void TextField::insertAtCursor(const std::string& text) {
  GtkEditable* editable = GTK_EDITABLE(text_);
  if (!gtk_editable_get_editable(editable) || text.empty()) return;
  int start = 0, end = 0;
  if (gtk_editable_get_selection_bounds(editable, &start, &end)) {
    gtk_editable_delete_selection(editable);
  }
  int position = gtk_editable_get_position(editable);
  gtk_editable_insert_text(editable, text.c_str(), static_cast<int>(text.size()), &position);
  gtk_editable_set_position(editable, position);
}

Rect TextField::caretRect(size_t index) const {
  graphene_rect_t strong;
  gtk_text_compute_cursor_extents(asText(text_), index, &strong, nullptr);
  return Rect{{strong.origin.x, strong.origin.y}, {strong.size.width, strong.size.height}};
}

void TextField::setOnTextChange(std::function<void(const std::string&)> callback) {
  onTextChange_ = std::move(callback);
}

void TextField::setOnFocus(std::function<void()> callback) {
  onFocus_ = std::move(callback);
}

void TextField::setOnBlur(std::function<void()> callback) {
  onBlur_ = std::move(callback);
}

void TextField::setOnSubmit(std::function<void()> callback) {
  onSubmit_ = std::move(callback);
}

}  // namespace talvero::toolkit
