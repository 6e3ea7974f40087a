#include "morvel/curves/offset_curve.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "morvel/curves/curve_rebuild.h"
#include "morvel/curves/internal/closest_parameter.h"
#include "morvel/curves/internal/conic_arc.h"
#include "morvel/curves/internal/curve_checks.h"
#include "morvel/curves/internal/curve_joints.h"
#include "morvel/curves/internal/derivative_order.h"
#include "morvel/curves/polyline.h"
#include "morvel/foundation/affine_maps.h"

namespace trova::geometry {
namespace {

// A base is parallel to the plane normal where the sine of their angle is below this, and has no
// tangent where its speed over the whole interval makes less than this (model units).
constexpr double kMinSine = 1e-9;
constexpr double kMinTravel = 1e-9;

constexpr double kInwardStep = 1e-6;  // of the interval, away from a parameter without a side
constexpr int kMaxNesting = 4;

constexpr int kClosestSamples = 64;     // between two joints of the curve
constexpr int kTessellationProbes = 3;  // inside a chord

int nesting(const Curve& curve) {
  int depth = 0;
  const Curve* base = &curve;
  while (const auto* offset = dynamic_cast<const OffsetCurve*>(base)) {
    base = offset->getBaseCurve().get();
    ++depth;
  }
  return depth;
}

// The derivatives of e = W / |W| from those of W, by the product rule on |W|^2 = W . W and on
// W = |W| e, each solved for its highest derivative. W[0] may not vanish.
std::vector<Vector3D> unitDerivatives(const std::vector<Vector3D>& W) {
  const int count = static_cast<int>(W.size());
  std::vector<double> length(W.size());
  std::vector<Vector3D> e(W.size());
  std::vector<double> binomial(W.size(), 1.0);  // row k of Pascal's triangle
  length[0] = W[0].magnitude();
  e[0] = W[0] / length[0];
  for (int k = 1; k < count; ++k) {
    for (int j = k - 1; j > 0; --j)
      binomial[j] += binomial[j - 1];
    double square = 0.0;
    for (int j = 0; j <= k; ++j)
      square += binomial[j] * W[j].dot(W[k - j]);
    for (int j = 1; j < k; ++j)
      square -= binomial[j] * length[j] * length[k - j];
    length[k] = square / (2.0 * length[0]);
    Vector3D numerator = W[k];
    for (int j = 1; j <= k; ++j)
      numerator -= e[k - j] * (binomial[j] * length[j]);
    e[k] = numerator / length[0];
  }
  return e;
}

}  // namespace

OffsetCurve::OffsetCurve(std::shared_ptr<const Curve> base, double distance,
                         const Vector3D& planeNormal)
    : base_(std::move(base)),
      distance_(distance),
      planeNormal_(internal::requirePlaneNormal(planeNormal)) {
  if (!base_) throw std::invalid_argument("Offset needs a base curve");
  internal::requireOffsetDistance(distance);
}

OffsetCurve::OffsetCurve(foundation::AsStored, std::shared_ptr<const Curve> base, double distance,
                         const Vector3D& unitNormal)
    : OffsetCurve(std::move(base), distance, unitNormal) {
  planeNormal_ = foundation::requireUnit(unitNormal, "Plane normal of an offset");
}

std::unique_ptr<Curve> OffsetCurve::clone() const { return std::make_unique<OffsetCurve>(*this); }

bool OffsetCurve::isValid() const {
  const ParameterInterval interval = base_->getParameterInterval();
  const auto sidedAt = [this](double u) {
    const std::vector<Vector3D> derivatives = base_->evaluateDerivatives(u, 1);
    return derivatives.size() > 1 && hasSide(derivatives[1]);
  };
  return base_->isValid() && sidedAt(interval.start) && sidedAt(interval.end);
}

ParameterInterval OffsetCurve::getParameterInterval() const {
  return base_->getParameterInterval();
}

bool OffsetCurve::isValidParameter(double u) const { return base_->isValidParameter(u); }

bool OffsetCurve::isClosed(const ToleranceContext& tolerance) const {
  const ParameterInterval interval = getParameterInterval();
  return evaluate(interval.start).isEqual(evaluate(interval.end), tolerance);
}

bool OffsetCurve::isPeriodic() const { return base_->isPeriodic() && isClosed(); }

double OffsetCurve::direction() const { return getParameterInterval().length() < 0.0 ? -1.0 : 1.0; }

bool OffsetCurve::hasSide(const Vector3D& derivative) const {
  const double side = planeNormal_.cross(derivative).magnitude();
  const double interval = std::abs(getParameterInterval().length());
  return side > kMinSine * derivative.magnitude() && side * interval > kMinTravel;
}

std::vector<Vector3D> OffsetCurve::sidedDerivatives(double u, int order) const {
  const std::size_t count = static_cast<std::size_t>(order) + 1;
  std::vector<Vector3D> derivatives = base_->evaluateDerivatives(u, order);
  derivatives.resize(count);  // a base that is not valid may give fewer
  if (hasSide(derivatives[1])) return derivatives;
  const ParameterInterval interval = getParameterInterval();
  const bool beforeMiddle = std::abs(u - interval.start) <= std::abs(u - interval.end);
  const double inward = (beforeMiddle ? kInwardStep : -kInwardStep) * interval.length();
  std::vector<Vector3D> nearby = base_->evaluateDerivatives(u + inward, order);
  nearby.resize(count);
  nearby[0] = derivatives[0];
  return nearby;
}

Point3D OffsetCurve::evaluate(double u) const {
  const std::vector<Vector3D> base = sidedDerivatives(u, 1);
  const Vector3D normal = planeNormal_.cross(base[1]) * direction();
  const double length = normal.magnitude();
  const Vector3D shift = length > 0.0 ? normal / length * distance_ : Vector3D::zero();
  return Point3D::origin() + (base[0] + shift);
}

std::vector<Vector3D> OffsetCurve::evaluateDerivatives(double u, int order) const {
  if (order < 0) return {};
  const std::vector<Vector3D> base = sidedDerivatives(u, order + 1);
  std::vector<Vector3D> derivatives(base.begin(), base.end() - 1);
  std::vector<Vector3D> normals;
  normals.reserve(derivatives.size());
  for (int k = 0; k <= order; ++k)
    normals.push_back(planeNormal_.cross(base[k + 1]) * direction());
  if (!(normals[0].magnitude() > 0.0)) return derivatives;
  const std::vector<Vector3D> sides = unitDerivatives(normals);
  for (int k = 0; k <= order; ++k)
    derivatives[k] += sides[k] * distance_;
  return derivatives;
}

Vector3D OffsetCurve::getTangent(double u) const { return Curve::getTangent(u) * direction(); }

BoundingBox OffsetCurve::getBoundingBox() const {
  BoundingBox box = base_->getBoundingBox();
  box.expand(std::abs(distance_));
  return box;
}

double OffsetCurve::getClosestParameter(const Point3D& point) const {
  return internal::closestParameter(*this, internal::breaksOf(*this), kClosestSamples, point);
}

std::unique_ptr<OffsetCurve> OffsetCurve::imageUnder(const Transform3D& transform) const {
  const auto ratio = foundation::similarityRatio(transform);
  if (!ratio) return nullptr;
  // Turned over by a reflection, as the cross product that it enters.
  const Vector3D normal = internal::cofactorImage(transform, planeNormal_) / (*ratio * *ratio);
  return std::make_unique<OffsetCurve>(base_->transform(transform), distance_ * *ratio, normal);
}

std::unique_ptr<Curve> OffsetCurve::transform(const Transform3D& transform) const {
  foundation::requireFinite(transform);
  if (auto image = imageUnder(transform)) return image;
  const double stretch = transform.getMatrix().topLeftCorner<3, 3>().norm();
  const double tolerance = ToleranceContext().getCurveTolerance() / std::max(1.0, stretch);
  return approximateCurve(*this, tolerance)->transform(transform);
}

void OffsetCurve::applyTransformToGeometry(const Transform3D& transform) {
  const auto image = imageUnder(transform);
  if (!image) throw std::invalid_argument("The image of the offset curve is not an offset curve");
  base_ = image->base_;
  distance_ = image->distance_;
  planeNormal_ = image->planeNormal_;
}

std::unique_ptr<Curve> OffsetCurve::trim(double u0, double u1) const {
  internal::requireTrimRange(getParameterInterval(), u0, u1);
  return std::make_unique<OffsetCurve>(base_->trim(u0, u1), distance_, planeNormal_);
}

std::pair<std::unique_ptr<Curve>, std::unique_ptr<Curve>> OffsetCurve::split(double u) const {
  const ParameterInterval interval = getParameterInterval();
  internal::requireSplitParameter(interval, u);
  return {trim(interval.start, u), trim(u, interval.end)};
}

std::unique_ptr<Curve> OffsetCurve::reverse() const {
  return std::make_unique<OffsetCurve>(base_->reverse(), -distance_, planeNormal_);
}

std::unique_ptr<Curve> OffsetCurve::extend(double length, CurveEnd end, ExtensionMode mode) const {
  internal::requireExtensionLength(length);
  return toSpline(*this)->extend(length, end, mode);
}

std::unique_ptr<Curve> OffsetCurve::offset(double distance, const Vector3D& planeNormal) const {
  std::shared_ptr<const Curve> base = clone();
  if (nesting(*this) >= kMaxNesting) base = toSpline(*this);
  return std::make_unique<OffsetCurve>(std::move(base), distance, planeNormal);
}

std::vector<Point3D> OffsetCurve::adaptiveTessellate(double tolerance) const {
  std::vector<double> breaks = internal::breaksOf(*this);
  if (direction() < 0.0) std::reverse(breaks.begin(), breaks.end());
  return adaptivePolyline(*this, breaks, kTessellationProbes, tolerance);
}

}  // namespace trova::geometry
