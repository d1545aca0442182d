#include "scene2d/physics_hull.h"

#include <cmath>

namespace talvero::scene2d {

namespace {

constexpr int kMaxPoints = 8;

HullPoint minus(HullPoint a, HullPoint b) {
  return {a.x - b.x, a.y - b.y};
}
float cross(HullPoint a, HullPoint b) {
  return a.x * b.y - a.y * b.x;
}
float lengthSquared(HullPoint a) {
  return a.x * a.x + a.y * a.y;
}

// How far p lies to the right of the line from a along the unit direction e.
float rightOf(HullPoint p, HullPoint a, HullPoint e) {
  return cross(minus(p, a), e);
}

HullPoint unitFrom(HullPoint a, HullPoint b) {
  const HullPoint d = minus(b, a);
  const float length = std::sqrt(lengthSquared(d));
  return length > 0 ? HullPoint{d.x / length, d.y / length} : HullPoint{};
}

// The hull points strictly to the right of the edge a → b, in order from a to b: quickhull
// takes the farthest point and recurses on the two edges it makes. Points within `tolerance`
// of an edge are dropped.
void hullRightOf(HullPoint a, HullPoint b, const std::vector<HullPoint>& points, float tolerance,
                 std::vector<HullPoint>& out) {
  if (points.empty()) return;
  const HullPoint e = unitFrom(a, b);
  int farthest = -1;
  float best = tolerance;
  for (int i = 0; i < static_cast<int>(points.size()); ++i) {
    const float distance = rightOf(points[i], a, e);
    if (distance > best) {
      best = distance;
      farthest = i;
    }
  }
  if (farthest < 0) return;
  const HullPoint c = points[farthest];
  std::vector<HullPoint> rightOfAc, rightOfCb;
  const HullPoint e1 = unitFrom(a, c), e2 = unitFrom(c, b);
  for (int i = 0; i < static_cast<int>(points.size()); ++i) {
    if (i == farthest) continue;
    if (rightOf(points[i], a, e1) > tolerance) {
      rightOfAc.push_back(points[i]);
    } else if (rightOf(points[i], c, e2) > tolerance) {
      rightOfCb.push_back(points[i]);
    }
  }
  hullRightOf(a, c, rightOfAc, tolerance, out);
  out.push_back(c);
  hullRightOf(c, b, rightOfCb, tolerance, out);
}

// Drops each point that lies within `tolerance` of the line through its neighbours, until none
// does.
void dropStraightPoints(std::vector<HullPoint>& hull, float tolerance) {
  bool dropped = true;
  while (dropped && hull.size() >= 3) {
    dropped = false;
    const size_t n = hull.size();
    for (size_t i = 0; i < n; ++i) {
      const HullPoint before = hull[(i + n - 1) % n], after = hull[(i + 1) % n];
      const HullPoint e = unitFrom(before, after);
      if (std::fabs(rightOf(hull[i], before, e)) <= tolerance) {
        hull.erase(hull.begin() + static_cast<long>(i));
        dropped = true;
        break;
      }
    }
  }
}

}  // namespace

std::vector<HullPoint> convexHull(const HullPoint* points, int count, float linearSlop) {
  if (count < 3 || count > kMaxPoints) return {};
  const float weldSquared = 16 * linearSlop * linearSlop;
  std::vector<HullPoint> welded;
  for (int i = 0; i < count; ++i) {
    if (!std::isfinite(points[i].x) || !std::isfinite(points[i].y)) return {};
    bool unique = true;
    for (const HullPoint& kept : welded) {
      if (lengthSquared(minus(points[i], kept)) < weldSquared) {
        unique = false;
        break;
      }
    }
    if (unique) welded.push_back(points[i]);
  }
  if (welded.size() < 3) return {};

  // The leftmost point (the lowest of equals) is on the hull; so is the point farthest from it.
  int first = 0;
  for (int i = 1; i < static_cast<int>(welded.size()); ++i) {
    const HullPoint p = welded[i], q = welded[first];
    if (p.x < q.x || (p.x == q.x && p.y < q.y)) first = i;
  }
  const HullPoint a = welded[first];
  int second = -1;
  float farthest = 0;
  for (int i = 0; i < static_cast<int>(welded.size()); ++i) {
    const float distance = lengthSquared(minus(welded[i], a));
    if (i != first && distance > farthest) {
      farthest = distance;
      second = i;
    }
  }
  if (second < 0) return {};
  const HullPoint b = welded[second];

  const float tolerance = 2 * linearSlop;
  const HullPoint e = unitFrom(a, b);
  std::vector<HullPoint> right, left;
  for (int i = 0; i < static_cast<int>(welded.size()); ++i) {
    if (i == first || i == second) continue;
    const float distance = rightOf(welded[i], a, e);
    if (distance > tolerance) {
      right.push_back(welded[i]);
    } else if (distance < -tolerance) {
      left.push_back(welded[i]);
    }
  }
  // Counter-clockwise with y up: from a along the right-hand side of a → b (below it) to b,
  // then back along the other side.
  std::vector<HullPoint> hull{a};
  hullRightOf(a, b, right, tolerance, hull);
  hull.push_back(b);
  hullRightOf(b, a, left, tolerance, hull);
  dropStraightPoints(hull, tolerance);
  if (hull.size() < 3) return {};
  return hull;
}

bool areaSurvivesRounding(const HullPoint* corners, int count, double least) {
  if (count < 3) return false;
  // Sixteen units of a float's last place: each product's rounding, the differences' and the sum's.
  constexpr double kRounding = 0x1p-20;
  for (int from = 0; from < count; ++from) {
    const HullPoint s = corners[from];
    double area = 0, magnitude = 0;
    for (int k = 1; k + 1 < count; ++k) {
      const HullPoint p = corners[(from + k) % count], q = corners[(from + k + 1) % count];
      const double e1x = double(p.x) - s.x, e1y = double(p.y) - s.y;
      const double e2x = double(q.x) - s.x, e2y = double(q.y) - s.y;
      area += 0.5 * (e1x * e2y - e1y * e2x);
      magnitude += 0.5 * (std::fabs(e1x * e2y) + std::fabs(e1y * e2x));
    }
    if (!(area - kRounding * magnitude > least)) return false;
  }
  return true;
}

}  // namespace talvero::scene2d
