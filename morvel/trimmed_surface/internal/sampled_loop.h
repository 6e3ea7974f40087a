#pragma once

#include <span>
#include <vector>

#include "morvel/trimmed_surface/trim_loop.h"

// A loop as the polylines that classification looks at, sampled once.

namespace trova::geometry::trimmed_surface::internal {

/// Equal parameter steps a curve: for the turns around a point, and for the distance from it.
inline constexpr int kWindingSteps = 50;
inline constexpr int kBoundarySteps = 100;

/// `steps` + 1 points (u, v) at equal parameter steps.
std::vector<Point2D> sampledCurve(const CurveOnSurface& curve, int steps);

/// Polylines one behind the other.
class Polylines {
 public:
  void add(std::span<const Point2D> line);
  std::size_t count() const { return ends_.size(); }
  std::span<const Point2D> line(std::size_t k) const {
    const std::size_t begin = k == 0 ? 0 : ends_[k - 1];
    return std::span(points_).subspan(begin, ends_[k] - begin);
  }
  const std::vector<Point2D>& points() const { return points_; }

  /// visit(a, b) for every edge.
  template <class Visit>
  void forEachEdge(Visit&& visit) const {
    for (std::size_t k = 0; k < count(); ++k) {
      const std::span<const Point2D> points = line(k);
      for (std::size_t i = 0; i + 1 < points.size(); ++i)
        visit(points[i], points[i + 1]);
    }
  }

 private:
  std::vector<Point2D> points_;
  std::vector<std::size_t> ends_;
};

/// Type 0, or in the role of an outer loop.
inline bool isOuterLike(const TrimLoop& loop) {
  return loop.type == kOuterBoundary || loop.isOuter;
}
/// Type 1, or in the role of an inner loop and not of type 0. A loop can be both.
inline bool isHoleLike(const TrimLoop& loop) {
  return loop.type == kInnerHole || (!loop.isOuter && loop.type != kOuterBoundary);
}

/// With curves, one polyline each; else the closed polygon, which has no turns with fewer than 3
/// points and no edges with fewer than 2.
struct SampledLoop {
  explicit SampledLoop(const TrimLoop& loop);

  bool isOuterLike;
  bool isHoleLike;
  bool sharesEdges;  ///< `winding` and `boundary` are the same edges
  Polylines winding;
  Polylines boundary;
  BoundingBox box;  ///< of both, in (u, v), z = 0

  /// By the sum of all angles, edge for edge.
  double turnsAround(const Point2D& p) const;
  bool isOnBoundary(const Point2D& p, double tolerance) const;
};

}  // namespace trova::geometry::trimmed_surface::internal
