#include "morvel/surfaces/curve_on_surface.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <stdexcept>

#include "morvel/curves/curve2d.h"
#include "morvel/curves/curve_rebuild.h"
#include "morvel/curves/offset_curve.h"
#include "morvel/curves/polyline.h"
#include "morvel/surfaces/axis_frame.h"
#include "morvel/surfaces/foot_point.h"
#include "morvel/surfaces/nurbs_surface.h"

namespace trova::geometry {
namespace {

constexpr int kStretches = 8;           // in which searches and polylines look at the curve first
constexpr int kClosestSamples = 32;     // in each of them
constexpr int kProbedDegree = 3;        // of a chord's stretch, where polylines are made
constexpr double kBoxTolerance = 1e-3;  // of the box's diagonal
constexpr int kBoxSamples = 65;
constexpr double kPeriodicTolerance = 1e-6;  // of the derivative's length
constexpr double kDifferenceNoise = 1e-15;   // relative error of the values that are differenced

/// By the chain rule, with the derivatives of a parameter that is held at the domain's edge left
/// out.
std::array<Vector3D, 3> chainRule(const SurfaceEvaluation& at, const Vector3D& first,
                                  const Vector3D& second) {
  const double u1 = first.x();
  const double v1 = first.y();
  return {at.point - Point3D::origin(), at.Su * u1 + at.Sv * v1,
          at.Suu * (u1 * u1) + at.Suv * (2.0 * u1 * v1) + at.Svv * (v1 * v1) + at.Su * second.x() +
              at.Sv * second.y()};
}

/// The derivatives of a rational surface's own `evaluateDerivatives` are placeholders.
SurfaceEvaluation trueDerivatives(const Surface& surface, const Point2D& at, int order) {
  if (const auto* rational = dynamic_cast<const NurbsSurface*>(&surface))
    return rational->evaluateRationalDerivatives(at.x(), at.y(), order);
  return surface.evaluateDerivatives(at.x(), at.y(), order);
}

Point2D clampedTo(const ParameterDomain& domain, const Point2D& p) {
  return {std::clamp(p.x(), domain.uMin, domain.uMax), std::clamp(p.y(), domain.vMin, domain.vMax)};
}

/// A vector of the parameter plane without the components in which the point is held at the edge.
Vector3D freeComponents(const Point2D& vector, const Point2D& point, const Point2D& held) {
  return {point.x() == held.x() ? vector.x() : 0.0, point.y() == held.y() ? vector.y() : 0.0, 0.0};
}

std::vector<double> breaksOf(const ParametricCurve2D& curve) {
  const ParameterInterval interval = curve.getParameterInterval();
  std::vector<double> breaks;
  for (int k = 0; k <= kStretches; ++k)
    breaks.push_back(std::lerp(interval.start, interval.end, static_cast<double>(k) / kStretches));
  if (const auto* spline = dynamic_cast<const BSplineCurve2D*>(&curve)) {
    for (const double knot : spline->getKnotVector()) {
      if (interval.contains(knot)) breaks.push_back(knot);
    }
  }
  std::sort(breaks.begin(), breaks.end());
  breaks.erase(std::unique(breaks.begin(), breaks.end()), breaks.end());
  return breaks;
}

/// The m-th central difference of the second derivative, over a stencil that stays in the interval.
Vector3D differencedSecond(const CurveOnSurface& curve, double t, int m) {
  const ParameterInterval interval = curve.getParameterInterval();
  const double step =
      interval.length() * std::min(std::pow(kDifferenceNoise, 1.0 / (m + 2)), 1.0 / m);
  const double half = 0.5 * m * step;
  const double middle = std::clamp(t, interval.start + half, interval.end - half);
  Vector3D sum;
  double binomial = 1.0;
  for (int j = 0; j <= m; ++j) {
    const double sign = (m - j) % 2 == 0 ? 1.0 : -1.0;
    sum += curve.evaluateDerivatives(middle - half + j * step, 2)[2] * (sign * binomial);
    binomial = binomial * (m - j) / (j + 1);
  }
  return sum / std::pow(step, m);
}

}  // namespace

CurveOnSurface::CurveOnSurface(std::shared_ptr<const Surface> base,
                               std::unique_ptr<ParametricCurve2D> curve)
    : base_(std::move(base)), curve_(std::move(curve)) {
  if (!base_) throw std::invalid_argument("Base surface cannot be null");
  if (!curve_) throw std::invalid_argument("Parameter curve cannot be null");
}

CurveOnSurface::CurveOnSurface(const CurveOnSurface& other)
    : Curve(other), base_(other.base_), curve_(other.curve_->clone()) {}

CurveOnSurface& CurveOnSurface::operator=(const CurveOnSurface& other) {
  if (this == &other) return *this;
  auto copy = other.curve_->clone();  // may throw: first, before any change
  Curve::operator=(other);
  base_ = other.base_;
  curve_ = std::move(copy);
  return *this;
}

CurveOnSurface::~CurveOnSurface() = default;

Point2D CurveOnSurface::getUVCoordinates(double t) const {
  return clampedTo(base_->getParameterDomain(), curve_->evaluate(t));
}

std::unique_ptr<Curve> CurveOnSurface::clone() const {
  return std::make_unique<CurveOnSurface>(*this);
}

bool CurveOnSurface::isValid() const { return base_->isValid() && curve_->isValid(); }

ParameterInterval CurveOnSurface::getParameterInterval() const {
  return curve_->getParameterInterval();
}

bool CurveOnSurface::isClosed(const ToleranceContext& tolerance) const {
  const ParameterInterval interval = getParameterInterval();
  return evaluate(interval.start).isEqual(evaluate(interval.end), tolerance);
}

bool CurveOnSurface::isPeriodic() const {
  const ParameterInterval interval = getParameterInterval();
  const Vector3D atStart = evaluateDerivatives(interval.start, 1)[1];
  const Vector3D atEnd = evaluateDerivatives(interval.end, 1)[1];
  return isClosed() && (atEnd - atStart).magnitude() <= kPeriodicTolerance * atStart.magnitude();
}

Point3D CurveOnSurface::evaluate(double t) const {
  const Point2D at = getUVCoordinates(t);
  return base_->evaluate(at.x(), at.y());
}

std::vector<Vector3D> CurveOnSurface::evaluateDerivatives(double t, int order) const {
  if (order > kMaxDerivativeOrder) throw std::invalid_argument("Derivative order out of range");
  std::vector<Vector3D> derivatives(static_cast<std::size_t>(std::max(order + 1, 0)));
  if (order < 0) return derivatives;
  const int known = std::min(order, 2);
  const std::vector<Point2D> inPlane = curve_->evaluateDerivatives(t, 2);
  const Point2D held = clampedTo(base_->getParameterDomain(), inPlane[0]);
  const auto chained =
      chainRule(trueDerivatives(*base_, held, known), freeComponents(inPlane[1], inPlane[0], held),
                freeComponents(inPlane[2], inPlane[0], held));
  std::copy(chained.begin(), chained.begin() + known + 1, derivatives.begin());
  for (int k = 3; k <= order; ++k)
    derivatives[k] = differencedSecond(*this, t, k - 2);
  return derivatives;
}

BoundingBox CurveOnSurface::getBoundingBox() const {
  BoundingBox box;
  for (const Point3D& point : tessellateUniform(kBoxSamples))
    box.addPoint(point);
  const double tolerance = kBoxTolerance * box.diagonal().magnitude();
  if (!(tolerance > 0.0) || !std::isfinite(tolerance)) return box;
  for (const Point3D& point : adaptiveTessellate(tolerance))
    box.addPoint(point);
  box.expand(tolerance);
  return box;
}

double CurveOnSurface::getClosestParameter(const Point3D& point) const {
  requireFinite(point, "Point");
  // The foot on a surface that does not depend on its v, stretch by stretch.
  const auto at = [this](double t, double) { return evaluate(t); };
  const auto derivatives = [this](double t, double) {
    const std::vector<Vector3D> values = evaluateDerivatives(t, 2);
    SurfaceEvaluation result;
    result.point = Point3D::origin() + values[0];
    result.Su = values[1];
    result.Suu = values[2];
    return result;
  };
  const std::vector<double> breaks = breaksOf(*curve_);
  FootPoint nearest{breaks.front(), 0.0, evaluate(breaks.front()).distanceTo(point), false};
  for (std::size_t k = 1; k < breaks.size(); ++k) {
    const ParameterDomain stretch{breaks[k - 1], breaks[k], 0.0, 1.0};
    const FootPoint foot = closestFootPoint(at, derivatives, stretch, point, kClosestSamples, 2);
    if (foot.distance < nearest.distance) nearest = foot;
  }
  return nearest.u;
}

std::unique_ptr<Curve> CurveOnSurface::transform(const Transform3D& transform) const {
  requireFinite(transform);
  return std::make_unique<CurveOnSurface>(base_->transform(transform), curve_->clone());
}

std::unique_ptr<Curve> CurveOnSurface::trim(double t0, double t1) const {
  return std::make_unique<CurveOnSurface>(base_, curve_->trim(t0, t1));
}

std::pair<std::unique_ptr<Curve>, std::unique_ptr<Curve>> CurveOnSurface::split(double t) const {
  auto [before, behind] = curve_->split(t);
  return {std::make_unique<CurveOnSurface>(base_, std::move(before)),
          std::make_unique<CurveOnSurface>(base_, std::move(behind))};
}

std::unique_ptr<Curve> CurveOnSurface::reverse() const {
  return std::make_unique<CurveOnSurface>(base_, curve_->reverse());
}

std::unique_ptr<Curve> CurveOnSurface::extend(double length, CurveEnd end,
                                              ExtensionMode mode) const {
  return toSpline(*this)->extend(length, end, mode);
}

std::unique_ptr<Curve> CurveOnSurface::offset(double distance, const Vector3D& planeNormal) const {
  return std::make_unique<OffsetCurve>(clone(), distance, planeNormal);
}

std::vector<Point3D> CurveOnSurface::adaptiveTessellate(double tolerance) const {
  return adaptivePolyline(*this, breaksOf(*curve_), kProbedDegree, tolerance);
}

void CurveOnSurface::applyTransformToGeometry(const Transform3D& transform) {
  requireFinite(transform);
  base_ = base_->transform(transform);
}

}  // namespace trova::geometry
