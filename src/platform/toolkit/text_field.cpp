#include "platform/toolkit/text_field.h"

#include <gtk/gtk.h>

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

void TextField::setPlaceholder(const std::string& text, std::optional<Color> color) {
  gtk_text_set_placeholder_text(asText(input_), text.empty() ? nullptr : text.c_str());
  placeholderColor_ = color;
  updateStyle();
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

}  // namespace talvero::toolkit
