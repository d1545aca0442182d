#include "platform/toolkit/text_field.h"

#include <gtk/gtk.h>

#include <algorithm>

#include "platform/toolkit/draw_context.h"

namespace talvero::toolkit {

namespace {

GtkText* asText(void* text) {
  return GTK_TEXT(text);
}

}  // namespace

TextField::TextField() : TextInput(gtk_text_new(), "text-field") {
  g_signal_connect_swapped(input_, "changed",
                           G_CALLBACK(+[](TextField* self) { self->textChanged(); }), this);
  g_signal_connect_swapped(input_, "activate", G_CALLBACK(+[](TextField* self) {
                             if (self->onSubmit_) self->onSubmit_();
                           }),
                           this);
  updateStyle();
}

TextField::~TextField() = default;

std::string TextField::extraRules(const std::string& selector) const {
  return selector + " > placeholder { color: " + cssColor(placeholderColor()) + "; }\n";
}

std::string TextField::string() const {
  return gtk_editable_get_text(GTK_EDITABLE(input_));
}

void TextField::setString(const std::string& text) {
  if (text == string()) return;
  settingText_ = true;
  gtk_editable_set_text(GTK_EDITABLE(input_), text.c_str());
  gtk_editable_set_position(GTK_EDITABLE(input_), -1);
  settingText_ = false;
}

void TextField::setAlignment(TextAlignment alignment) {
  float xalign = 0;
  if (alignment == TextAlignment::Center) xalign = 0.5f;
  if (alignment == TextAlignment::Right) xalign = 1;
  gtk_editable_set_alignment(GTK_EDITABLE(input_), xalign);
}

TextAlignment TextField::alignment() const {
  const float xalign = gtk_editable_get_alignment(GTK_EDITABLE(input_));
  if (xalign == 0.5f) return TextAlignment::Center;
  return xalign == 1 ? TextAlignment::Right : TextAlignment::Left;
}

void TextField::setPlaceholder(const std::string& text, std::optional<Color> color) {
  gtk_text_set_placeholder_text(asText(input_), text.empty() ? nullptr : text.c_str());
  placeholderColor_ = color;
  updateStyle();
}

std::string TextField::placeholder() const {
  const char* text = gtk_text_get_placeholder_text(asText(input_));
  return text ? text : "";
}

void TextField::setEditable(bool editable) {
  gtk_editable_set_editable(GTK_EDITABLE(input_), editable);
}

bool TextField::isEditable() const {
  return gtk_editable_get_editable(GTK_EDITABLE(input_));
}

void TextField::setSecure(bool secure) {
  gtk_text_set_visibility(asText(input_), !secure);
  gtk_text_set_input_purpose(asText(input_),
                             secure ? GTK_INPUT_PURPOSE_PASSWORD : GTK_INPUT_PURPOSE_FREE_FORM);
}

bool TextField::isSecure() const {
  return !gtk_text_get_visibility(asText(input_));
}

void TextField::insertAtCursor(const std::string& text) {
  GtkEditable* editable = GTK_EDITABLE(input_);
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
  gtk_text_compute_cursor_extents(asText(input_), index, &strong, nullptr);
  return Rect{{strong.origin.x, strong.origin.y}, {strong.size.width, strong.size.height}};
}

void TextField::setOnSubmit(std::function<void()> callback) {
  onSubmit_ = std::move(callback);
}

// On screen the platform's field draws itself; offscreen the line is drawn here as the field
// shows it: centred vertically unless it is higher than the field, hidden characters as the
// field's bullets, and a line wider than the field showing its end, where the caret is.
void TextField::drawContent(DrawContext& context) {
  if (drawsItself()) return;
  std::string shown = string();
  const bool placeholder = shown.empty();
  if (placeholder) {
    shown = this->placeholder();
    if (shown.empty()) return;
  } else if (isSecure()) {
    const gunichar bullet = gtk_text_get_invisible_char(asText(input_));
    char utf8[6];
    const std::string one(utf8, static_cast<size_t>(g_unichar_to_utf8(bullet, utf8)));
    const auto count = static_cast<size_t>(g_utf8_strlen(shown.c_str(), -1));
    shown.clear();
    for (size_t i = 0; i < count; ++i) shown += one;
  }
  auto* layout = static_cast<PangoLayout*>(newLayout(shown));
  int width = 0, height = 0;
  pango_layout_get_pixel_size(layout, &width, &height);
  const double spare = bounds().width() - width;
  const double xalign = spare < 0 ? 1 : gtk_editable_get_alignment(GTK_EDITABLE(input_));
  const Point origin{spare * xalign, std::max(0.0, (bounds().height() - height) / 2)};
  context.appendLayout(layout, placeholder ? placeholderColor() : textColor(), bounds(), origin);
  g_object_unref(layout);
}

}  // namespace talvero::toolkit
