#include "platform/graphics/graphics_context.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include "platform/graphics/cairo_glue.h"
#include "platform/graphics/native_target.h"

namespace talvero::graphics {
namespace {

bool finite(std::initializer_list<double> values) {
  return std::all_of(values.begin(), values.end(), [](double v) { return std::isfinite(v); });
}

// What `save` and `restore` cover beyond Cairo's own state.
struct State {
  Paint fill = Color{};
  Paint stroke = Color{};
  double alpha = 1;
  // Set by a transform we refused to apply: nothing draws until this state is restored away.
  bool suspended = false;
};

cairo_pattern_t* makePattern(const Paint& paint, double alpha) {
  if (const auto* color = std::get_if<Color>(&paint)) {
    return cairo_pattern_create_rgba(color->red, color->green, color->blue, color->alpha * alpha);
  }
  const auto& gradient = std::get<Gradient>(paint);
  cairo_pattern_t* pattern =
      gradient.kind == Gradient::Kind::Linear
          ? cairo_pattern_create_linear(gradient.x0, gradient.y0, gradient.x1, gradient.y1)
          : cairo_pattern_create_radial(gradient.x0, gradient.y0, std::max(0.0, gradient.r0),
                                        gradient.x1, gradient.y1, std::max(0.0, gradient.r1));
  for (const GradientStop& stop : gradient.stops) {
    const Color& c = stop.color;
    if (!finite({stop.offset, c.red, c.green, c.blue, c.alpha})) continue;
    cairo_pattern_add_color_stop_rgba(pattern, std::clamp(stop.offset, 0.0, 1.0), c.red, c.green,
                                      c.blue, c.alpha);
  }
  static constexpr cairo_extend_t kExtends[] = {CAIRO_EXTEND_PAD, CAIRO_EXTEND_NONE,
                                                CAIRO_EXTEND_REFLECT, CAIRO_EXTEND_REPEAT};
  cairo_pattern_set_extend(pattern, kExtends[static_cast<int>(gradient.extend)]);
  return pattern;
}

bool usablePaint(const Paint& paint) {
  const auto* gradient = std::get_if<Gradient>(&paint);
  if (!gradient) {
    const auto& c = std::get<Color>(paint);
    return finite({c.red, c.green, c.blue, c.alpha});
  }
  return finite(
      {gradient->x0, gradient->y0, gradient->r0, gradient->x1, gradient->y1, gradient->r1});
}

cairo_fill_rule_t cairoRule(FillRule rule) {
  return rule == FillRule::EvenOdd ? CAIRO_FILL_RULE_EVEN_ODD : CAIRO_FILL_RULE_WINDING;
}

// Sets the path being built aside for the life of this object, so that one-off shapes and
// text can use Cairo's path without disturbing it.
class PathAside {
 public:
  explicit PathAside(cairo_t* cr) : cr_(cr), path_(cairo_copy_path(cr)) { cairo_new_path(cr); }
  ~PathAside() {
    cairo_new_path(cr_);
    if (path_->status == CAIRO_STATUS_SUCCESS) cairo_append_path(cr_, path_);
    cairo_path_destroy(path_);
  }
  PathAside(const PathAside&) = delete;
  PathAside& operator=(const PathAside&) = delete;

 private:
  cairo_t* cr_;
  cairo_path_t* path_;
};

}  // namespace

struct GraphicsContext::Impl {
  cairo_surface_t* surface = nullptr;
  cairo_t* cr = nullptr;
  std::vector<State> saved;
  State state;

  // Drawing into a Cairo context of someone else's, which gets its state and the path it was
  // building back at the end.
  bool borrowed = false;
  std::unique_ptr<PathAside> ownersPath;

  ~Impl() {
    releaseContext();
    if (surface) cairo_surface_destroy(surface);
  }

  void releaseContext() {
    if (!cr) return;
    if (borrowed) {
      // Saves left open, then the one made when the context was taken.
      for (size_t i = 0; i <= saved.size(); ++i) cairo_restore(cr);
      ownersPath.reset();
    }
    cairo_destroy(cr);
    cr = nullptr;
  }

  bool drawing() const { return cr && !state.suspended; }
  // Whether a fill, stroke or clip may draw; while drawing is paused the path is used up all
  // the same, as it would have been.
  bool takesPath() {
    if (drawing()) return true;
    if (cr) cairo_new_path(cr);
    return false;
  }

  // Runs `draw` with `paint` as the source and the global alpha applied to what it covers.
  // A solid colour takes the alpha into its own; anything else is drawn into a group first,
  // so that overlapping parts of one shape are not blended twice.
  template <typename Draw>
  void withPaint(const Paint& paint, Draw draw) {
    cairo_save(cr);
    const bool solid = std::holds_alternative<Color>(paint);
    cairo_pattern_t* pattern = makePattern(paint, solid ? state.alpha : 1.0);
    cairo_set_source(cr, pattern);
    cairo_pattern_destroy(pattern);
    if (solid || state.alpha >= 1) {
      draw();
    } else {
      cairo_push_group(cr);
      draw();
      cairo_pop_group_to_source(cr);
      cairo_paint_with_alpha(cr, state.alpha);
    }
    cairo_restore(cr);
  }

  // Applies `matrix` after the current transform, or suspends drawing when the result would
  // be singular or not finite, which would otherwise put Cairo into a lasting error state.
  void transform(const cairo_matrix_t& matrix) {
    if (!cr || state.suspended) return;
    cairo_matrix_t combined, current;
    cairo_get_matrix(cr, &current);
    cairo_matrix_multiply(&combined, &matrix, &current);
    cairo_matrix_t inverse = combined;
    if (!finite({combined.xx, combined.yx, combined.xy, combined.yy, combined.x0, combined.y0}) ||
        cairo_matrix_invert(&inverse) != CAIRO_STATUS_SUCCESS ||
        !finite({inverse.xx, inverse.yx, inverse.xy, inverse.yy, inverse.x0, inverse.y0})) {
      state.suspended = true;
      return;
    }
    cairo_set_matrix(cr, &combined);
  }
};

std::unique_ptr<GraphicsContext> GraphicsContext::create(int pixelWidth, int pixelHeight,
                                                         double scale) {
  if (!std::isfinite(scale) || scale <= 0) return nullptr;
  cairo_surface_t* surface = newImageSurface(pixelWidth, pixelHeight);
  if (!surface) return nullptr;
  auto impl = std::make_unique<Impl>();
  impl->surface = surface;
  impl->cr = cairo_create(surface);
  if (cairo_status(impl->cr) != CAIRO_STATUS_SUCCESS) return nullptr;
  cairo_scale(impl->cr, scale, scale);
  cairo_set_line_width(impl->cr, 1);  // Cairo starts at 2; canvases and SVG at 1
  return std::unique_ptr<GraphicsContext>(new GraphicsContext(std::move(impl)));
}

std::unique_ptr<GraphicsContext> GraphicsContext::drawingInto(const NativeTarget& target) {
  if (!target.cr || cairo_status(target.cr) != CAIRO_STATUS_SUCCESS) return nullptr;
  auto impl = std::make_unique<Impl>();
  impl->cr = cairo_reference(target.cr);
  impl->borrowed = true;
  cairo_save(impl->cr);
  impl->ownersPath = std::make_unique<PathAside>(impl->cr);
  cairo_set_line_width(impl->cr, 1);
  return std::unique_ptr<GraphicsContext>(new GraphicsContext(std::move(impl)));
}

GraphicsContext::GraphicsContext(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
GraphicsContext::~GraphicsContext() = default;

int GraphicsContext::pixelWidth() const {
  return impl_->surface ? cairo_image_surface_get_width(impl_->surface) : 0;
}
int GraphicsContext::pixelHeight() const {
  return impl_->surface ? cairo_image_surface_get_height(impl_->surface) : 0;
}

void GraphicsContext::save() {
  if (!impl_->cr) return;
  cairo_save(impl_->cr);
  impl_->saved.push_back(impl_->state);
}

void GraphicsContext::restore() {
  if (!impl_->cr || impl_->saved.empty()) return;
  cairo_restore(impl_->cr);
  impl_->state = std::move(impl_->saved.back());
  impl_->saved.pop_back();
}

void GraphicsContext::translate(double x, double y) {
  cairo_matrix_t m;
  cairo_matrix_init_translate(&m, x, y);
  impl_->transform(m);
}

void GraphicsContext::scale(double x, double y) {
  cairo_matrix_t m;
  cairo_matrix_init_scale(&m, x, y);
  impl_->transform(m);
}

void GraphicsContext::rotate(double radians) {
  if (!std::isfinite(radians)) {
    if (impl_->cr) impl_->state.suspended = true;
    return;
  }
  cairo_matrix_t m;
  cairo_matrix_init_rotate(&m, radians);
  impl_->transform(m);
}

void GraphicsContext::concat(double a, double b, double c, double d, double e, double f) {
  cairo_matrix_t m;
  cairo_matrix_init(&m, a, b, c, d, e, f);
  impl_->transform(m);
}

void GraphicsContext::beginPath() {
  if (impl_->cr) cairo_new_path(impl_->cr);
}

void GraphicsContext::moveTo(double x, double y) {
  if (impl_->drawing() && finite({x, y})) cairo_move_to(impl_->cr, x, y);
}

void GraphicsContext::lineTo(double x, double y) {
  if (impl_->drawing() && finite({x, y})) cairo_line_to(impl_->cr, x, y);
}

void GraphicsContext::quadTo(double cx, double cy, double x, double y) {
  if (!impl_->drawing() || !finite({cx, cy, x, y})) return;
  cairo_t* cr = impl_->cr;
  if (!cairo_has_current_point(cr)) cairo_move_to(cr, cx, cy);
  double x0, y0;
  cairo_get_current_point(cr, &x0, &y0);
  cairo_curve_to(cr, x0 + 2.0 / 3.0 * (cx - x0), y0 + 2.0 / 3.0 * (cy - y0),
                 x + 2.0 / 3.0 * (cx - x), y + 2.0 / 3.0 * (cy - y), x, y);
}

void GraphicsContext::cubicTo(double c1x, double c1y, double c2x, double c2y, double x, double y) {
  if (!impl_->drawing() || !finite({c1x, c1y, c2x, c2y, x, y})) return;
  if (!cairo_has_current_point(impl_->cr)) cairo_move_to(impl_->cr, c1x, c1y);
  cairo_curve_to(impl_->cr, c1x, c1y, c2x, c2y, x, y);
}

void GraphicsContext::arc(double cx, double cy, double radius, double startAngle, double endAngle,
                          double directionFlag) {
  if (!impl_->drawing() || !finite({cx, cy, radius, startAngle, endAngle}) || radius < 0) return;
  constexpr double kTurn = 2 * std::numbers::pi;
  // Wrapped as Cairo wraps a sweep the wrong way round, and cut to one turn: Cairo splits a
  // sweep into pieces in proportion to its length, so a huge one would never end.
  const bool increasing = directionFlag != 0;
  double sweep = endAngle - startAngle;
  if (increasing && sweep < 0) {
    sweep = std::fmod(sweep, kTurn);
    if (sweep < 0) sweep += kTurn;
  } else if (!increasing && sweep > 0) {
    sweep = std::fmod(sweep, kTurn);
    if (sweep > 0) sweep -= kTurn;
  }
  sweep = std::clamp(sweep, -kTurn, kTurn);
  // Far from 0 a double cannot tell angles a turn apart, and Cairo halves the sweep between two
  // such angles for ever; the same arc starts within a turn of 0.
  startAngle = std::fmod(startAngle, kTurn);

  cairo_t* cr = impl_->cr;
  double ux = radius, uy = 0, vx = 0, vy = radius;
  cairo_user_to_device_distance(cr, &ux, &uy);
  cairo_user_to_device_distance(cr, &vx, &vy);
  // Cairo also searches for a piece small enough for its tolerance one angle at a time, which
  // never ends for a radius of many millions of pixels. Such an arc is built here from a fixed
  // number of curves instead, still well within a pixel.
  constexpr double kLargestCairoRadius = 1 << 20;
  if (std::max(std::hypot(ux, uy), std::hypot(vx, vy)) <= kLargestCairoRadius) {
    if (increasing) {
      cairo_arc(cr, cx, cy, radius, startAngle, startAngle + sweep);
    } else {
      cairo_arc_negative(cr, cx, cy, radius, startAngle, startAngle + sweep);
    }
    return;
  }
  constexpr int kCurvesPerTurn = 64;
  const int curves =
      std::max(1, static_cast<int>(std::ceil(std::abs(sweep) / kTurn * kCurvesPerTurn)));
  const double step = sweep / curves;
  const double handle = 4.0 / 3.0 * std::tan(step / 4) * radius;
  double angle = startAngle;
  cairo_line_to(cr, cx + radius * std::cos(angle), cy + radius * std::sin(angle));
  for (int i = 0; i < curves; ++i, angle += step) {
    const double c0 = std::cos(angle), s0 = std::sin(angle);
    const double c1 = std::cos(angle + step), s1 = std::sin(angle + step);
    cairo_curve_to(cr, cx + radius * c0 - handle * s0, cy + radius * s0 + handle * c0,
                   cx + radius * c1 + handle * s1, cy + radius * s1 - handle * c1, cx + radius * c1,
                   cy + radius * s1);
  }
}

void GraphicsContext::rect(double x, double y, double width, double height) {
  if (impl_->drawing() && finite({x, y, width, height})) {
    cairo_rectangle(impl_->cr, x, y, width, height);
  }
}

void GraphicsContext::closePath() {
  if (impl_->drawing()) cairo_close_path(impl_->cr);
}

void GraphicsContext::fill(FillRule rule) {
  if (!impl_->takesPath()) return;
  cairo_t* cr = impl_->cr;
  cairo_set_fill_rule(cr, cairoRule(rule));
  impl_->withPaint(impl_->state.fill, [cr] { cairo_fill(cr); });
}

void GraphicsContext::stroke() {
  if (!impl_->takesPath()) return;
  cairo_t* cr = impl_->cr;
  impl_->withPaint(impl_->state.stroke, [cr] { cairo_stroke(cr); });
}

void GraphicsContext::clip(FillRule rule) {
  if (!impl_->takesPath()) return;
  cairo_t* cr = impl_->cr;
  cairo_set_fill_rule(cr, cairoRule(rule));
  cairo_clip(cr);
}

void GraphicsContext::paint(const Paint& paint) {
  if (!impl_->drawing() || !usablePaint(paint)) return;
  cairo_t* cr = impl_->cr;
  impl_->withPaint(paint, [cr] { cairo_paint(cr); });
}

void GraphicsContext::fillRect(double x, double y, double width, double height) {
  if (!impl_->drawing() || !finite({x, y, width, height})) return;
  cairo_t* cr = impl_->cr;
  PathAside aside(cr);
  cairo_rectangle(cr, x, y, width, height);
  cairo_set_fill_rule(cr, CAIRO_FILL_RULE_WINDING);
  impl_->withPaint(impl_->state.fill, [cr] { cairo_fill(cr); });
}

void GraphicsContext::strokeRect(double x, double y, double width, double height) {
  if (!impl_->drawing() || !finite({x, y, width, height})) return;
  cairo_t* cr = impl_->cr;
  PathAside aside(cr);
  cairo_rectangle(cr, x, y, width, height);
  impl_->withPaint(impl_->state.stroke, [cr] { cairo_stroke(cr); });
}

void GraphicsContext::clearRect(double x, double y, double width, double height) {
  if (!impl_->drawing() || !finite({x, y, width, height})) return;
  cairo_t* cr = impl_->cr;
  PathAside aside(cr);
  cairo_save(cr);
  cairo_rectangle(cr, x, y, width, height);
  cairo_set_operator(cr, CAIRO_OPERATOR_CLEAR);
  cairo_fill(cr);
  cairo_restore(cr);
}

void GraphicsContext::fillText(const TextLine& line, double x, double y) {
  drawText(line, x, y, false);
}

void GraphicsContext::strokeText(const TextLine& line, double x, double y) {
  drawText(line, x, y, true);
}

void GraphicsContext::drawText(const TextLine& line, double x, double y, bool outline) {
  if (!impl_->drawing() || !finite({x, y})) return;
  cairo_t* cr = impl_->cr;
  PathAside aside(cr);
  PangoLayoutLine* layoutLine = line.layout().line();
  impl_->withPaint(outline ? impl_->state.stroke : impl_->state.fill,
                   [cr, layoutLine, x, y, outline] {
                     cairo_move_to(cr, x, y);
                     if (outline) {
                       pango_cairo_layout_line_path(cr, layoutLine);
                       cairo_stroke(cr);
                     } else {
                       pango_cairo_show_layout_line(cr, layoutLine);
                       cairo_new_path(cr);
                     }
                   });
}

void GraphicsContext::drawBitmap(const Bitmap& source, double sx, double sy, double sw, double sh,
                                 double dx, double dy, double dw, double dh) {
  if (!impl_->drawing() || !finite({sx, sy, sw, sh, dx, dy, dw, dh})) return;
  if (dw == 0 || dh == 0 || impl_->state.alpha <= 0) return;
  cairo_surface_t* whole = source.storage().surface;
  const double width = cairo_image_surface_get_width(whole);
  const double height = cairo_image_surface_get_height(whole);
  if (sw < 0) {
    sx += sw;
    sw = -sw;
  }
  if (sh < 0) {
    sy += sh;
    sh = -sh;
  }
  const double left = std::max(0.0, std::floor(sx)), top = std::max(0.0, std::floor(sy));
  const double right = std::min(width, std::ceil(sx + sw));
  const double bottom = std::min(height, std::ceil(sy + sh));
  if (right <= left || bottom <= top) return;

  // Padding extends the edges of the whole surface, so a cut is copied into one of its own
  // to have its own edges extended.
  cairo_surface_t* cut = whole;
  if (left != 0 || top != 0 || right != width || bottom != height) {
    cut = newImageSurface(static_cast<int>(right - left), static_cast<int>(bottom - top));
    if (!cut) return;
    cairo_t* copy = cairo_create(cut);
    cairo_set_source_surface(copy, whole, -left, -top);
    cairo_set_operator(copy, CAIRO_OPERATOR_SOURCE);
    cairo_paint(copy);
    cairo_destroy(copy);
  } else {
    cairo_surface_reference(cut);
  }

  cairo_t* cr = impl_->cr;
  PathAside aside(cr);
  cairo_save(cr);
  cairo_pattern_t* pattern = cairo_pattern_create_for_surface(cut);
  cairo_surface_destroy(cut);
  // Pattern space is the cut's pixels; user space is the destination rectangle.
  cairo_matrix_t matrix;
  cairo_matrix_init_scale(&matrix, (right - left) / dw, (bottom - top) / dh);
  cairo_matrix_translate(&matrix, -dx, -dy);
  cairo_pattern_set_matrix(pattern, &matrix);
  cairo_pattern_set_extend(pattern, CAIRO_EXTEND_PAD);
  cairo_set_source(cr, pattern);
  cairo_pattern_destroy(pattern);
  cairo_rectangle(cr, dx, dy, dw, dh);
  cairo_clip(cr);
  cairo_paint_with_alpha(cr, impl_->state.alpha);
  cairo_restore(cr);
}

void GraphicsContext::setFill(const Paint& paint) {
  if (usablePaint(paint)) impl_->state.fill = paint;
}

void GraphicsContext::setStroke(const Paint& paint) {
  if (usablePaint(paint)) impl_->state.stroke = paint;
}

void GraphicsContext::setGlobalAlpha(double alpha) {
  if (std::isfinite(alpha)) impl_->state.alpha = std::clamp(alpha, 0.0, 1.0);
}

void GraphicsContext::setLineWidth(double width) {
  if (impl_->cr && std::isfinite(width) && width > 0) cairo_set_line_width(impl_->cr, width);
}

void GraphicsContext::setLineCap(LineCap cap) {
  static constexpr cairo_line_cap_t kCaps[] = {CAIRO_LINE_CAP_BUTT, CAIRO_LINE_CAP_ROUND,
                                               CAIRO_LINE_CAP_SQUARE};
  if (impl_->cr) cairo_set_line_cap(impl_->cr, kCaps[static_cast<int>(cap)]);
}

void GraphicsContext::setLineJoin(LineJoin join) {
  static constexpr cairo_line_join_t kJoins[] = {CAIRO_LINE_JOIN_MITER, CAIRO_LINE_JOIN_ROUND,
                                                 CAIRO_LINE_JOIN_BEVEL};
  if (impl_->cr) cairo_set_line_join(impl_->cr, kJoins[static_cast<int>(join)]);
}

void GraphicsContext::setMiterLimit(double limit) {
  if (impl_->cr && std::isfinite(limit) && limit > 0) cairo_set_miter_limit(impl_->cr, limit);
}

void GraphicsContext::setLineDash(const std::vector<double>& lengths, double offset) {
  if (!impl_->cr) return;
  bool usable = std::isfinite(offset) && !lengths.empty();
  bool anyPositive = false;
  for (double length : lengths) {
    if (!std::isfinite(length) || length < 0) usable = false;
    if (length > 0) anyPositive = true;
  }
  if (usable && anyPositive) {
    cairo_set_dash(impl_->cr, lengths.data(), static_cast<int>(lengths.size()), offset);
  } else {
    cairo_set_dash(impl_->cr, nullptr, 0, 0);
  }
}

BitmapRef GraphicsContext::finish() {
  if (!impl_->cr) return nullptr;
  impl_->releaseContext();
  if (!impl_->surface) return nullptr;
  cairo_surface_t* surface = std::exchange(impl_->surface, nullptr);
  return adoptSurface(surface);
}

}  // namespace talvero::graphics
