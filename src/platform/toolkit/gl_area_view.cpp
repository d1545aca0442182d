#include "platform/toolkit/gl_area_view.h"

#include <gtk/gtk.h>

#include <memory>

namespace talvero::toolkit {

GLAreaView::GLAreaView() {
  GtkWidget* area = gtk_gl_area_new();
  area_ = area;
  GtkGLArea* glArea = GTK_GL_AREA(area);
  gtk_gl_area_set_required_version(glArea, 3, 3);
  // The renderer draws depth into its own target and blits the colour here.
  gtk_gl_area_set_has_depth_buffer(glArea, FALSE);
  gtk_gl_area_set_has_stencil_buffer(glArea, FALSE);
  gtk_gl_area_set_auto_render(glArea, FALSE);
  // Presses pass through the area to the view, which hands them to `mouseDown` and the rest.
  gtk_widget_set_can_target(area, FALSE);
  gtk_widget_set_focusable(area, FALSE);
  g_signal_connect(area, "render", G_CALLBACK(&GLAreaView::areaRendered), this);
  setNativeContent(area);
}

GLAreaView::~GLAreaView() {
  g_signal_handlers_disconnect_by_data(area_, this);
  setNativeContent(nullptr);
}

int GLAreaView::areaRendered(void* area, void*, void* self) {
  auto* view = static_cast<GLAreaView*>(self);
  if (gtk_gl_area_get_error(GTK_GL_AREA(area))) return FALSE;
  // What a render does may take the view away and drop the last reference to it.
  const std::shared_ptr<View> keepAlive = view->weak_from_this().lock();
  auto* widget = static_cast<GtkWidget*>(area);
  const int scale = gtk_widget_get_scale_factor(widget);
  return view->renderArea(gtk_widget_get_width(widget) * scale,
                          gtk_widget_get_height(widget) * scale)
             ? TRUE
             : FALSE;
}

void GLAreaView::queueRender() {
  gtk_gl_area_queue_render(GTK_GL_AREA(area_));
}

bool GLAreaView::areaRealized() const {
  return gtk_widget_get_realized(static_cast<GtkWidget*>(area_));
}

bool GLAreaView::areaHasSize() const {
  auto* widget = static_cast<GtkWidget*>(area_);
  return gtk_widget_get_width(widget) > 0 && gtk_widget_get_height(widget) > 0;
}

}  // namespace talvero::toolkit
