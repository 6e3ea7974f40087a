#include "morvel/curves/curve2d.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>

#include "morvel/curves/internal/closest_parameter.h"
#include "morvel/curves/internal/curve_checks.h"
#include "morvel/curves/internal/derivative_order.h"

namespace trova::geometry {
namespace {

constexpr int kClosestSamplesPerDegree = 8;

Point3D lifted(const Point2D& point) { return {point.x(), point.y(), 0.0}; }
Point2D flattened(const Eigen::Vector3d& point) { return {point.x(), point.y()}; }

std::vector<Point3D> lifted(const std::vector<Point2D>& points) {
  std::vector<Point3D> result;
  result.reserve(points.size());
  for (const Point2D& point : points)
    result.push_back(lifted(point));
  return result;
}

std::vector<Point2D> flattened(const std::vector<Point3D>& points) {
  std::vector<Point2D> result;
  result.reserve(points.size());
  for (const Point3D& point : points)
    result.push_back(flattened(point.eigen()));
  return result;
}

Point2D between(const Point2D& a, const Point2D& b, double t) { return a * (1.0 - t) + b * t; }

}  // namespace

ParametricCurve2D::~ParametricCurve2D() = default;

bool ParametricCurve2D::isClosed(const ToleranceContext& tolerance) const {
  const ParameterInterval interval = getParameterInterval();
  return evaluate(interval.start).isEqual(evaluate(interval.end), tolerance);
}

std::pair<std::unique_ptr<ParametricCurve2D>, std::unique_ptr<ParametricCurve2D>>
ParametricCurve2D::split(double t) const {
  const ParameterInterval interval = getParameterInterval();
  internal::requireSplitParameter(interval, t);
  return {trim(interval.start, t), trim(t, interval.end)};
}

std::vector<Point2D> ParametricCurve2D::tessellateUniform(int count) const {
  if (count < 2 || count > kMaxUniformPoints)
    throw std::invalid_argument("Point count out of range");
  const ParameterInterval interval = getParameterInterval();
  std::vector<Point2D> points;
  points.reserve(count);
  for (int i = 0; i + 1 < count; ++i)
    points.push_back(evaluate(interval.start + interval.length() * i / (count - 1)));
  points.push_back(evaluate(interval.end));
  return points;
}

BSplineCurve2D::BSplineCurve2D(const std::vector<Point2D>& controlPoints, std::vector<double> knots,
                               int degree)
    : curve_(lifted(controlPoints), std::move(knots), degree) {}

BSplineCurve2D::BSplineCurve2D(const Curve& curve)
    : curve_(static_cast<const BSplineCurve&>(curve)) {}

std::unique_ptr<ParametricCurve2D> BSplineCurve2D::clone() const {
  return std::make_unique<BSplineCurve2D>(*this);
}

ParameterInterval BSplineCurve2D::getParameterInterval() const {
  return curve_.getParameterInterval();
}

Point2D BSplineCurve2D::evaluate(double t) const { return flattened(curve_.evaluate(t).eigen()); }

std::vector<Point2D> BSplineCurve2D::evaluateDerivatives(double t, int order) const {
  std::vector<Point2D> result;
  for (const Vector3D& derivative : curve_.evaluateDerivatives(t, order))
    result.push_back(flattened(derivative.eigen()));
  return result;
}

double BSplineCurve2D::getClosestParameter(const Point2D& point) const {
  return internal::closestParameter(curve_, curve_.getBreaks(),
                                    kClosestSamplesPerDegree * std::max(1, getDegree()),
                                    lifted(point));
}

std::unique_ptr<ParametricCurve2D> BSplineCurve2D::trim(double t0, double t1) const {
  return std::unique_ptr<ParametricCurve2D>(new BSplineCurve2D(*curve_.trim(t0, t1)));
}

std::unique_ptr<ParametricCurve2D> BSplineCurve2D::reverse() const {
  return std::unique_ptr<ParametricCurve2D>(new BSplineCurve2D(*curve_.reverse()));
}

std::vector<Point2D> BSplineCurve2D::adaptiveTessellate(double tolerance) const {
  return flattened(curve_.adaptiveTessellate(tolerance));
}

std::vector<Point2D> BSplineCurve2D::getControlPoints() const {
  return flattened(curve_.getControlPoints());
}

LinearCurve2D::LinearCurve2D(const Point2D& start, const Point2D& end) : start_(start), end_(end) {
  internal::requireFinitePoint(lifted(start));
  internal::requireFinitePoint(lifted(end));
}

std::unique_ptr<ParametricCurve2D> LinearCurve2D::clone() const {
  return std::make_unique<LinearCurve2D>(*this);
}

bool LinearCurve2D::isValid() const { return start_.distanceTo(end_) > 0.0; }

Point2D LinearCurve2D::evaluate(double t) const { return between(start_, end_, t); }

std::vector<Point2D> LinearCurve2D::evaluateDerivatives(double t, int order) const {
  std::vector<Point2D> result(internal::zeroDerivatives(order).size());
  if (order >= 0) result[0] = evaluate(t);
  if (order >= 1) result[1] = end_ - start_;
  return result;
}

BoundingBox LinearCurve2D::getBoundingBox() const { return {lifted(start_), lifted(end_)}; }

double LinearCurve2D::getClosestParameter(const Point2D& point) const {
  internal::requireFinitePoint(lifted(point));
  const Eigen::Vector2d along = end_.eigen() - start_.eigen();
  const double squaredLength = along.squaredNorm();
  if (!(squaredLength > 0.0)) return 0.0;
  return std::clamp((point.eigen() - start_.eigen()).dot(along) / squaredLength, 0.0, 1.0);
}

std::unique_ptr<ParametricCurve2D> LinearCurve2D::trim(double t0, double t1) const {
  internal::requireTrimRange(getParameterInterval(), t0, t1);
  return std::make_unique<LinearCurve2D>(evaluate(t0), evaluate(t1));
}

std::unique_ptr<ParametricCurve2D> LinearCurve2D::reverse() const {
  return std::make_unique<LinearCurve2D>(end_, start_);
}

std::vector<Point2D> LinearCurve2D::adaptiveTessellate(double tolerance) const {
  internal::requireChordTolerance(tolerance);
  return {start_, end_};
}

IsoCurve2D::IsoCurve2D(IsoDirection direction, double value, double start, double end)
    : direction_(direction), value_(value), start_(start), end_(end) {
  internal::requireFinitePoint({value, start, end});
}

std::string IsoCurve2D::getTypeIdentifier() const {
  return direction_ == IsoDirection::ConstantU ? "IsoCurve2D_u" : "IsoCurve2D_v";
}

std::unique_ptr<ParametricCurve2D> IsoCurve2D::clone() const {
  return std::make_unique<IsoCurve2D>(*this);
}

bool IsoCurve2D::isValid() const { return start_ != end_; }

Point2D IsoCurve2D::inPlane(double constant, double varying) const {
  return direction_ == IsoDirection::ConstantU ? Point2D(constant, varying)
                                               : Point2D(varying, constant);
}

Point2D IsoCurve2D::evaluate(double t) const {
  return inPlane(value_, start_ * (1.0 - t) + end_ * t);
}

std::vector<Point2D> IsoCurve2D::evaluateDerivatives(double t, int order) const {
  return asLine().evaluateDerivatives(t, order);
}

BoundingBox IsoCurve2D::getBoundingBox() const { return asLine().getBoundingBox(); }

double IsoCurve2D::getClosestParameter(const Point2D& point) const {
  return asLine().getClosestParameter(point);
}

std::unique_ptr<ParametricCurve2D> IsoCurve2D::trim(double t0, double t1) const {
  internal::requireTrimRange(getParameterInterval(), t0, t1);
  const double length = end_ - start_;
  return std::make_unique<IsoCurve2D>(direction_, value_, start_ + t0 * length,
                                      t1 == 1.0 ? end_ : start_ + t1 * length);
}

std::unique_ptr<ParametricCurve2D> IsoCurve2D::reverse() const {
  return std::make_unique<IsoCurve2D>(direction_, value_, end_, start_);
}

std::vector<Point2D> IsoCurve2D::adaptiveTessellate(double tolerance) const {
  return asLine().adaptiveTessellate(tolerance);
}

}  // namespace trova::geometry
