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

std::string cssColor(const Color& color) {
  std::ostringstream css;
  css.imbue(std::locale::classic());
  auto byte = [](double v) { return std::lround(std::clamp(v, 0.0, 1.0) * 255); };
  css << "rgba(" << byte(color.red) << "," << byte(color.green) << "," << byte(color.blue) << ","
      << std::clamp(color.alpha, 0.0, 1.0) << ")";
  return css.str();
}

GtkTextBuffer* bufferOf(void* textView) {
  return gtk_text_view_get_buffer(GTK_TEXT_VIEW(textView));
}

}  // namespace

TextView::TextView() : font_(Font::system(14)) {
  static int count = 0;
  styleClass_ = "talvero-text-view-" + std::to_string(++count);
  GtkWidget* textView = gtk_text_view_new();
  textView_ = g_object_ref_sink(textView);
  gtk_widget_add_css_class(textView, styleClass_.c_str());
  gtk_text_view_set_wrap_mode(GTK_TEXT_VIEW(textView), GTK_WRAP_WORD_CHAR);
  gtk_text_view_set_left_margin(GTK_TEXT_VIEW(textView), kInsetAcross);
  gtk_text_view_set_right_margin(GTK_TEXT_VIEW(textView), kInsetAcross);
  gtk_text_view_set_top_margin(GTK_TEXT_VIEW(textView), kInsetDown);
  gtk_text_view_set_bottom_margin(GTK_TEXT_VIEW(textView), kInsetDown);
  // The text node inside the view paints the background: a rule on the display reaches it.
  GtkCssProvider* provider = gtk_css_provider_new();
  provider_ = provider;
  if (GdkDisplay* display = gtk_widget_get_display(textView)) {
    gtk_style_context_add_provider_for_display(display, GTK_STYLE_PROVIDER(provider),
                                               GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
  }
  g_signal_connect_swapped(bufferOf(textView_), "changed", G_CALLBACK(+[](TextView* self) {
                             self->setNeedsDisplay();
                             if (!self->settingText_ && self->onTextChange_)
                               self->onTextChange_(self->string());
                           }),
                           this);
  GtkEventController* focus = gtk_event_controller_focus_new();
  g_signal_connect_swapped(focus, "enter", G_CALLBACK(+[](TextView* self) {
                             self->setNeedsDisplay();
                             if (self->onFocus_) self->onFocus_();
                           }),
                           this);
  g_signal_connect_swapped(focus, "leave", G_CALLBACK(+[](TextView* self) {
                             self->setNeedsDisplay();
                             if (self->onBlur_) self->onBlur_();
                           }),
                           this);
  gtk_widget_add_controller(textView, focus);
  focusController_ = focus;
  updateStyle();
  setNativeContent(textView);
}

TextView::~TextView() {
  GtkWidget* textView = GTK_WIDGET(textView_);
  g_signal_handlers_disconnect_by_data(bufferOf(textView_), this);
  g_signal_handlers_disconnect_by_data(focusController_, this);
  setNativeContent(nullptr);
  if (GdkDisplay* display = gtk_widget_get_display(textView)) {
    gtk_style_context_remove_provider_for_display(display, GTK_STYLE_PROVIDER(provider_));
  }
  g_object_unref(provider_);
  g_object_unref(textView);
}

void TextView::updateStyle() {
  const std::string selector = "." + styleClass_;
  const std::string css = selector + ", " + selector + " > text { " + font_.cssDeclarations() +
                          " color: " + cssColor(textColor_) +
                          "; caret-color: " + cssColor(textColor_) + "; background: none; }\n";
  gtk_css_provider_load_from_data(GTK_CSS_PROVIDER(provider_), css.c_str(),
                                  static_cast<gssize>(css.size()));
  setNeedsDisplay();
}

std::string TextView::string() const {
  GtkTextBuffer* buffer = bufferOf(textView_);
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
  GtkTextBuffer* buffer = bufferOf(textView_);
  gtk_text_buffer_set_text(buffer, text.c_str(), static_cast<int>(text.size()));
  GtkTextIter end;
  gtk_text_buffer_get_end_iter(buffer, &end);
  gtk_text_buffer_place_cursor(buffer, &end);
  settingText_ = false;
}

void TextView::setFont(const Font& font) {
  font_ = font;
  updateStyle();
}

void TextView::setTextColor(Color color) {
  textColor_ = color;
  updateStyle();
}

void TextView::setAlignment(TextAlignment alignment) {
  GtkJustification justification = GTK_JUSTIFY_LEFT;
  if (alignment == TextAlignment::Center) justification = GTK_JUSTIFY_CENTER;
  if (alignment == TextAlignment::Right) justification = GTK_JUSTIFY_RIGHT;
  if (alignment == TextAlignment::Justified) justification = GTK_JUSTIFY_FILL;
  gtk_text_view_set_justification(GTK_TEXT_VIEW(textView_), justification);
}

void TextView::setPlaceholder(const std::string& text, std::optional<Color> color) {
  placeholder_ = text;
  placeholderColor_ = color;
  setNeedsDisplay();
}

bool TextView::showsPlaceholder() const {
  return !placeholder_.empty() && gtk_text_buffer_get_char_count(bufferOf(textView_)) == 0 &&
         !hasFocus();
}

void TextView::setEditable(bool editable) {
  gtk_text_view_set_editable(GTK_TEXT_VIEW(textView_), editable);
  gtk_text_view_set_cursor_visible(GTK_TEXT_VIEW(textView_), editable);
}

bool TextView::isEditable() const {
  return gtk_text_view_get_editable(GTK_TEXT_VIEW(textView_));
}

void TextView::focus() {
  gtk_widget_grab_focus(GTK_WIDGET(textView_));
}

void TextView::unfocus() {
  GtkWidget* textView = GTK_WIDGET(textView_);
  GtkRoot* root = gtk_widget_get_root(textView);
  if (root && gtk_widget_has_focus(textView)) gtk_root_set_focus(root, nullptr);
}

bool TextView::hasFocus() const {
  return gtk_widget_has_focus(GTK_WIDGET(textView_));
}

void TextView::insertAtCursor(const std::string& text) {
  if (!isEditable() || text.empty()) return;
  GtkTextBuffer* buffer = bufferOf(textView_);
  gtk_text_buffer_begin_user_action(buffer);
  gtk_text_buffer_delete_selection(buffer, TRUE, TRUE);
  gtk_text_buffer_insert_interactive_at_cursor(buffer, text.c_str(), static_cast<int>(text.size()),
                                               TRUE);
  gtk_text_buffer_end_user_action(buffer);
}

Rect TextView::caretRect(size_t index) const {
  GtkTextIter iter;
  gtk_text_buffer_get_iter_at_offset(bufferOf(textView_), &iter, static_cast<int>(index));
  GdkRectangle location;
  gtk_text_view_get_iter_location(GTK_TEXT_VIEW(textView_), &iter, &location);
  int x = 0, y = 0;
  gtk_text_view_buffer_to_window_coords(GTK_TEXT_VIEW(textView_), GTK_TEXT_WINDOW_WIDGET,
                                        location.x, location.y, &x, &y);
  return Rect{{static_cast<double>(x), static_cast<double>(y)},
              {static_cast<double>(location.width), static_cast<double>(location.height)}};
}

void TextView::setOnTextChange(std::function<void(const std::string&)> callback) {
  onTextChange_ = std::move(callback);
}

void TextView::setOnFocus(std::function<void()> callback) {
  onFocus_ = std::move(callback);
}

void TextView::setOnBlur(std::function<void()> callback) {
  onBlur_ = std::move(callback);
}

// The platform's text view draws over this, with no background of its own.
void TextView::drawContent(DrawContext& context) {
  if (!showsPlaceholder()) return;
  PangoLayout* layout =
      gtk_widget_create_pango_layout(static_cast<GtkWidget*>(nativeWidget()), placeholder_.c_str());
  auto* description = static_cast<PangoFontDescription*>(font_.newPangoDescription());
  pango_layout_set_font_description(layout, description);
  pango_font_description_free(description);
  pango_layout_set_width(
      layout, static_cast<int>(std::max(0.0, bounds().width() - 2 * kInsetAcross) * PANGO_SCALE));
  pango_layout_set_wrap(layout, PANGO_WRAP_WORD_CHAR);
  const Color color = placeholderColor_.value_or(
      Color{textColor_.red, textColor_.green, textColor_.blue, textColor_.alpha * 0.4});
  const GdkRGBA rgba{static_cast<float>(color.red), static_cast<float>(color.green),
                     static_cast<float>(color.blue), static_cast<float>(color.alpha)};
  GtkSnapshot* snapshot = context.snapshot();
  gtk_snapshot_save(snapshot);
  const graphene_point_t inset = GRAPHENE_POINT_INIT(kInsetAcross, kInsetDown);
  gtk_snapshot_translate(snapshot, &inset);
  gtk_snapshot_append_layout(snapshot, layout, &rgba);
  gtk_snapshot_restore(snapshot);
  g_object_unref(layout);
}

}  // namespace talvero::toolkit
