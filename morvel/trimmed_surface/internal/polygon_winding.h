#pragma once

#include <algorithm>
#include <cmath>
#include <numbers>
#include <span>

#include "morvel/foundation/point.h"

// Angle sums, crossing numbers and distances of polylines: the arithmetic under every
// classification, written once.

namespace trova::geometry::trimmed_surface::internal {

using foundation::Point2D;

/// A loop holds a point that sees more than half a turn of it.
inline constexpr double kInsideTurns = 0.5;

/// Twice the signed area of the triangle a, b, p: above 0 where p is left of a -> b.
inline double side(const Point2D& a, const Point2D& b, const Point2D& p) {
  return (b.x() - a.x()) * (p.y() - a.y()) - (p.x() - a.x()) * (b.y() - a.y());
}

/// The angle from a to b seen from p, in (-pi, pi].
inline double angleSeen(const Point2D& a, const Point2D& b, const Point2D& p) {
  const double ax = a.x() - p.x(), ay = a.y() - p.y();
  const double bx = b.x() - p.x(), by = b.y() - p.y();
  return std::atan2(ax * by - bx * ay, ax * bx + ay * by);
}

/// The turns that the polyline makes around p; a closed one repeats its first point at the end.
inline double turnsAround(std::span<const Point2D> line, const Point2D& p) {
  double sum = 0.0;
  for (std::size_t k = 0; k + 1 < line.size(); ++k)
    sum += angleSeen(line[k], line[k + 1], p);
  return sum / (2.0 * std::numbers::pi);
}

/// What the edge a -> b adds to the crossing number of p (+1 upward, -1 downward, half-open).
inline int crossing(const Point2D& a, const Point2D& b, const Point2D& p) {
  if (a.y() <= p.y()) return b.y() > p.y() && side(a, b, p) > 0.0 ? 1 : 0;
  return b.y() <= p.y() && side(a, b, p) < 0.0 ? -1 : 0;
}

/// How often the polygon (first point not repeated) winds around p; 0 for fewer than 3 points.
inline int windingNumber(std::span<const Point2D> polygon, const Point2D& p) {
  const std::size_t count = polygon.size();
  if (count < 3) return 0;
  int winding = 0;
  for (std::size_t k = 0; k < count; ++k)
    winding += crossing(polygon[k], polygon[k + 1 < count ? k + 1 : 0], p);
  return winding;
}

/// The squared distance of p from the edge; that from a where the edge is shorter than the root of
/// `shortest`.
inline double squaredEdgeDistance(const Point2D& a, const Point2D& b, const Point2D& p,
                                  double shortest) {
  const double dx = b.x() - a.x(), dy = b.y() - a.y();
  const double px = p.x() - a.x(), py = p.y() - a.y();
  const double squaredLength = dx * dx + dy * dy;
  if (!(squaredLength >= shortest) || squaredLength == 0.0) return px * px + py * py;
  const double share = std::clamp((px * dx + py * dy) / squaredLength, 0.0, 1.0);
  const double rx = px - share * dx, ry = py - share * dy;
  return rx * rx + ry * ry;
}

/// Whether p counts as on the edge.
inline bool isOnEdge(const Point2D& a, const Point2D& b, const Point2D& p,
                     double squaredTolerance) {
  return squaredEdgeDistance(a, b, p, squaredTolerance) <= squaredTolerance;
}

inline double signedArea(std::span<const Point2D> polygon) {
  if (polygon.size() < 3) return 0.0;
  double twice = 0.0;
  for (std::size_t k = 1; k + 1 < polygon.size(); ++k)
    twice += side(polygon[0], polygon[k], polygon[k + 1]);
  return twice / 2.0;
}

}  // namespace trova::geometry::trimmed_surface::internal
