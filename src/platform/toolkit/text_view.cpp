#include "platform/toolkit/text_view.h"

#include <gtk/gtk.h>

#include <algorithm>
#include <cmath>
#include <sstream>

#include "platform/toolkit/draw_context.h"

namespace talvero::toolkit {

namespace {

// Space between the view's edges and the text.
constexpr int kInsetAcross = 2;
constexpr int kInsetDown = 6;

GtkTextBuffer* bufferOf(void* textView) {
  return gtk_text_view_get_buffer(GTK_TEXT_VIEW(textView));
}

}  // namespace

TextView::TextView() : TextInput(gtk_text_view_new(), "text-view") {
  GtkTextView* textView = GTK_TEXT_VIEW(input_);
  gtk_text_view_set_wrap_mode(textView, GTK_WRAP_WORD_CHAR);
  gtk_text_view_set_left_margin(textView, kInsetAcross);
  gtk_text_view_set_right_margin(textView, kInsetAcross);
  gtk_text_view_set_top_margin(textView, kInsetDown);
  gtk_text_view_set_bottom_margin(textView, kInsetDown);
  g_signal_connect_swapped(bufferOf(input_), "changed",
                           G_CALLBACK(+[](TextView* self) { self->textChanged(); }), this);
  updateStyle();
}

TextView::~TextView() {
  g_signal_handlers_disconnect_by_data(bufferOf(input_), this);
}

// The text node inside the view paints the background: the rule reaches it too.
std::string TextView::styledSelectors(const std::string& selector) const {
  return selector + ", " + selector + " > text";
}

std::string TextView::string() const {
  GtkTextBuffer* buffer = bufferOf(input_);
  GtkTextIter start, end;
  gtk_text_buffer_get_bounds(buffer, &start, &end);
  char* text = gtk_text_buffer_get_text(buffer, &start, &end, TRUE);
  std::string result = text;
  g_free(text);
  return result;
}

void TextView::setString(const std::string& text) {
  if (text == string()) return;
  settingText_ = true;
  GtkTextBuffer* buffer = bufferOf(input_);
  gtk_text_buffer_set_text(buffer, text.c_str(), static_cast<int>(text.size()));
  GtkTextIter end;
  gtk_text_buffer_get_end_iter(buffer, &end);
  gtk_text_buffer_place_cursor(buffer, &end);
  settingText_ = false;
}

void TextView::setAlignment(TextAlignment alignment) {
  GtkJustification justification = GTK_JUSTIFY_LEFT;
  if (alignment == TextAlignment::Center) justification = GTK_JUSTIFY_CENTER;
  if (alignment == TextAlignment::Right) justification = GTK_JUSTIFY_RIGHT;
  if (alignment == TextAlignment::Justified) justification = GTK_JUSTIFY_FILL;
  gtk_text_view_set_justification(GTK_TEXT_VIEW(input_), justification);
}

TextAlignment TextView::alignment() const {
  switch (gtk_text_view_get_justification(GTK_TEXT_VIEW(input_))) {
    case GTK_JUSTIFY_CENTER:
      return TextAlignment::Center;
    case GTK_JUSTIFY_RIGHT:
      return TextAlignment::Right;
    case GTK_JUSTIFY_FILL:
      return TextAlignment::Justified;
    default:
      return TextAlignment::Left;
  }
}

void TextView::setPlaceholder(const std::string& text, std::optional<Color> color) {
  placeholder_ = text;
  placeholderColor_ = color;
  setNeedsDisplay();
}

bool TextView::showsPlaceholder() const {
  return !placeholder_.empty() && gtk_text_buffer_get_char_count(bufferOf(input_)) == 0 &&
         !hasFocus();
}

void TextView::setEditable(bool editable) {
  gtk_text_view_set_editable(GTK_TEXT_VIEW(input_), editable);
  gtk_text_view_set_cursor_visible(GTK_TEXT_VIEW(input_), editable);
}

bool TextView::isEditable() const {
  return gtk_text_view_get_editable(GTK_TEXT_VIEW(input_));
}

void TextView::insertAtCursor(const std::string& text) {
  if (!isEditable() || text.empty()) return;
  GtkTextBuffer* buffer = bufferOf(input_);
  gtk_text_buffer_begin_user_action(buffer);
  gtk_text_buffer_delete_selection(buffer, TRUE, TRUE);
  gtk_text_buffer_insert_interactive_at_cursor(buffer, text.c_str(), static_cast<int>(text.size()),
                                               TRUE);
  gtk_text_buffer_end_user_action(buffer);
}

Rect TextView::caretRect(size_t index) const {
  GtkTextIter iter;
  gtk_text_buffer_get_iter_at_offset(bufferOf(input_), &iter, static_cast<int>(index));
  GdkRectangle location;
  gtk_text_view_get_iter_location(GTK_TEXT_VIEW(input_), &iter, &location);
  int x = 0, y = 0;
  gtk_text_view_buffer_to_window_coords(GTK_TEXT_VIEW(input_), GTK_TEXT_WINDOW_WIDGET, location.x,
                                        location.y, &x, &y);
  return Rect{{static_cast<double>(x), static_cast<double>(y)},
              {static_cast<double>(location.width), static_cast<double>(location.height)}};
}

// On screen the platform's text view draws the text over this, with no background of its own;
// offscreen the text is drawn here, wrapped and placed as the platform places it.
void TextView::drawContent(DrawContext& context) {
  const bool placeholder = showsPlaceholder();
  if (!placeholder && drawsItself()) return;
  auto* layout = static_cast<PangoLayout*>(newLayout(placeholder ? placeholder_ : string()));
  pango_layout_set_width(
      layout, static_cast<int>(std::max(0.0, bounds().width() - 2 * kInsetAcross) * PANGO_SCALE));
  pango_layout_set_wrap(layout, PANGO_WRAP_WORD_CHAR);
  if (!placeholder) {
    const GtkJustification justification = gtk_text_view_get_justification(GTK_TEXT_VIEW(input_));
    if (justification == GTK_JUSTIFY_CENTER) pango_layout_set_alignment(layout, PANGO_ALIGN_CENTER);
    if (justification == GTK_JUSTIFY_RIGHT) pango_layout_set_alignment(layout, PANGO_ALIGN_RIGHT);
    pango_layout_set_justify(layout, justification == GTK_JUSTIFY_FILL);
  }
  context.appendLayout(layout, placeholder ? placeholderColor() : textColor(), bounds(),
                       Point{kInsetAcross, kInsetDown});
  g_object_unref(layout);
}

}  // namespace talvero::toolkit
