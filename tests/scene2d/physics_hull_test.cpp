#include "scene2d/physics_hull.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace talvero::scene2d {
namespace {

std::vector<HullPoint> hullOf(const std::vector<HullPoint>& points) {
  return convexHull(points.data(), static_cast<int>(points.size()));
}

double signedArea(const std::vector<HullPoint>& hull) {
  double area = 0;
  for (size_t i = 0; i < hull.size(); ++i) {
    const HullPoint a = hull[i], b = hull[(i + 1) % hull.size()];
    area += double(a.x) * b.y - double(b.x) * a.y;
  }
  return area / 2;
}

bool sameSet(std::vector<HullPoint> hull, std::vector<HullPoint> expected) {
  if (hull.size() != expected.size()) return false;
  for (const HullPoint& p : expected) {
    bool found = false;
    for (const HullPoint& q : hull) found = found || (p.x == q.x && p.y == q.y);
    if (!found) return false;
  }
  return true;
}

TEST(ConvexHull, KeepsTheCornersCounterClockwiseAndDropsWhatIsInsideOrOnAnEdge) {
  const std::vector<HullPoint> corners{{0, 0}, {2, 0}, {2, 1}, {0, 1}};
  // A concave six: a corner pushed in, and a point a hair outside the bottom edge.
  const std::vector<HullPoint> concave{{2, 1}, {1, 0.6f}, {0, 0}, {1, -0.004f}, {2, 0}, {0, 1}};
  for (const auto& points : {corners, concave}) {
    const std::vector<HullPoint> hull = hullOf(points);
    EXPECT_TRUE(sameSet(hull, corners)) << hull.size() << " points";
    EXPECT_NEAR(signedArea(hull), 2, 1e-6);  // positive: counter-clockwise
  }
  // A point 0.02 outside an edge is a corner of its own.
  EXPECT_EQ(hullOf({{0, 0}, {1, -0.02f}, {2, 0}, {2, 1}, {0, 1}}).size(), 5u);
}

TEST(ConvexHull, WeldsNearPointsAndRefusesWhatCannotMakeAPolygon) {
  // Within four slops of an earlier point a point is the same point.
  EXPECT_EQ(hullOf({{0, 0}, {0.015f, 0}, {1, 0}, {0, 1}}).size(), 3u);
  EXPECT_TRUE(hullOf({{0, 0}, {1, 0}}).empty());
  EXPECT_TRUE(hullOf(std::vector<HullPoint>(9, HullPoint{})).empty());
  EXPECT_TRUE(hullOf({{0, 0}, {1, 1}, {2, 2}}).empty());                          // in a line
  EXPECT_TRUE(hullOf({{0, 0}, {1, 1}, {2, 2.008f}}).empty());                     // nearly so
  EXPECT_TRUE(hullOf({{0, 0}, {0.01f, 0}, {0, 0.01f}, {0.01f, 0.01f}}).empty());  // a dot
  EXPECT_TRUE(hullOf({{0, 0}, {1, 0}, {NAN, 1}}).empty());
  EXPECT_TRUE(hullOf({{0, 0}, {1, 0}, {0, INFINITY}}).empty());
  // Eight points on a circle all stay.
  std::vector<HullPoint> circle;
  for (int i = 0; i < 8; ++i) {
    circle.push_back({std::cos(i * 0.785398f), std::sin(i * 0.785398f)});
  }
  EXPECT_EQ(hullOf(circle).size(), 8u);
}

TEST(ConvexHull, AnAreaIsTrustedOnlyWhenFloatRoundingCannotTakeItAway) {
  const auto survives = [](std::vector<HullPoint> corners) {
    return areaSurvivesRounding(corners.data(), static_cast<int>(corners.size()), 1e-7);
  };
  EXPECT_TRUE(survives({{0, 0}, {1, 0}, {0, 1}}));
  EXPECT_TRUE(survives({{0, 0}, {0.01f, 0}, {0.01f, 0.01f}, {0, 0.01f}}));
  // A long plank along an axis is exact whatever its length.
  EXPECT_TRUE(survives({{0, 0}, {1e6f, 0}, {1e6f, 0.01f}, {0, 0.01f}}));
  EXPECT_FALSE(survives({{0, 0}, {0.0003f, 0}, {0, 0.0003f}}));  // area below the least
  EXPECT_FALSE(survives({{0, 0}, {1, 1}, {2, 2}}));
  EXPECT_FALSE(survives({{0, 0}, {1, 0}}));
  // The same plank turned: its cross products are 1e12 and its area 1e4, so a float sum of
  // them could come out anywhere.
  const float c = 0.70710678f;
  EXPECT_FALSE(survives({{0, 0},
                         {1e6f * c, 1e6f * c},
                         {1e6f * c - 0.01f * c, 1e6f * c + 0.01f * c},
                         {-0.01f * c, 0.01f * c}}));
  // A clockwise outline has no positive area.
  EXPECT_FALSE(survives({{0, 0}, {0, 1}, {1, 0}}));
}

}  // namespace
}  // namespace talvero::scene2d
