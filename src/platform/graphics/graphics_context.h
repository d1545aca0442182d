#pragma once

#include <memory>
#include <vector>

#include "platform/graphics/bitmap.h"
#include "platform/graphics/paint.h"
#include "platform/graphics/text_line.h"

namespace talvero::graphics {

enum class FillRule { NonZero, EvenOdd };
enum class LineCap { Butt, Round, Square };
enum class LineJoin { Miter, Round, Bevel };

// A drawing context over a new bitmap that starts cleared. User space has y running down and
// one unit is `scale` pixels. The state that `save` and `restore` cover is the transform, the
// clip, the line settings, the fill and stroke paints and the global alpha; the path being
// built is not part of it. Bad arguments (not finite, a singular transform, a bad dash) never
// leave the context unusable: they are ignored, or drawing pauses until the matching restore.
class GraphicsContext {
 public:
  // Null when the size breaks the pixel limit, the scale is not positive and finite, or the
  // bitmap cannot be allocated.
  static std::unique_ptr<GraphicsContext> create(int pixelWidth, int pixelHeight, double scale);
  // The drawing library's own context, for the platform's files that hold one (native_target.h).
  struct NativeTarget;
  // A context drawing into `target` in its present user space and clip. The target stays its
  // owner's: the context gives it back, in the state it had at the start, when it goes away
  // (or at `finish`, which then gives null). Null when the target is unusable.
  static std::unique_ptr<GraphicsContext> drawingInto(const NativeTarget& target);
  ~GraphicsContext();
  GraphicsContext(const GraphicsContext&) = delete;
  GraphicsContext& operator=(const GraphicsContext&) = delete;

  int pixelWidth() const;  // 0 when drawing into a native target
  int pixelHeight() const;

  void save();
  void restore();  // without a matching save, nothing

  // A transform that would make user space singular or not finite is not applied; instead
  // nothing draws until the restore that matches the last save before it.
  void translate(double x, double y);
  void scale(double x, double y);
  void rotate(double radians);
  // Multiplies by the matrix [a c e; b d f; 0 0 1], in the order of a canvas's `transform`.
  void concat(double a, double b, double c, double d, double e, double f);

  void beginPath();
  void moveTo(double x, double y);
  void lineTo(double x, double y);
  void quadTo(double cx, double cy, double x, double y);
  void cubicTo(double c1x, double c1y, double c2x, double c2y, double x, double y);
  // `directionFlag` as a canvas program carries it: 0 sweeps towards decreasing angles, any
  // other value towards increasing ones. A sweep longer than a full turn draws one turn.
  void arc(double cx, double cy, double radius, double startAngle, double endAngle,
           double directionFlag);
  void rect(double x, double y, double width, double height);
  void closePath();

  // Fill, stroke and clip use up the path being built.
  void fill(FillRule rule = FillRule::NonZero);
  void stroke();
  void clip(FillRule rule = FillRule::NonZero);
  // Covers the whole clip with `paint`, as a clip-then-paint of a shape.
  void paint(const Paint& paint);

  // These leave the path being built as it was.
  void fillRect(double x, double y, double width, double height);
  void strokeRect(double x, double y, double width, double height);
  void clearRect(double x, double y, double width, double height);  // transparent, any alpha
  // The baseline's left end at (x, y).
  void fillText(const TextLine& line, double x, double y);
  void strokeText(const TextLine& line, double x, double y);
  // Cuts (sx, sy, sw, sh), in the source's pixels, out of `source` (rounded outwards to whole
  // pixels and kept inside it) and stretches it over exactly the destination rectangle; its
  // edges are extended, not faded, when scaled.
  void drawBitmap(const Bitmap& source, double sx, double sy, double sw, double sh, double dx,
                  double dy, double dw, double dh);

  void setFill(const Paint& paint);
  void setStroke(const Paint& paint);
  void setGlobalAlpha(double alpha);  // clamped to 0 to 1; not finite: ignored
  void setLineWidth(double width);    // starts at 1; not positive and finite: ignored
  void setLineCap(LineCap cap);
  void setLineJoin(LineJoin join);
  void setMiterLimit(double limit);  // not positive and finite: ignored
  // Negative, not finite or all-zero lengths mean a solid line.
  void setLineDash(const std::vector<double>& lengths, double offset);

  // Ends drawing and hands over the bitmap; later calls on the context do nothing and a second
  // `finish` gives null.
  BitmapRef finish();

 private:
  // The line filled with the fill paint, or its outline stroked with the stroke paint.
  void drawText(const TextLine& line, double x, double y, bool outline);
  struct Impl;
  explicit GraphicsContext(std::unique_ptr<Impl> impl);
  std::unique_ptr<Impl> impl_;
};

}  // namespace talvero::graphics
