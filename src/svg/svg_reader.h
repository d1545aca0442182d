#pragma once

// The SVG reader: markup in, the reader's image out. The image keeps the shape of what common
// SVG readers such as NanoSVG give (flat float point lists of cubics, colours packed red in the
// low byte, paint type numbers, gradients by their inverse placement), so that the model's
// extraction reads it the same way whatever produced it. Lengths come out in pixels at 96 DPI.

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace talvero::svg_reader {

inline constexpr int kPaintNone = 0;
inline constexpr int kPaintColor = 1;
inline constexpr int kPaintLinearGradient = 2;
inline constexpr int kPaintRadialGradient = 3;

inline constexpr int kSpreadPad = 0;
inline constexpr int kSpreadReflect = 1;
inline constexpr int kSpreadRepeat = 2;

inline constexpr int kJoinMiter = 0;
inline constexpr int kJoinRound = 1;
inline constexpr int kJoinBevel = 2;

inline constexpr int kCapButt = 0;
inline constexpr int kCapRound = 1;
inline constexpr int kCapSquare = 2;

inline constexpr int kFillRuleNonZero = 0;
inline constexpr int kFillRuleEvenOdd = 1;

inline constexpr int kMaxDashes = 8;

// 0xAABBGGRR.
constexpr uint32_t packRgb(uint32_t red, uint32_t green, uint32_t blue) {
  return red | (green << 8) | (blue << 16);
}

struct ReaderGradientStop {
  uint32_t color = 0;
  float offset = 0;
};

struct ReaderGradient {
  std::array<float, 6> xform{};
  int spread = kSpreadPad;
  float fx = 0;
  float fy = 0;
  // Not in NanoSVG's image: the focal point less the centre, in radii, before any transform.
  // `fx` and `fy` alone cannot give it once a transform is applied, and an unwritten focus
  // (which SVG puts at the centre) is 0 there.
  float focusFromCentreX = 0;
  float focusFromCentreY = 0;
  std::vector<ReaderGradientStop> stops;
};

struct ReaderPaint {
  int type = kPaintNone;
  uint32_t color = 0;
  // Present for the gradient types; a hand-made image may leave it out.
  std::optional<ReaderGradient> gradient;
};

struct ReaderPath {
  // x0, y0, then per cubic: control 1, control 2, end.
  std::vector<float> points;
  bool closed = false;
  std::array<float, 4> bounds{};  // min x, min y, max x, max y
  int pointCount() const { return static_cast<int>(points.size() / 2); }
};

struct ReaderShape {
  ReaderPaint fill;
  ReaderPaint stroke;
  float opacity = 1;
  float strokeWidth = 1;
  float strokeDashOffset = 0;
  std::array<float, kMaxDashes> strokeDashArray{};
  int strokeDashCount = 0;
  int strokeLineJoin = kJoinMiter;
  int strokeLineCap = kCapButt;
  float miterLimit = 4;
  int fillRule = kFillRuleNonZero;
  bool visible = true;
  std::array<float, 4> bounds{};
  // The last subpath of the element comes first.
  std::vector<ReaderPath> paths;
};

struct ReaderImage {
  float width = 0;
  float height = 0;
  std::vector<ReaderShape> shapes;
};

// Reads as much of `markup` as it can; never fails. The text is read, never written.
ReaderImage readImage(std::string_view markup);

}  // namespace talvero::svg_reader
