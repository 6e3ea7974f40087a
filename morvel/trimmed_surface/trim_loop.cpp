#include "morvel/trimmed_surface/trim_loop.h"

#include <algorithm>

#include "morvel/trimmed_surface/internal/polygon_winding.h"
#include "morvel/trimmed_surface/internal/sampled_loop.h"

namespace trova::geometry::trimmed_surface {
namespace {

constexpr int kIntersectionSamples = 20;  // a curve

Point3D endOf(const CurveOnSurface& curve) {
  return curve.evaluate(curve.getParameterInterval().end);
}

Point3D startOf(const CurveOnSurface& curve) {
  return curve.evaluate(curve.getParameterInterval().start);
}

/// Each curve ends where the next one begins, around the ring.
bool isRing(const std::vector<std::shared_ptr<CurveOnSurface>>& curves, double tolerance) {
  for (std::size_t i = 0; i < curves.size(); ++i) {
    const CurveOnSurface& next = *curves[(i + 1) % curves.size()];
    if (!(endOf(*curves[i]).distanceTo(startOf(next)) <= tolerance)) return false;
  }
  return true;
}

std::vector<Point2D> samplesOf(const TrimLoop& loop) {
  std::vector<Point2D> samples;
  for (const auto& curve : loop.curves) {
    if (!curve) continue;
    const std::vector<Point2D> line = internal::sampledCurve(*curve, kIntersectionSamples - 1);
    samples.insert(samples.end(), line.begin(), line.end());
  }
  return samples;
}

bool exceeds(const BoundingBox& inner, const BoundingBox& outer, double tolerance) {
  for (int axis = 0; axis < 3; ++axis) {
    if (inner.getMin()[axis] < outer.getMin()[axis] - tolerance ||
        inner.getMax()[axis] > outer.getMax()[axis] + tolerance)
      return true;
  }
  return false;
}

}  // namespace

bool TrimLoop::validate() const {
  if (curves.empty()) return !polygon.empty();
  const auto isSound = [](const auto& curve) { return curve && curve->isValid(); };
  if (!std::all_of(curves.begin(), curves.end(), isSound)) return false;
  // The ring includes the step from the last curve to the first, which `isClosed` asks for again.
  return curves.size() < 2 || isRing(curves, tolerance);
}

BoundingBox TrimLoop::getBoundingBox() const {
  if (boundsCacheValid) return cachedBounds;
  BoundingBox box;
  for (const auto& curve : curves) {
    if (curve) box.addBoundingBox(curve->getBoundingBox());
  }
  if (!curves.empty()) return box;
  for (const Point2D& p : polygon)
    box.addPoint({p.x(), p.y(), 0.0});
  return box;
}

void TrimLoop::updateBoundsCache() {
  boundsCacheValid = false;
  cachedBounds = getBoundingBox();
  boundsCacheValid = true;
}

bool TrimLoop::isPointInPolygon(const Point2D& p) const {
  if (polygon.size() < 3) return false;
  const Point2D closing[] = {polygon.back(), polygon.front()};
  return std::abs(internal::turnsAround(polygon, p) + internal::turnsAround(closing, p)) >
         internal::kInsideTurns;
}

double TrimLoop::computePolygonArea() const { return std::abs(computeSignedPolygonArea()); }
double TrimLoop::computeSignedPolygonArea() const { return internal::signedArea(polygon); }

void TrimLoop::ensureCorrectOrientation() {
  if (polygon.size() < 3) return;
  const double area = computeSignedPolygonArea();
  const bool isCorrect = isOuter ? area > 0.0 : area <= 0.0;
  if (!isCorrect) std::reverse(polygon.begin(), polygon.end());
}

bool TrimLoop::intersectsWithLoop(const TrimLoop& other, double within) const {
  if (!getBoundingBox().intersects(other.getBoundingBox())) return false;
  const std::vector<Point2D> own = samplesOf(*this);
  const std::vector<Point2D> others = samplesOf(other);
  for (const Point2D& a : own) {
    for (const Point2D& b : others) {
      if (a.distanceTo(b) <= within) return true;
    }
  }
  return false;
}

bool TrimLoop::containsLoop(const TrimLoop& other, double within) const {
  if (exceeds(other.getBoundingBox(), getBoundingBox(), within)) return false;
  for (const Point2D& p : other.polygon) {
    if (!isPointInPolygon(p)) return false;
  }
  return !intersectsWithLoop(other, within);
}

double TrimLoop::computeLength() const {
  double length = 0.0;
  if (!polygon.empty()) {
    for (std::size_t k = 0; k < polygon.size(); ++k)
      length += polygon[k].distanceTo(polygon[(k + 1) % polygon.size()]);
    return length;
  }
  for (const auto& curve : curves) {
    if (!curve) continue;
    const std::vector<Point2D> line = internal::sampledCurve(*curve, internal::kBoundarySteps);
    for (std::size_t k = 1; k < line.size(); ++k)
      length += line[k - 1].distanceTo(line[k]);
  }
  return length;
}

}  // namespace trova::geometry::trimmed_surface
