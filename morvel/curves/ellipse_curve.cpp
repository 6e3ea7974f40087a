#include "morvel/curves/ellipse_curve.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "morvel/curves/circle_curve.h"
#include "morvel/curves/internal/conic_arc.h"
#include "morvel/curves/internal/curve_checks.h"
#include "morvel/curves/internal/derivative_order.h"
#include "morvel/curves/internal/ellipse_foot_points.h"
#include "morvel/curves/nurbs_curve.h"
#include "morvel/curves/offset_curve.h"
#include "morvel/curves/polyline.h"
#include "morvel/foundation/affine_maps.h"

namespace trova::geometry {
namespace {

// Relative to the ellipse's size: how far the image of the minor axis may leave the horizontal line
// perpendicular to the image of the major axis.
constexpr double kShapeTolerance = 1e-9;

constexpr double kQuarterTurn = kFullTurn / 4.0;
constexpr int kTessellationProbes = 3;

constexpr int kMaxExtensionSteps = 60;
constexpr double kExtensionAccuracy = 1e-10;  // relative to the length

Vector3D horizontalPerpendicular(const Vector3D& unitMajor) {
  return Vector3D::unitZ().cross(unitMajor).normalized();
}

internal::ConicArc arcOf(const EllipseCurve& ellipse) {
  return {ellipse.getCenter(), ellipse.getMajorDirection() * ellipse.getSemiMajor(),
          ellipse.getMinorAxis() * ellipse.getSemiMinor(), ellipse.getStartAngle(),
          ellipse.getEndAngle()};
}

double runningSense(const EllipseCurve& ellipse) {
  return ellipse.getEndAngle() < ellipse.getStartAngle() ? -1.0 : 1.0;
}

// Within a quarter turn an ellipse bends one way, so that probes cannot miss it.
std::vector<double> quarterBreaks(double start, double end) {
  const int pieces = std::max(1, static_cast<int>(std::ceil(std::abs(end - start) / kQuarterTurn)));
  std::vector<double> breaks;
  breaks.reserve(static_cast<std::size_t>(pieces) + 1);
  for (int i = 0; i < pieces; ++i)
    breaks.push_back(start + (end - start) * i / pieces);
  breaks.push_back(end);
  return breaks;
}

// The angle above 0 over which the arc from `from` in the given sense is `length` long: whole turns
// by their length, the rest by Newton steps kept inside a shrinking bracket.
double angleOfLength(const EllipseCurve& ellipse, double from, double sense, double length) {
  const double turn = ellipse.getArcLength(from, from + kFullTurn);
  const double turns = std::floor(length / turn);
  if (!(turns <= kMaxArcTurns)) throw std::invalid_argument("Extension has too many turns");
  const double rest = length - turns * turn;
  double low = 0.0;
  double high = kFullTurn;
  double angle = kFullTurn * rest / turn;
  for (int step = 0; step < kMaxExtensionSteps; ++step) {
    const double excess = ellipse.getArcLength(from, from + sense * angle) - rest;
    if (std::abs(excess) <= kExtensionAccuracy * length) break;
    (excess > 0.0 ? high : low) = angle;
    const double speed = ellipse.evaluateDerivatives(from + sense * angle, 1)[1].magnitude();
    const double next = angle - excess / speed;
    angle = low < next && next < high ? next : (low + high) / 2.0;
  }
  return turns * kFullTurn + angle;
}

}  // namespace

EllipseCurve::EllipseCurve(const Point3D& center, const Vector3D& majorAxis, const Vector3D& normal,
                           double semiMajor, double semiMinor, double startAngle, double endAngle)
    : center_(center),
      majorAxis_(majorAxis),
      normal_(normal),
      majorUnit_(majorAxis.normalized()),
      minorUnit_(horizontalPerpendicular(majorUnit_)),
      semiMajor_(semiMajor),
      semiMinor_(semiMinor),
      startAngle_(startAngle),
      endAngle_(endAngle) {
  internal::requireFinitePoint(center);
  internal::requireArcAngles(startAngle, endAngle);
  if (!majorAxis.isFinite() || !normal.isFinite() || !std::isfinite(semiMajor) ||
      !std::isfinite(semiMinor))
    throw std::invalid_argument("Ellipse must have finite axes, lengths and normal");
}

std::unique_ptr<Curve> EllipseCurve::clone() const { return std::make_unique<EllipseCurve>(*this); }

bool EllipseCurve::isValid() const { return semiMajor_ > 0.0 && semiMinor_ > 0.0; }

bool EllipseCurve::isValidParameter(double w) const {
  const auto [low, high] = std::minmax(startAngle_, endAngle_);
  return low <= w && w <= high;
}

bool EllipseCurve::isClosed(const ToleranceContext& tolerance) const {
  return std::abs(endAngle_ - startAngle_ - kFullTurn) < tolerance.getGeometricTolerance();
}

bool EllipseCurve::isPeriodic() const { return isClosed(ToleranceContext()); }

Point3D EllipseCurve::evaluate(double w) const { return arcOf(*this).point(w); }

std::vector<Vector3D> EllipseCurve::evaluateDerivatives(double w, int order) const {
  const internal::ConicArc arc = arcOf(*this);
  std::vector<Vector3D> derivatives = internal::zeroDerivatives(order);
  if (order >= 0) derivatives[0] = arc.point(w) - Point3D::origin();
  for (int k = 1; k <= order; ++k)
    derivatives[k] = arc.derivative(w, k);
  return derivatives;
}

Vector3D EllipseCurve::getTangent(double w) const {
  return Curve::getTangent(w) * runningSense(*this);
}

BoundingBox EllipseCurve::getBoundingBox() const { return arcOf(*this).box(); }

double EllipseCurve::getClosestParameter(const Point3D& point) const {
  internal::requireFinitePoint(point);
  const Vector3D arm = point - center_;
  const double reach = minorUnit_.magnitude();  // 0 for an ellipse that has no minor axis
  const auto feet = internal::ellipseFootPoints(semiMajor_, semiMinor_ * reach, arm.dot(majorUnit_),
                                                arm.dot(minorUnit_));
  const internal::ConicArc arc = arcOf(*this);
  double best = startAngle_;
  const auto consider = [&](double w) {
    if (point.distanceTo(arc.point(w)) < point.distanceTo(arc.point(best))) best = w;
  };
  consider(endAngle_);
  for (const double foot : feet)
    if (const auto onThis = arc.onArc(foot)) consider(*onThis);
  return best;
}

std::unique_ptr<EllipseCurve> EllipseCurve::withAngles(double start, double end) const {
  internal::requireArcAngles(start, end);
  auto arc = std::make_unique<EllipseCurve>(*this);
  arc->resetMatrix();
  arc->startAngle_ = start;
  arc->endAngle_ = end;
  return arc;
}

// The image is center' + cos(w) A + sin(w) B. It is an ellipse of this class where B lies along the
// horizontal perpendicular of A; where it points backwards the angles change their sign instead.
std::unique_ptr<EllipseCurve> EllipseCurve::imageUnder(const Transform3D& transform) const {
  foundation::requireFinite(transform);
  const Vector3D major = transform.transform(majorUnit_);
  const double scale = major.magnitude();
  if (!(scale > 0.0)) return nullptr;
  const Vector3D minor = transform.transform(minorUnit_) * semiMinor_;
  const Vector3D minorUnit = horizontalPerpendicular(major / scale);
  const double along = minor.dot(minorUnit);
  const double leaves = (minor - minorUnit * along).magnitude();
  const bool hasMinorAxis = minorUnit_.squaredMagnitude() > 0.0;
  const bool keepsMinorAxis = hasMinorAxis ? along != 0.0 : !(minorUnit.squaredMagnitude() > 0.0);
  const double size = std::max(semiMajor_ * scale, std::abs(along));
  if (!keepsMinorAxis || !(leaves <= kShapeTolerance * size)) return nullptr;
  const double sense = along < 0.0 ? -1.0 : 1.0;
  const Vector3D normal = internal::cofactorImage(transform, normal_) / (scale * scale);
  return std::make_unique<EllipseCurve>(
      transform.transform(center_), major / scale * majorAxis_.magnitude(),
      normal.normalized() * normal_.magnitude(), semiMajor_ * scale,
      hasMinorAxis ? std::abs(along) : semiMinor_, sense * startAngle_, sense * endAngle_);
}

std::unique_ptr<Curve> EllipseCurve::transform(const Transform3D& transform) const {
  if (auto ellipse = imageUnder(transform)) return ellipse;
  return toNurbs()->transform(transform);
}

void EllipseCurve::applyTransformToGeometry(const Transform3D& transform) {
  const auto image = imageUnder(transform);
  if (!image) throw std::invalid_argument("The image of the ellipse has no horizontal minor axis");
  const Transform3D pending = getMatrix();
  *this = *image;
  setMatrix(pending);
}

std::unique_ptr<Curve> EllipseCurve::trim(double w0, double w1) const {
  internal::requireTrimRange(getParameterInterval(), w0, w1);
  return withAngles(w0, w1);
}

std::pair<std::unique_ptr<Curve>, std::unique_ptr<Curve>> EllipseCurve::split(double w) const {
  internal::requireSplitParameter(getParameterInterval(), w);
  return {withAngles(startAngle_, w), withAngles(w, endAngle_)};
}

std::unique_ptr<Curve> EllipseCurve::reverse() const { return withAngles(endAngle_, startAngle_); }

std::unique_ptr<Curve> EllipseCurve::extend(double length, CurveEnd end, ExtensionMode mode) const {
  internal::requireExtensionLength(length);
  if (mode == ExtensionMode::Linear) return toNurbs()->extend(length, end, mode);
  const double sense = runningSense(*this);
  if (end == CurveEnd::End)
    return withAngles(startAngle_,
                      endAngle_ + sense * angleOfLength(*this, endAngle_, sense, length));
  return withAngles(startAngle_ - sense * angleOfLength(*this, startAngle_, -sense, length),
                    endAngle_);
}

std::unique_ptr<Curve> EllipseCurve::offset(double distance, const Vector3D& planeNormal) const {
  return std::make_unique<OffsetCurve>(clone(), distance, planeNormal);
}

std::vector<Point3D> EllipseCurve::adaptiveTessellate(double tolerance) const {
  return adaptivePolyline(*this, quarterBreaks(startAngle_, endAngle_), kTessellationProbes,
                          tolerance);
}

std::unique_ptr<NurbsCurve> EllipseCurve::toNurbs() const {
  const auto [low, high] = std::minmax(startAngle_, endAngle_);
  return arcOf(*this).toNurbs({low, high});
}

}  // namespace trova::geometry
