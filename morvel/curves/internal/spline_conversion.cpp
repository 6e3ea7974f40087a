#include "morvel/curves/internal/spline_conversion.h"

#include <utility>

namespace trova::geometry::internal {
namespace {

constexpr int kPointDim = 3;
constexpr int kHomogeneousDim = 4;

std::vector<double> coordinatesOf(const std::vector<Point3D>& points) {
  std::vector<double> coords;
  coords.reserve(points.size() * kPointDim);
  for (const Point3D& point : points)
    coords.insert(coords.end(), {point.x(), point.y(), point.z()});
  return coords;
}

}  // namespace

SplineRows rowsOf(const BSplineCurve& curve) {
  return {curve.getDegree(), kPointDim, curve.getKnotVector(),
          coordinatesOf(curve.getControlPoints())};
}

SplineRows rowsOf(const NurbsCurve& curve) {
  SplineRows rows{curve.getDegree(), kHomogeneousDim, curve.getKnotVector(), {}};
  for (const HomogeneousPoint& point : curve.getHomogeneousPoints())
    rows.coords.insert(rows.coords.end(), point.begin(), point.end());
  return rows;
}

SplineRows rowsOf(const BezierCurve& curve) {
  const std::size_t count = static_cast<std::size_t>(curve.getControlPointCount());
  std::vector<double> knots(2 * count, 0.0);
  std::fill(knots.begin() + count, knots.end(), 1.0);
  return {curve.getDegree(), kPointDim, std::move(knots), coordinatesOf(curve.getControlPoints())};
}

std::vector<Point3D> pointsOf(const SplineRows& rows) {
  std::vector<Point3D> points;
  points.reserve(rows.count());
  for (const double* c = rows.coords.data(); c != rows.coords.data() + rows.coords.size();
       c += rows.dim)
    points.emplace_back(c[0], c[1], c[2]);
  return points;
}

std::unique_ptr<BSplineCurve> bsplineFrom(SplineRows rows) {
  return std::make_unique<BSplineCurve>(pointsOf(rows), std::move(rows.knots), rows.degree);
}

std::unique_ptr<NurbsCurve> nurbsFrom(SplineRows rows) {
  std::vector<Point3D> points = pointsOf(rows);
  std::vector<double> weights;
  weights.reserve(points.size());
  for (std::size_t i = 0; i < points.size(); ++i) {
    weights.push_back(rows.coords[(i + 1) * rows.dim - 1]);
    points[i] = points[i] / weights.back();
  }
  return std::make_unique<NurbsCurve>(std::move(points), std::move(weights), std::move(rows.knots),
                                      rows.degree);
}

}  // namespace trova::geometry::internal
