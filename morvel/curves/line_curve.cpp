#include "morvel/curves/line_curve.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "morvel/curves/internal/curve_checks.h"
#include "morvel/curves/internal/derivative_order.h"
#include "morvel/curves/nurbs_curve.h"

namespace trova::geometry {
namespace {

/// Below this length (model units) a line has no extent. Not the geometric tolerance of a context,
/// though it has its default.
constexpr double kMinLineLength = 1e-4;

std::unique_ptr<LineCurve> makeLine(const Point3D& start, const Point3D& end) {
  return std::make_unique<LineCurve>(start, end);
}

}  // namespace

LineCurve::LineCurve(const Point3D& start, const Point3D& end) : start_(start), end_(end) {
  internal::requireFinitePoint(start);
  internal::requireFinitePoint(end);
}

std::unique_ptr<Curve> LineCurve::clone() const { return std::make_unique<LineCurve>(*this); }

bool LineCurve::isValid() const { return start_.distanceTo(end_) > kMinLineLength; }

bool LineCurve::isClosed(const ToleranceContext& tolerance) const {
  return start_.isEqual(end_, tolerance);
}

Point3D LineCurve::evaluate(double t) const {
  if (t >= 1.0) return end_;  // not the sum below, which rounding may miss it by
  return start_ + getDirection() * std::clamp(t, 0.0, 1.0);
}

std::vector<Vector3D> LineCurve::evaluateDerivatives(double t, int order) const {
  std::vector<Vector3D> derivatives = internal::zeroDerivatives(order);
  if (order >= 0) derivatives[0] = evaluate(t) - Point3D::origin();
  if (order > 0) derivatives[1] = getDirection();
  return derivatives;
}

BoundingBox LineCurve::getBoundingBox() const { return {start_, end_}; }

double LineCurve::getClosestParameter(const Point3D& point) const {
  internal::requireFinitePoint(point);
  const Vector3D direction = getDirection();
  const double squaredLength = direction.squaredMagnitude();
  if (!(squaredLength > 0.0)) return 0.0;
  return std::clamp((point - start_).dot(direction) / squaredLength, 0.0, 1.0);
}

double LineCurve::getArcLength(double t0, double t1) const {
  const double share = std::clamp(t1, 0.0, 1.0) - std::clamp(t0, 0.0, 1.0);
  return start_.distanceTo(end_) * std::abs(share);
}

std::unique_ptr<Curve> LineCurve::transform(const Transform3D& transform) const {
  return makeLine(transform.transform(start_), transform.transform(end_));
}

std::unique_ptr<Curve> LineCurve::trim(double t0, double t1) const {
  internal::requireTrimRange(getParameterInterval(), t0, t1);
  return makeLine(evaluate(t0), evaluate(t1));
}

std::pair<std::unique_ptr<Curve>, std::unique_ptr<Curve>> LineCurve::split(double t) const {
  internal::requireSplitParameter(getParameterInterval(), t);
  const Point3D middle = evaluate(t);
  return {makeLine(start_, middle), makeLine(middle, end_)};
}

std::unique_ptr<Curve> LineCurve::reverse() const { return makeLine(end_, start_); }

std::unique_ptr<Curve> LineCurve::extend(double length, CurveEnd end, ExtensionMode) const {
  internal::requireExtensionLength(length);
  const Vector3D direction = getDirection().normalized();
  if (!(direction.squaredMagnitude() > 0.0))
    throw std::invalid_argument("Line has no direction to extend along");
  return end == CurveEnd::End ? makeLine(start_, end_ + direction * length)
                              : makeLine(start_ - direction * length, end_);
}

std::unique_ptr<Curve> LineCurve::offset(double distance, const Vector3D& planeNormal) const {
  internal::requireOffsetDistance(distance);
  const Vector3D normal = internal::requirePlaneNormal(planeNormal);
  const Vector3D side = normal.cross(getDirection().normalized()).normalized();
  if (!(side.squaredMagnitude() > 0.0))
    throw std::invalid_argument("Line has no side in a plane perpendicular to it");
  return makeLine(start_ + side * distance, end_ + side * distance);
}

std::vector<Point3D> LineCurve::adaptiveTessellate(double tolerance) const {
  internal::requireChordTolerance(tolerance);
  return {start_, end_};
}

void LineCurve::applyTransformToGeometry(const Transform3D& transform) {
  const LineCurve image(transform.transform(start_), transform.transform(end_));
  start_ = image.start_;
  end_ = image.end_;
}

std::unique_ptr<NurbsCurve> LineCurve::toNurbs() const {
  return std::make_unique<NurbsCurve>(std::vector<Point3D>{start_, end_},
                                      std::vector<double>{1.0, 1.0},
                                      std::vector<double>{0.0, 0.0, 1.0, 1.0}, 1);
}

}  // namespace trova::geometry
