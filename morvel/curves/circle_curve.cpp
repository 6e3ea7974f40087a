#include "morvel/curves/circle_curve.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "morvel/curves/internal/conic_arc.h"
#include "morvel/curves/internal/curve_checks.h"
#include "morvel/curves/internal/derivative_order.h"
#include "morvel/curves/nurbs_curve.h"
#include "morvel/curves/offset_curve.h"
#include "morvel/foundation/affine_maps.h"

namespace trova::geometry {
namespace {

constexpr double kMinRadius = 1e-4;            // model units; a circle has to be larger
constexpr double kMinNormalLength = 1e-4;      // and its normal longer
constexpr double kFullCircleTolerance = 1e-6;  // radians

// Relative differences up to this are rounding: between the images of two axes under a map that
// keeps the circle circular, and between two directions that are the same.
constexpr double kShapeTolerance = 1e-9;

Vector3D perpendicularPart(const Vector3D& axis, const Vector3D& unitNormal) {
  return axis - unitNormal * unitNormal.dot(axis);
}

Vector3D startAxisFor(const Vector3D& normal, const Vector3D& wanted) {
  const Vector3D unit = normal.normalized();
  const Vector3D axis = perpendicularPart(wanted.normalized(), unit).normalized();
  return axis.squaredMagnitude() > 0.0 ? axis : foundation::anyPerpendicular(unit);
}

internal::ConicArc arcOf(const CircleCurve& circle) {
  return {circle.getCenter(), circle.getStartAxis() * circle.getRadius(),
          circle.getSecondAxis() * circle.getRadius(), circle.getStartAngle(),
          circle.getEndAngle()};
}

// The sagitta of a chord over the angle d is r (1 - cos(d / 2)) = 2 r sin(d / 4)^2.
int chordCount(double radius, double span, double tolerance) {
  constexpr double kQuarterTurn = kFullTurn / 4.0;
  const double ratio = std::clamp(tolerance / (2.0 * radius), 0.0, 1.0);
  const double angle = std::min(4.0 * std::asin(std::sqrt(ratio)), kQuarterTurn);
  const double count = std::ceil(std::abs(span) / angle);
  return static_cast<int>(std::clamp(count, 1.0, static_cast<double>(kMaxAdaptivePoints)));
}

}  // namespace

CircleCurve::CircleCurve(const Point3D& center, const Vector3D& normal, double radius,
                         double startAngle, double endAngle)
    : CircleCurve(center, normal, Vector3D::zero(), radius, startAngle, endAngle) {}

CircleCurve::CircleCurve(const Point3D& center, const Vector3D& normal, const Vector3D& startAxis,
                         double radius, double startAngle, double endAngle)
    : center_(center),
      normal_(normal),
      startAxis_(startAxisFor(normal, startAxis)),
      secondAxis_(normal.normalized().cross(startAxis_)),
      radius_(radius),
      startAngle_(startAngle),
      endAngle_(endAngle) {
  internal::requireFinitePoint(center);
  internal::requireArcAngles(startAngle, endAngle);
  if (!normal.isFinite() || !startAxis.isFinite() || !std::isfinite(radius))
    throw std::invalid_argument("Circle must have a finite normal, start axis and radius");
}

CircleCurve::CircleCurve(foundation::AsStored, const Point3D& center, const Vector3D& normal,
                         const Vector3D& startAxis, const Vector3D& secondAxis, double radius,
                         double startAngle, double endAngle)
    : CircleCurve(center, normal, startAxis, radius, startAngle, endAngle) {
  const Vector3D unit = normal.normalized();
  const double leaning = std::abs(startAxis.dot(unit));
  const double apart = (secondAxis - unit.cross(startAxis)).magnitude();
  foundation::requireUnitOrZero(startAxis, "Start axis of a circle");
  if (!(std::max(leaning, apart) <= foundation::kStoredDirectionTolerance))
    throw std::invalid_argument("Axes of a circle must be perpendicular to its normal");
  startAxis_ = startAxis;
  secondAxis_ = secondAxis;
}

bool CircleCurve::isFullCircle() const {
  return std::abs(endAngle_ - startAngle_ - kFullTurn) < kFullCircleTolerance;
}

std::unique_ptr<Curve> CircleCurve::clone() const { return std::make_unique<CircleCurve>(*this); }

bool CircleCurve::isValid() const {
  return radius_ > kMinRadius && normal_.magnitude() > kMinNormalLength;
}

bool CircleCurve::isClosed(const ToleranceContext&) const { return isFullCircle(); }

double CircleCurve::angleAt(double t) const {
  if (t >= 1.0) return endAngle_;
  return startAngle_ + std::clamp(t, 0.0, 1.0) * (endAngle_ - startAngle_);
}

double CircleCurve::turningSense() const { return endAngle_ < startAngle_ ? -1.0 : 1.0; }

Point3D CircleCurve::evaluate(double t) const { return arcOf(*this).point(angleAt(t)); }

std::vector<Vector3D> CircleCurve::evaluateDerivatives(double t, int order) const {
  const internal::ConicArc arc = arcOf(*this);
  const double angle = angleAt(t);
  std::vector<Vector3D> derivatives = internal::zeroDerivatives(order);
  if (order >= 0) derivatives[0] = arc.point(angle) - Point3D::origin();
  double chainFactor = 1.0;
  for (int k = 1; k <= order; ++k) {
    chainFactor *= endAngle_ - startAngle_;
    derivatives[k] = arc.derivative(angle, k) * chainFactor;
  }
  return derivatives;
}

BoundingBox CircleCurve::getBoundingBox() const { return arcOf(*this).box(); }

double CircleCurve::getClosestParameter(const Point3D& point) const {
  internal::requireFinitePoint(point);
  const Vector3D arm = point - center_;
  const double x = arm.dot(startAxis_);
  const double y = arm.dot(secondAxis_);
  const double span = endAngle_ - startAngle_;
  if ((x == 0.0 && y == 0.0) || span == 0.0) return 0.0;
  if (const auto angle = arcOf(*this).onArc(std::atan2(y, x)))
    return std::clamp((*angle - startAngle_) / span, 0.0, 1.0);
  return point.distanceTo(evaluate(1.0)) < point.distanceTo(evaluate(0.0)) ? 1.0 : 0.0;
}

double CircleCurve::getArcLength(double t0, double t1) const {
  return std::abs(radius_ * (angleAt(t1) - angleAt(t0)));
}

std::unique_ptr<CircleCurve> CircleCurve::withAngles(double start, double end) const {
  internal::requireArcAngles(start, end);
  auto arc = std::make_unique<CircleCurve>(*this);
  arc->resetMatrix();
  arc->startAngle_ = start;
  arc->endAngle_ = end;
  return arc;
}

std::unique_ptr<CircleCurve> CircleCurve::imageUnder(const Transform3D& transform) const {
  foundation::requireFinite(transform);
  const Vector3D u = transform.transform(startAxis_);
  const Vector3D v = transform.transform(secondAxis_);
  const double scale = u.magnitude();
  const bool staysCircular = scale > 0.0 &&
                             std::abs(v.magnitude() - scale) <= kShapeTolerance * scale &&
                             std::abs(u.dot(v)) <= kShapeTolerance * scale * scale;
  if (!staysCircular) return nullptr;
  const Vector3D normal = (u / scale).cross(v / scale).normalized() * normal_.magnitude();
  return std::make_unique<CircleCurve>(transform.transform(center_), normal, u / scale,
                                       radius_ * scale, startAngle_, endAngle_);
}

std::unique_ptr<Curve> CircleCurve::transform(const Transform3D& transform) const {
  if (auto circle = imageUnder(transform)) return circle;
  return toNurbs()->transform(transform);
}

void CircleCurve::applyTransformToGeometry(const Transform3D& transform) {
  const auto image = imageUnder(transform);
  if (!image) throw std::invalid_argument("The image of the circle is not a circle");
  const Transform3D pending = getMatrix();
  *this = *image;
  setMatrix(pending);
}

std::unique_ptr<Curve> CircleCurve::trim(double t0, double t1) const {
  internal::requireTrimRange(getParameterInterval(), t0, t1);
  return withAngles(angleAt(t0), angleAt(t1));
}

std::pair<std::unique_ptr<Curve>, std::unique_ptr<Curve>> CircleCurve::split(double t) const {
  internal::requireSplitParameter(getParameterInterval(), t);
  return {withAngles(startAngle_, angleAt(t)), withAngles(angleAt(t), endAngle_)};
}

std::unique_ptr<Curve> CircleCurve::reverse() const {
  auto reversed = withAngles(0.0 - endAngle_, 0.0 - startAngle_);
  reversed->normal_ = -normal_;
  reversed->secondAxis_ = -secondAxis_;
  return reversed;
}

std::unique_ptr<Curve> CircleCurve::extend(double length, CurveEnd end, ExtensionMode mode) const {
  internal::requireExtensionLength(length);
  if (!isValid()) throw std::invalid_argument("Circle is not valid");
  if (mode == ExtensionMode::Linear) return toNurbs()->extend(length, end, mode);
  const double angle = turningSense() * length / radius_;
  return end == CurveEnd::End ? withAngles(startAngle_, endAngle_ + angle)
                              : withAngles(startAngle_ - angle, endAngle_);
}

std::unique_ptr<Curve> CircleCurve::offset(double distance, const Vector3D& planeNormal) const {
  internal::requireOffsetDistance(distance);
  const Vector3D plane = internal::requirePlaneNormal(planeNormal);
  const Vector3D normal = normal_.normalized();
  if (!(plane.cross(normal).magnitude() <= kShapeTolerance))
    return std::make_unique<OffsetCurve>(clone(), distance, plane);
  const double inward = turningSense() * std::copysign(1.0, plane.dot(normal));
  const double radius = radius_ - inward * distance;
  if (!isValid() || !(radius > kMinRadius))
    throw std::invalid_argument("The offset leaves no circle");
  return std::make_unique<CircleCurve>(center_, normal_, startAxis_, radius, startAngle_,
                                       endAngle_);
}

std::vector<Point3D> CircleCurve::adaptiveTessellate(double tolerance) const {
  internal::requireChordTolerance(tolerance);
  const int count = chordCount(std::abs(radius_), endAngle_ - startAngle_, tolerance);
  std::vector<Point3D> points;
  points.reserve(static_cast<std::size_t>(count) + 1);
  for (int i = 0; i <= count; ++i)
    points.push_back(evaluate(static_cast<double>(i) / count));
  return points;
}

std::unique_ptr<NurbsCurve> CircleCurve::toNurbs() const {
  return arcOf(*this).toNurbs(getParameterInterval());
}

}  // namespace trova::geometry
