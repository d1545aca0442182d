#include <algorithm>
#include <cmath>
#include <vector>

#include "platform/toolkit/draw_context.h"
#include "platform/toolkit/view.h"

namespace talvero::toolkit {

namespace {

GdkRGBA toGdk(const Color& color) {
  return GdkRGBA{static_cast<float>(color.red), static_cast<float>(color.green),
                 static_cast<float>(color.blue), static_cast<float>(color.alpha)};
}

graphene_rect_t toGraphene(const Rect& rect) {
  return GRAPHENE_RECT_INIT(static_cast<float>(rect.x()), static_cast<float>(rect.y()),
                            static_cast<float>(rect.width()), static_cast<float>(rect.height()));
}

// The layer's box with its corner radius on the masked corners only, cut to what fits.
GskRoundedRect roundedBox(const Layer& layer, const LayerValues& shown) {
  const Rect box{{0, 0}, shown.bounds.size};
  const double limit = std::min(box.width(), box.height()) / 2;
  const auto radius = static_cast<float>(std::clamp(shown.cornerRadius, 0.0, std::max(limit, 0.0)));
  auto corner = [&](uint32_t mask) {
    const float r = (layer.maskedCorners() & mask) ? radius : 0.0f;
    return graphene_size_t{r, r};
  };
  GskRoundedRect rounded;
  const graphene_rect_t bounds = toGraphene(box);
  const graphene_size_t topLeft = corner(kTopLeftCorner), topRight = corner(kTopRightCorner),
                        bottomRight = corner(kBottomRightCorner),
                        bottomLeft = corner(kBottomLeftCorner);
  gsk_rounded_rect_init(&rounded, &bounds, &topLeft, &topRight, &bottomRight, &bottomLeft);
  return rounded;
}

bool isRounded(const Layer& layer, const LayerValues& shown) {
  return shown.cornerRadius > 0 && layer.maskedCorners() != 0;
}

void pushClip(const Layer& layer, const LayerValues& shown, GtkSnapshot* snapshot) {
  if (isRounded(layer, shown)) {
    const GskRoundedRect rounded = roundedBox(layer, shown);
    gtk_snapshot_push_rounded_clip(snapshot, &rounded);
  } else {
    const graphene_rect_t box = toGraphene(Rect{{0, 0}, shown.bounds.size});
    gtk_snapshot_push_clip(snapshot, &box);
  }
}

// Where the contents land for each gravity, in the layer's coordinates.
Rect contentsRect(const Layer& layer, const LayerValues& shown, const Image& image) {
  const double w = shown.bounds.width(), h = shown.bounds.height();
  const double iw = image.pointSize().width, ih = image.pointSize().height;
  switch (layer.contentsGravity()) {
    case ContentsGravity::Resize:
      return Rect{{0, 0}, {w, h}};
    case ContentsGravity::ResizeAspect:
    case ContentsGravity::ResizeAspectFill: {
      const double sx = w / iw, sy = h / ih;
      const double s = layer.contentsGravity() == ContentsGravity::ResizeAspect ? std::min(sx, sy)
                                                                                : std::max(sx, sy);
      return Rect{{(w - iw * s) / 2, (h - ih * s) / 2}, {iw * s, ih * s}};
    }
    case ContentsGravity::Center:
      return Rect{{(w - iw) / 2, (h - ih) / 2}, {iw, ih}};
    case ContentsGravity::TopLeft:
      return Rect{{0, 0}, {iw, ih}};
  }
  return Rect{{0, 0}, {w, h}};
}

void drawGradient(const LayerValues& shown, const GradientPaint& paint, GtkSnapshot* snapshot) {
  if (paint.colors.size() < 2) return;
  std::vector<GskColorStop> stops;
  double last = 0;
  for (size_t i = 0; i < paint.colors.size(); ++i) {
    double offset = i < paint.locations.size() ? paint.locations[i]
                                               : static_cast<double>(i) / (paint.colors.size() - 1);
    offset = std::clamp(std::max(offset, last), 0.0, 1.0);
    last = offset;
    stops.push_back(GskColorStop{static_cast<float>(offset), toGdk(paint.colors[i])});
  }
  const double w = shown.bounds.width(), h = shown.bounds.height();
  const graphene_rect_t box = toGraphene(Rect{{0, 0}, {w, h}});
  const graphene_point_t start = GRAPHENE_POINT_INIT(static_cast<float>(paint.start.x * w),
                                                     static_cast<float>(paint.start.y * h));
  if (paint.radial) {
    const float rx = std::max(1e-3f, static_cast<float>(std::abs(paint.end.x - paint.start.x) * w));
    const float ry = std::max(1e-3f, static_cast<float>(std::abs(paint.end.y - paint.start.y) * h));
    gtk_snapshot_append_radial_gradient(snapshot, &box, &start, rx, ry, 0, 1, stops.data(),
                                        stops.size());
  } else {
    const graphene_point_t end = GRAPHENE_POINT_INIT(static_cast<float>(paint.end.x * w),
                                                     static_cast<float>(paint.end.y * h));
    gtk_snapshot_append_linear_gradient(snapshot, &box, &start, &end, stops.data(), stops.size());
  }
}

void drawBorder(const Layer& layer, const LayerValues& shown, GtkSnapshot* snapshot) {
  if (shown.borderWidth <= 0 || shown.borderColor.alpha <= 0) return;
  const GskRoundedRect rounded = roundedBox(layer, shown);
  const auto width = static_cast<float>(shown.borderWidth);
  const float widths[4] = {width, width, width, width};
  const GdkRGBA colour = toGdk(shown.borderColor);
  const GdkRGBA colours[4] = {colour, colour, colour, colour};
  gtk_snapshot_append_border(snapshot, &rounded, widths, colours);
}

// The layer's own paint below whatever it holds: background and gradient.
void drawBackground(const Layer& layer, const LayerValues& shown, GtkSnapshot* snapshot) {
  const bool rounded = isRounded(layer, shown);
  if (rounded) {
    const GskRoundedRect box = roundedBox(layer, shown);
    gtk_snapshot_push_rounded_clip(snapshot, &box);
  }
  const graphene_rect_t box = toGraphene(Rect{{0, 0}, shown.bounds.size});
  if (shown.backgroundColor && shown.backgroundColor->alpha > 0) {
    const GdkRGBA colour = toGdk(*shown.backgroundColor);
    gtk_snapshot_append_color(snapshot, &colour, &box);
  }
  if (layer.gradient()) drawGradient(shown, *layer.gradient(), snapshot);
  if (rounded) gtk_snapshot_pop(snapshot);
}

void drawContents(const Layer& layer, const LayerValues& shown, GtkSnapshot* snapshot) {
  if (const auto& image = layer.contents()) {
    const graphene_rect_t target = toGraphene(contentsRect(layer, shown, *image));
    gtk_snapshot_append_texture(snapshot, GDK_TEXTURE(image->texture()), &target);
  }
}

std::vector<const Layer*> sublayersByZ(const Layer& layer, bool front) {
  std::vector<const Layer*> ordered;
  for (const auto& sublayer : layer.sublayers()) {
    if (!sublayer->hidden() && (sublayer->zPosition() >= 0) == front)
      ordered.push_back(sublayer.get());
  }
  std::stable_sort(ordered.begin(), ordered.end(),
                   [](const Layer* a, const Layer* b) { return a->zPosition() < b->zPosition(); });
  return ordered;
}

void drawLayerShown(const Layer& layer, const LayerValues& shown, GtkSnapshot* snapshot);

// Layers draw where they are on screen now, so that running animations show.
void drawSublayer(const Layer& layer, GtkSnapshot* snapshot) {
  const LayerValues shown = layer.presentation();
  gtk_snapshot_save(snapshot);
  GskTransform* transform = toGskTransform(shown.toParent());
  gtk_snapshot_transform(snapshot, transform);
  gsk_transform_unref(transform);
  drawLayerShown(layer, shown, snapshot);
  gtk_snapshot_restore(snapshot);
}

// The layer's own drawing around `content`: the background, the contents and the sublayers
// behind, then the content (clipped with them when the layer masks), then the edge sublayers
// and the border.
template <typename Content>
void drawLayerAround(const Layer& layer, const LayerValues& shown, GtkSnapshot* snapshot,
                     Content&& content) {
  if (layer.hidden()) return;
  const bool faded = shown.opacity < 1;
  if (faded) gtk_snapshot_push_opacity(snapshot, shown.opacity);
  drawBackground(layer, shown, snapshot);
  // Contents larger than the bounds (an image that fills by aspect) are cut with the rest.
  if (layer.masksToBounds()) pushClip(layer, shown, snapshot);
  drawContents(layer, shown, snapshot);
  for (const Layer* sublayer : sublayersByZ(layer, false)) drawSublayer(*sublayer, snapshot);
  content();
  for (const Layer* sublayer : sublayersByZ(layer, true)) drawSublayer(*sublayer, snapshot);
  if (layer.masksToBounds()) gtk_snapshot_pop(snapshot);
  drawBorder(layer, shown, snapshot);
  if (faded) gtk_snapshot_pop(snapshot);
}

void drawLayerShown(const Layer& layer, const LayerValues& shown, GtkSnapshot* snapshot) {
  drawLayerAround(layer, shown, snapshot, [] {});
}

void drawViewShown(View& view, const LayerValues& shown, GtkSnapshot* snapshot,
                   bool throughWidgets) {
  drawLayerAround(view.layer(), shown, snapshot, [&] {
    DrawContext context(snapshot);
    view.drawContent(context);
    auto* widget = static_cast<GtkWidget*>(view.nativeWidget());
    if (auto* content = static_cast<GtkWidget*>(view.nativeContent()); content && throughWidgets) {
      gtk_widget_snapshot_child(widget, content, snapshot);
    }
    for (const auto& child : view.subviews()) {
      auto* childWidget = static_cast<GtkWidget*>(child->nativeWidget());
      if (throughWidgets) {
        gtk_widget_snapshot_child(widget, childWidget, snapshot);
      } else if (!child->isHidden()) {
        const LayerValues childShown = child->layer().presentation();
        gtk_snapshot_save(snapshot);
        GskTransform* transform = toGskTransform(childShown.toParent());
        gtk_snapshot_transform(snapshot, transform);
        gsk_transform_unref(transform);
        drawViewShown(*child, childShown, snapshot, false);
        gtk_snapshot_restore(snapshot);
      }
    }
  });
}

}  // namespace

graphene_matrix_t toGraphene(const Transform3D& transform) {
  float values[16];
  for (int i = 0; i < 16; ++i) values[i] = static_cast<float>(transform.m[i]);
  graphene_matrix_t matrix;
  graphene_matrix_init_from_float(&matrix, values);
  return matrix;
}

GskTransform* toGskTransform(const Transform3D& t) {
  const auto& m = t.m;
  const bool affine = m[2] == 0 && m[3] == 0 && m[6] == 0 && m[7] == 0 && m[8] == 0 && m[9] == 0 &&
                      m[10] == 1 && m[11] == 0 && m[14] == 0 && m[15] == 1;
  if (!affine) {
    const graphene_matrix_t matrix = toGraphene(t);
    return gsk_transform_matrix(nullptr, &matrix);
  }
  // x' = a x + c y + e, y' = b x + d y + f, split as translate, rotate, skew, scale.
  const double a = m[0], b = m[1], c = m[4], d = m[5];
  graphene_point_t offset =
      GRAPHENE_POINT_INIT(static_cast<float>(m[12]), static_cast<float>(m[13]));
  GskTransform* out = gsk_transform_translate(nullptr, &offset);
  const double sx = std::hypot(a, b);
  if (sx < 1e-12) return gsk_transform_scale(out, 0, 0);
  const double angle = std::atan2(b, a);
  const double shear = (a * c + b * d) / sx;
  const double sy = (a * d - b * c) / sx;
  out = gsk_transform_rotate(out, static_cast<float>(angle * 180 / M_PI));
  if (std::abs(sy) < 1e-12) return gsk_transform_scale(out, static_cast<float>(sx), 0);
  if (shear != 0)
    out = gsk_transform_skew(out, static_cast<float>(std::atan(shear / sy) * 180 / M_PI), 0);
  return gsk_transform_scale(out, static_cast<float>(sx), static_cast<float>(sy));
}

void drawLayerOwnContent(const Layer& layer, GtkSnapshot* snapshot) {
  drawLayerShown(layer, layer.presentation(), snapshot);
}

void drawView(View& view, GtkSnapshot* snapshot, bool throughWidgets) {
  drawViewShown(view, view.layer().presentation(), snapshot, throughWidgets);
}

}  // namespace talvero::toolkit
