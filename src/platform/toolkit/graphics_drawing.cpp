#include "platform/toolkit/graphics_drawing.h"

#include <gtk/gtk.h>

#include "platform/graphics/native_target.h"
#include "platform/toolkit/draw_context.h"

namespace talvero::toolkit {

void drawGraphics(DrawContext& context, const Rect& area,
                  const std::function<void(graphics::GraphicsContext&)>& draw) {
  if (!(area.width() > 0 && area.height() > 0)) return;
  const graphene_rect_t bounds =
      GRAPHENE_RECT_INIT(static_cast<float>(area.x()), static_cast<float>(area.y()),
                         static_cast<float>(area.width()), static_cast<float>(area.height()));
  cairo_t* cr = gtk_snapshot_append_cairo(context.snapshot(), &bounds);
  if (auto graphicsContext = graphics::GraphicsContext::drawingInto({cr})) draw(*graphicsContext);
  cairo_destroy(cr);
}

}  // namespace talvero::toolkit
