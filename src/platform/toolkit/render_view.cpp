#include "platform/toolkit/render_view.h"

#include <gtk/gtk.h>

#include <cmath>

#include "platform/toolkit/draw_context.h"

namespace talvero::toolkit {

namespace {

GtkWidget* widgetOf(const View& view) {
  return static_cast<GtkWidget*>(view.nativeWidget());
}

// The frame clock calls this only while the widget is realized; a hidden view skips its frames.
gboolean onTick(GtkWidget* widget, GdkFrameClock*, gpointer data) {
  auto* self = static_cast<RenderView*>(data);
  if (!gtk_widget_get_mapped(widget)) return G_SOURCE_CONTINUE;
  // A frame may run script that takes the view away and drops the last reference to it.
  const std::shared_ptr<View> keepAlive = self->weak_from_this().lock();
  self->deliverFrame();
  return G_SOURCE_CONTINUE;
}

}  // namespace

RenderView::RenderView() {
  GtkWidget* widget = widgetOf(*this);
  g_signal_connect(widget, "realize", G_CALLBACK(&RenderView::widgetRealized), this);
  g_signal_connect(widget, "unrealize", G_CALLBACK(&RenderView::widgetUnrealized), this);
  tickCallback_ = gtk_widget_add_tick_callback(widget, onTick, this, nullptr);
}

RenderView::~RenderView() {
  GtkWidget* widget = widgetOf(*this);
  gtk_widget_remove_tick_callback(widget, tickCallback_);
  g_signal_handlers_disconnect_by_data(widget, this);
}

void RenderView::widgetRealized(void*, void* self) {
  auto* view = static_cast<RenderView*>(self);
  view->inWindow_ = true;
  view->joinedWindow();
}

void RenderView::widgetUnrealized(void*, void* self) {
  auto* view = static_cast<RenderView*>(self);
  if (!view->inWindow_) return;
  view->inWindow_ = false;
  view->leftWindow();
}

void RenderView::setFrameImage(int width, int height, size_t stride, const uint8_t* rgba) {
  frameImage_ = Image::fromPremultipliedRGBA(width, height, rgba, stride);
  setNeedsDisplay();
}

void RenderView::clearFrameImage() {
  frameImage_.reset();
  setNeedsDisplay();
}

int RenderView::pixelWidth() const {
  return static_cast<int>(std::lround(bounds().width() * backingScaleFactor()));
}

int RenderView::pixelHeight() const {
  return static_cast<int>(std::lround(bounds().height() * backingScaleFactor()));
}

void RenderView::deliverFrame() {
  const int width = pixelWidth(), height = pixelHeight();
  if (width != lastPixelWidth_ || height != lastPixelHeight_) {
    lastPixelWidth_ = width;
    lastPixelHeight_ = height;
    pixelSizeChanged(width, height);
  }
  renderFrame();
}

void RenderView::drawContent(DrawContext& context) {
  if (!frameImage_) return;
  const Rect area = bounds();
  if (area.width() <= 0 || area.height() <= 0) return;
  const graphene_rect_t target =
      GRAPHENE_RECT_INIT(0, 0, static_cast<float>(area.width()), static_cast<float>(area.height()));
  gtk_snapshot_append_texture(context.snapshot(), GDK_TEXTURE(frameImage_->texture()), &target);
}

}  // namespace talvero::toolkit
