#include "platform/toolkit/snapshot.h"

#include <gtk/gtk.h>

#include <algorithm>

#include "platform/toolkit/draw_context.h"

namespace talvero::toolkit {

Bitmap renderView(View& view) {
  Bitmap bitmap;
  bitmap.width = std::max(1, static_cast<int>(view.bounds().width()));
  bitmap.height = std::max(1, static_cast<int>(view.bounds().height()));
  GtkSnapshot* snapshot = gtk_snapshot_new();
  drawView(view, snapshot, false);
  GskRenderNode* node = gtk_snapshot_free_to_node(snapshot);
  bitmap.rgba.assign(static_cast<size_t>(bitmap.width) * bitmap.height * 4, 0);
  if (!node) return bitmap;

  // The cairo renderer needs no display, so offscreen snapshots work without a window.
  GskRenderer* renderer = gsk_cairo_renderer_new();
  if (gsk_renderer_realize(renderer, nullptr, nullptr)) {
    const graphene_rect_t viewport = GRAPHENE_RECT_INIT(0, 0, static_cast<float>(bitmap.width),
                                                        static_cast<float>(bitmap.height));
    GdkTexture* texture = gsk_renderer_render_texture(renderer, node, &viewport);
    std::vector<uint8_t> premultiplied(bitmap.rgba.size());
    gdk_texture_download(texture, premultiplied.data(), static_cast<size_t>(bitmap.width) * 4);
    for (size_t i = 0; i < premultiplied.size(); i += 4) {
      const uint8_t b = premultiplied[i], g = premultiplied[i + 1], r = premultiplied[i + 2],
                    a = premultiplied[i + 3];
      auto straight = [a](uint8_t c) {
        return a ? static_cast<uint8_t>(std::min(255, (c * 255 + a / 2) / a)) : 0;
      };
      bitmap.rgba[i] = straight(r);
      bitmap.rgba[i + 1] = straight(g);
      bitmap.rgba[i + 2] = straight(b);
      bitmap.rgba[i + 3] = a;
    }
    g_object_unref(texture);
    gsk_renderer_unrealize(renderer);
  }
  g_object_unref(renderer);
  gsk_render_node_unref(node);
  return bitmap;
}

namespace {

// A texture of the bitmap's pixels; null for an empty bitmap. Caller unrefs.
GdkTexture* textureOf(const Bitmap& bitmap) {
  if (bitmap.width <= 0 || bitmap.height <= 0) return nullptr;
  GBytes* bytes = g_bytes_new(bitmap.rgba.data(), bitmap.rgba.size());
  GdkTexture* texture = gdk_memory_texture_new(bitmap.width, bitmap.height, GDK_MEMORY_R8G8B8A8,
                                               bytes, static_cast<size_t>(bitmap.width) * 4);
  g_bytes_unref(bytes);
  return texture;
}

}  // namespace

bool writePng(const Bitmap& bitmap, const std::string& path) {
  GdkTexture* texture = textureOf(bitmap);
  if (!texture) return false;
  const bool saved = gdk_texture_save_to_png(texture, path.c_str());
  g_object_unref(texture);
  return saved;
}

std::vector<uint8_t> encodePng(const Bitmap& bitmap) {
  GdkTexture* texture = textureOf(bitmap);
  if (!texture) return {};
  GBytes* png = gdk_texture_save_to_png_bytes(texture);
  g_object_unref(texture);
  gsize size = 0;
  const auto* data = static_cast<const uint8_t*>(g_bytes_get_data(png, &size));
  std::vector<uint8_t> bytes(data, data + size);
  g_bytes_unref(png);
  return bytes;
}

}  // namespace talvero::toolkit
