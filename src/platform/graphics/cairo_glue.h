#pragma once

// The drawing and text libraries' side of this folder's types. Included only by this
// folder's sources, so that no layer above meets a Cairo or Pango type.

#include <cairo.h>
#include <pango/pangocairo.h>

#include "platform/graphics/bitmap.h"
#include "platform/graphics/text_line.h"

namespace talvero::graphics {

struct Bitmap::Storage {
  explicit Storage(cairo_surface_t* surface) : surface(surface) {}
  ~Storage() { cairo_surface_destroy(surface); }
  Storage(const Storage&) = delete;
  Storage& operator=(const Storage&) = delete;

  cairo_surface_t* surface;
};

struct TextLine::Layout {
  explicit Layout(PangoLayout* layout) : layout(layout) {}
  ~Layout() { g_object_unref(layout); }
  Layout(const Layout&) = delete;
  Layout& operator=(const Layout&) = delete;

  PangoLayoutLine* line() const { return pango_layout_get_line_readonly(layout, 0); }

  PangoLayout* layout;
};

// A cleared ARGB32 surface; null over the pixel limit or when Cairo cannot allocate it.
cairo_surface_t* newImageSurface(int width, int height);
// Takes over a surface nobody draws into any more.
BitmapRef adoptSurface(cairo_surface_t* surface);

}  // namespace talvero::graphics
