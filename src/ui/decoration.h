#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/toolkit/geometry.h"
#include "platform/toolkit/layer.h"
#include "ui/node.h"

namespace talvero {

// What a node's view draws around and behind its content beyond the layer's own look: corner
// rounding, clipping, side borders, a background image and background gradients. The state
// lives in the node's `extras`. Main thread only.

enum class BorderEdge : uint8_t { Top = 0, Right = 1, Bottom = 2, Left = 3 };

// Side borders, indexed by `BorderEdge`. An edge has a layer only while it has both a width
// above 0 and a colour.
struct BorderState {
  std::array<float, 4> widths{0, 0, 0, 0};  // points, never negative
  std::array<std::optional<toolkit::Color>, 4> colors;
  std::array<std::shared_ptr<toolkit::Layer>, 4> layers;
};

// Corner radii in points: top left, top right, bottom left, bottom right.
struct CornerRadiusState {
  std::array<float, 4> radii{0, 0, 0, 0};
};

// One gradient paint layer as the view side holds it.
struct CUIGradientSpec {
  bool isRadial = false;
  float angle = 0;      // degrees, linear only: 0 runs upwards, 90 to the right
  uint32_t shape = 0;   // 0 ellipse, 1 circle
  uint32_t extent = 0;  // 0 farthest-corner, 1 closest-side, 2 closest-corner, 3 farthest-side,
                        // 4 the explicit radii
  float cx = 0;         // centre, as a fraction of the box
  float cy = 0;
  float rx = 0;
  float ry = 0;
  uint32_t rUnitX = 0;  // 0: rx in points, 1: a fraction of the width
  uint32_t rUnitY = 0;
  std::vector<toolkit::Color> colors;
  std::vector<double> locations;
};

// The view's paint layers behind its content, the first one on top, and what each paints.
struct GradientLayers {
  std::vector<std::shared_ptr<toolkit::Layer>> layers;
  std::vector<CUIGradientSpec> specs;
};

// The view rounds with one radius, the largest of the four stored ones, on the corners whose
// radius is above 0 (all four when none is), capped at half the shorter side unless the
// bounds are still empty. Then `applyOverflowClipping`. Nothing without stored radii.
void applyCornerRadii(NodeProtocol& node);
// Children are clipped only by a rounded view whose `overflow` is not "visible".
void applyOverflowClipping(NodeProtocol& node);

// Side borders, drawn inside the view over its content and its children; they take no room
// from layout. A negative width is stored as 0.
void setBorderWidth(NodeProtocol& node, BorderEdge edge, float width);
void setBorderColor(NodeProtocol& node, BorderEdge edge, toolkit::Color color);
// Both do nothing on a view that never had a side border.
void resetBorderWidth(NodeProtocol& node, BorderEdge edge);
void resetBorderColor(NodeProtocol& node, BorderEdge edge);
// Fits the edge layers to the bounds, making and dropping them as the state says.
void layoutBorders(NodeProtocol& node);

// The layer's contents from a buffer ("id:<n>", decoded at once) or from a URL (loaded, with
// the last load to finish winning); an empty source clears them. What cannot be loaded or
// decoded leaves the view as it was, and a load that ends after the node was removed is
// dropped.
void setBackgroundImage(NodeProtocol& node, const std::string& source);
// "contain" or "cover": how the image fits, for the present image and the next ones. Any other
// value changes nothing.
void setBackgroundSize(NodeProtocol& node, const std::string& value);

// Paint layers behind the content, one per gradient in order, the first on top. An empty list
// removes them.
void setGradients(NodeProtocol& node, const std::vector<CUIGradientSpec>& paints);
void removeGradient(NodeProtocol& node);
// Fits the paint layers to the bounds and the corners of the view, and places each gradient's
// start and end for that size.
void layoutGradient(NodeProtocol& node);

}  // namespace talvero
