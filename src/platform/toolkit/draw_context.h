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
