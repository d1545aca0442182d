#pragma once

#include <vector>

namespace talvero::scene2d {

struct HullPoint {
  float x = 0, y = 0;
};

// Box2D's tolerance for lengths, in metres.
inline constexpr float kLinearSlop = 0.005f;

// The convex hull of 3 to 8 points, counter-clockwise, ready for a polygon shape: points
// within 4 slops of an earlier one are welded to it, and points within 2 slops of a hull edge
// are left out, so no edge is too short or too straight for the solver. Empty for fewer than 3
// or more than 8 points, any that is not finite, or a hull that collapses below 3 points.
std::vector<HullPoint> convexHull(const HullPoint* points, int count,
                                  float linearSlop = kLinearSlop);

// Whether a convex polygon's area, summed in floats over a fan of triangles from any of its
// corners, surely comes out above `least`: in double, with the rounding of each cross product
// allowed for. Box2D sums it so for its centroid and mass, and asserts on the result.
bool areaSurvivesRounding(const HullPoint* corners, int count, double least);

}  // namespace talvero::scene2d
