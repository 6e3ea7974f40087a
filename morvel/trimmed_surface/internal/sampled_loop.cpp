#include "morvel/trimmed_surface/internal/sampled_loop.h"

#include "morvel/trimmed_surface/internal/polygon_winding.h"

namespace trova::geometry::trimmed_surface::internal {
namespace {

std::vector<Point2D> closedPolygon(const std::vector<Point2D>& polygon) {
  std::vector<Point2D> closed = polygon;
  if (!polygon.empty()) closed.push_back(polygon.front());
  return closed;
}

BoundingBox boxOf(const Polylines& a, const Polylines& b) {
  BoundingBox box;
  for (const Polylines* lines : {&a, &b}) {
    for (const Point2D& p : lines->points())
      box.addPoint({p.x(), p.y(), 0.0});
  }
  return box;
}

}  // namespace

std::vector<Point2D> sampledCurve(const CurveOnSurface& curve, int steps) {
  const auto interval = curve.getParameterInterval();
  std::vector<Point2D> line;
  line.reserve(static_cast<std::size_t>(steps) + 1);
  for (int k = 0; k <= steps; ++k) {
    const double t = interval.start + (interval.end - interval.start) * k / steps;
    line.push_back(curve.getUVCoordinates(t));
  }
  return line;
}

void Polylines::add(std::span<const Point2D> line) {
  points_.insert(points_.end(), line.begin(), line.end());
  ends_.push_back(points_.size());
}

SampledLoop::SampledLoop(const TrimLoop& loop)
    : isOuterLike(internal::isOuterLike(loop)),
      isHoleLike(internal::isHoleLike(loop)),
      sharesEdges(loop.curves.empty() && loop.polygon.size() > 2) {
  for (const auto& curve : loop.curves) {
    if (!curve) continue;
    winding.add(sampledCurve(*curve, kWindingSteps));
    boundary.add(sampledCurve(*curve, kBoundarySteps));
  }
  if (loop.curves.empty() && loop.polygon.size() > 1) {
    const std::vector<Point2D> ring = closedPolygon(loop.polygon);
    boundary.add(ring);
    if (sharesEdges) winding.add(ring);
  }
  box = boxOf(winding, boundary);
}

double SampledLoop::turnsAround(const Point2D& p) const {
  double turns = 0.0;
  for (std::size_t k = 0; k < winding.count(); ++k)
    turns += internal::turnsAround(winding.line(k), p);
  return turns;
}

bool SampledLoop::isOnBoundary(const Point2D& p, double tolerance) const {
  const double squared = tolerance * tolerance;
  bool isOn = false;
  boundary.forEachEdge(
      [&](const Point2D& a, const Point2D& b) { isOn = isOn || isOnEdge(a, b, p, squared); });
  return isOn;
}

}  // namespace trova::geometry::trimmed_surface::internal
