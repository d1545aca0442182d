#pragma once

// Shared by the files of the toolkit only: what a view's drawContent receives.

#include <gtk/gtk.h>

#include "platform/toolkit/geometry.h"
#include "platform/toolkit/layer.h"

namespace talvero::toolkit {

class View;

class DrawContext {
 public:
  explicit DrawContext(GtkSnapshot* snapshot) : snapshot_(snapshot) {}
  GtkSnapshot* snapshot() const { return snapshot_; }

  // Draws laid-out text in one colour with its top left at `origin`, cut to `clip`.
  void appendLayout(PangoLayout* layout, const Color& color, const Rect& clip,
                    Point origin = {}) const {
    const GdkRGBA rgba{static_cast<float>(color.red), static_cast<float>(color.green),
                       static_cast<float>(color.blue), static_cast<float>(color.alpha)};
    const graphene_rect_t box =
        GRAPHENE_RECT_INIT(static_cast<float>(clip.x()), static_cast<float>(clip.y()),
                           static_cast<float>(clip.width()), static_cast<float>(clip.height()));
    gtk_snapshot_push_clip(snapshot_, &box);
    gtk_snapshot_save(snapshot_);
    const graphene_point_t at =
        GRAPHENE_POINT_INIT(static_cast<float>(origin.x), static_cast<float>(origin.y));
    gtk_snapshot_translate(snapshot_, &at);
    gtk_snapshot_append_layout(snapshot_, layout, &rgba);
    gtk_snapshot_restore(snapshot_);
    gtk_snapshot_pop(snapshot_);
  }

 private:
  GtkSnapshot* snapshot_;
};

// Draws a view and its subtree at the snapshot's origin. Subviews with a live widget of
// their own are drawn through it when `throughWidgets` is set (on screen); otherwise the
// tree is drawn directly (offscreen).
void drawView(View& view, GtkSnapshot* snapshot, bool throughWidgets);
// Draws one layer, without its owner's subviews, in the layer's own coordinates.
void drawLayerOwnContent(const Layer& layer, GtkSnapshot* snapshot);
graphene_matrix_t toGraphene(const Transform3D& transform);
// A 2D affine matrix becomes 2D operations, so that every renderer (the cairo one too) can
// draw it; anything else stays a full matrix. Caller owns the result.
GskTransform* toGskTransform(const Transform3D& transform);

}  // namespace talvero::toolkit
