#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/toolkit/geometry.h"
#include "ui/node.h"

namespace talvero {

// What a node's view draws around and behind its content beyond the layer's own look: corner
// rounding, clipping, side borders, a background image and background gradients. The state
// lives in the node's `extras`. Main thread only.

enum class BorderEdge : uint8_t { Top = 0, Right = 1, Bottom = 2, Left = 3 };

// One gradient paint layer as the view side holds it.
struct CUIGradientSpec {
  bool isRadial = false;
  float angle = 0;
  uint32_t shape = 0;
  uint32_t extent = 0;
  float cx = 0;
  float cy = 0;
  float rx = 0;
  float ry = 0;
  uint32_t rUnitX = 0;
  uint32_t rUnitY = 0;
  std::vector<toolkit::Color> colors;
  std::vector<double> locations;
};

// The view rounds with one radius, the largest of the four stored ones, on the corners whose
// radius is above 0 (all four when none is), capped at half the shorter side unless the
// bounds are still empty. Then `applyOverflowClipping`. Nothing without stored radii.
void applyCornerRadii(NodeProtocol& node);
// Children are clipped only by a rounded view whose `overflow` is not "visible".
void applyOverflowClipping(NodeProtocol& node);

// Side borders drawn over the content. Not built yet: the setters say so once and change
// nothing, and since no view ever gets border state the rest has nothing to act on.
void setBorderWidth(NodeProtocol& node, BorderEdge edge, float width);
void setBorderColor(NodeProtocol& node, BorderEdge edge, toolkit::Color color);
void resetBorderWidth(NodeProtocol& node, BorderEdge edge);
void resetBorderColor(NodeProtocol& node, BorderEdge edge);
void layoutBorders(NodeProtocol& node);

// Background images from a URL or a buffer ("id:<n>"), and their fit. Not built yet: each
// says so once and changes nothing.
void setBackgroundImage(NodeProtocol& node, const std::string& source);
void setBackgroundSize(NodeProtocol& node, const std::string& value);

// Background gradients. Not built yet: `setGradients` says so once and changes nothing, so no
// view holds paint layers for the other two to act on.
void setGradients(NodeProtocol& node, const std::vector<CUIGradientSpec>& paints);
void removeGradient(NodeProtocol& node);
void layoutGradient(NodeProtocol& node);

}  // namespace talvero
