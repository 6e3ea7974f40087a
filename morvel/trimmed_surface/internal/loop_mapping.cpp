#include "morvel/trimmed_surface/internal/loop_mapping.h"

#include <numbers>
#include <vector>

#include "morvel/foundation/knot_vector.h"

namespace trova::geometry::trimmed_surface::internal {
namespace {

// Of a curve of a class that is not known here; holds the samples of classification.
constexpr int kPolylinePoints = 401;

}  // namespace

Point2D PlaneMap::image(const Point2D& p) const {
  const double u = reversesU_ ? domain_.uMin + domain_.uMax - p.x() : p.x();
  const double v = reversesV_ ? domain_.vMin + domain_.vMax - p.y() : p.y();
  return swaps_ ? Point2D(v, u) : Point2D(u, v);
}

double PlaneMap::angle(double a) const {
  const double alongU = reversesU_ ? std::numbers::pi - a : a;
  const double alongV = reversesV_ ? -alongU : alongU;
  return swaps_ ? std::numbers::pi / 2.0 - alongV : alongV;
}

std::unique_ptr<ParametricCurve2D> PlaneMap::image(const ParametricCurve2D& curve) const {
  if (!reversesU_ && !reversesV_ && !swaps_) return curve.clone();
  if (const auto* circle = dynamic_cast<const CircularCurve2D*>(&curve))
    return std::make_unique<CircularCurve2D>(image(circle->getCenter()), circle->getRadius(),
                                             angle(circle->getStartAngle()),
                                             angle(circle->getEndAngle()));
  if (const auto* spline = dynamic_cast<const BSplineCurve2D*>(&curve)) {
    std::vector<Point2D> points = spline->getControlPoints();
    for (Point2D& p : points)
      p = image(p);
    return std::make_unique<BSplineCurve2D>(points, spline->getKnotVector(), spline->getDegree());
  }
  const ParameterInterval interval = curve.getParameterInterval();
  if (dynamic_cast<const LinearCurve2D*>(&curve) || dynamic_cast<const IsoCurve2D*>(&curve))
    return std::make_unique<LinearCurve2D>(image(curve.evaluate(interval.start)),
                                           image(curve.evaluate(interval.end)));
  std::vector<Point2D> points = curve.tessellateUniform(kPolylinePoints);
  for (Point2D& p : points)
    p = image(p);
  return std::make_unique<BSplineCurve2D>(
      points, foundation::nurbs::clampedUniformKnots(kPolylinePoints, 1), 1);
}

}  // namespace trova::geometry::trimmed_surface::internal
