#include "morvel/curves/curve_factory.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "morvel/curves/bezier_curve.h"
#include "morvel/curves/bspline_curve.h"
#include "morvel/curves/circle_curve.h"
#include "morvel/curves/ellipse_curve.h"
#include "morvel/curves/internal/curve_checks.h"
#include "morvel/curves/line_curve.h"
#include "morvel/curves/nurbs_curve.h"
#include "morvel/foundation/checked_count.h"
#include "morvel/foundation/knot_vector.h"

namespace trova::geometry {
namespace {

// Three points span a plane where the sine of the angle between them is above this.
constexpr double kMinArcSine = 1e-9;

void require(bool condition, const char* message) {
  if (!condition) throw std::invalid_argument(message);
}

void requireFinitePoints(const std::vector<Point3D>& points) {
  require(std::all_of(points.begin(), points.end(), [](const Point3D& p) { return p.isFinite(); }),
          "Control points must be finite");
}

void requireEnoughPoints(const std::vector<Point3D>& points, int degree) {
  require(degree >= 1, "Degree must be at least 1");
  require(points.size() > static_cast<std::size_t>(degree),
          "Insufficient control points for B-spline degree");
  requireFinitePoints(points);
}

void requireSplineData(const std::vector<Point3D>& points, const std::vector<double>& knots,
                       int degree) {
  requireEnoughPoints(points, degree);
  const auto count = static_cast<std::int64_t>(points.size());
  require(static_cast<std::int64_t>(knots.size()) == foundation::knotCountFor(count, degree),
          "Invalid knot vector size");
  require(foundation::nurbs::isNonDecreasing(knots),
          "Knot vector must be finite and non-decreasing");
}

void requireArc(double radius, double startAngle, double endAngle) {
  require(radius > 0.0, "Radius must be positive");
  require(startAngle != endAngle, "Arc angles must differ");
}

Vector3D axisOr(const Vector3D& normal) {
  return foundation::unitOr(normal, foundation::kMinDirectionLength, Vector3D::unitZ());
}

// The center relative to the first point, from the arms a and b to the other two.
Vector3D circumcenter(const Vector3D& a, const Vector3D& b, const Vector3D& normal) {
  const Vector3D towards = b * a.squaredMagnitude() - a * b.squaredMagnitude();
  return towards.cross(normal) / (2.0 * normal.squaredMagnitude());
}

}  // namespace

std::unique_ptr<Curve> CurveFactory::createLine(const Point3D& start, const Point3D& end) {
  return std::make_unique<LineCurve>(start, end);
}

std::unique_ptr<Curve> CurveFactory::createCircle(const Point3D& center, double radius,
                                                  const Vector3D& normal,
                                                  const Vector3D& startDirection) {
  if (!(radius > 0.0) || !std::isfinite(radius) || !center.isFinite()) return nullptr;
  require(normal.isFinite() && startDirection.isFinite(), "Circle directions must be finite");
  return std::make_unique<CircleCurve>(center, axisOr(normal), startDirection, radius);
}

std::unique_ptr<Curve> CurveFactory::createArc(const Point3D& center, double radius,
                                               const Vector3D& normal,
                                               const Vector3D& startDirection, double startAngle,
                                               double endAngle) {
  requireArc(radius, startAngle, endAngle);
  require(normal.isFinite(), "Circle directions must be finite");
  return std::make_unique<CircleCurve>(center, axisOr(normal), startDirection, radius, startAngle,
                                       endAngle);
}

std::unique_ptr<Curve> CurveFactory::createArcThreePoints(const Point3D& first,
                                                          const Point3D& second,
                                                          const Point3D& third) {
  const Vector3D a = second - first;
  const Vector3D b = third - first;
  const Vector3D normal = a.cross(b);
  const double size = a.magnitude() * b.magnitude();
  require(normal.isFinite() && normal.magnitude() > kMinArcSine * size,
          "Three points on a line have no arc");
  const Vector3D toCenter = circumcenter(a, b, normal);
  const Vector3D unit = normal / normal.magnitude();
  const double radius = toCenter.magnitude();
  const Vector3D start = -toCenter / radius;
  const Vector3D end = b - toCenter;
  const double angle = std::atan2(end.dot(unit.cross(start)), end.dot(start));
  return std::make_unique<CircleCurve>(first + toCenter, unit, start, radius, 0.0,
                                       angle > 0.0 ? angle : angle + kFullTurn);
}

std::unique_ptr<Curve> CurveFactory::createEllipse(const Point3D& center, const Vector3D& majorAxis,
                                                   const Vector3D& normal, double semiMajor,
                                                   double semiMinor, double startAngle,
                                                   double endAngle) {
  require(semiMajor > 0.0 && semiMinor > 0.0, "Semi-axes must be positive");
  require(majorAxis.magnitude() >= foundation::kMinDirectionLength, "Major axis has no direction");
  require(startAngle != endAngle, "Arc angles must differ");
  return std::make_unique<EllipseCurve>(center, majorAxis, normal, semiMajor, semiMinor, startAngle,
                                        endAngle);
}

std::unique_ptr<Curve> CurveFactory::createBezier(const std::vector<Point3D>& points) {
  requireFinitePoints(points);
  return std::make_unique<BezierCurve>(points);
}

std::unique_ptr<Curve> CurveFactory::createBSpline(const std::vector<Point3D>& points,
                                                   const std::vector<double>& knots, int degree) {
  requireSplineData(points, knots, degree);
  return std::make_unique<BSplineCurve>(points, knots, degree);
}

std::unique_ptr<Curve> CurveFactory::createClampedBSpline(const std::vector<Point3D>& points,
                                                          int degree) {
  requireEnoughPoints(points, degree);
  return BSplineCurve::createClamped(points, degree);
}

std::unique_ptr<Curve> CurveFactory::createUniformBSpline(const std::vector<Point3D>& points,
                                                          int degree) {
  requireEnoughPoints(points, degree);
  return BSplineCurve::createUniform(points, degree);
}

std::unique_ptr<Curve> CurveFactory::createNurbs(const std::vector<Point3D>& points,
                                                 const std::vector<double>& weights,
                                                 const std::vector<double>& knots, int degree) {
  requireSplineData(points, knots, degree);
  require(weights.size() == points.size(), "NURBS needs one weight per control point");
  require(std::all_of(weights.begin(), weights.end(),
                      [](double w) { return w > 0.0 && std::isfinite(w); }),
          "NURBS weights must be positive");
  return std::make_unique<NurbsCurve>(points, weights, knots, degree);
}

}  // namespace trova::geometry
