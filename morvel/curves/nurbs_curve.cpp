#include "morvel/curves/nurbs_curve.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "morvel/curves/internal/closest_parameter.h"
#include "morvel/curves/internal/control_points.h"
#include "morvel/curves/internal/curve_checks.h"
#include "morvel/curves/internal/curve_extension.h"
#include "morvel/curves/internal/definition_point.h"
#include "morvel/curves/internal/derivative_batch.h"
#include "morvel/curves/internal/derivative_order.h"
#include "morvel/curves/internal/extension_report.h"
#include "morvel/curves/internal/spline_conversion.h"
#include "morvel/curves/internal/spline_point.h"
#include "morvel/curves/offset_curve.h"
#include "morvel/curves/polyline.h"
#include "morvel/foundation/checked_count.h"
#include "morvel/foundation/knot_vector.h"

namespace trova::geometry {
namespace {

using BinomialRow = foundation::ScratchBuffer<double, internal::kStackValues>;
using HomogeneousRow = foundation::ScratchBuffer<HomogeneousPoint, internal::kStackValues>;

// Weights closer than this are the same: the curve is polynomial.
constexpr double kSameWeight = 1e-12;

constexpr int kClosestSamplesPerDegree = 8;

HomogeneousPoint homogeneous(const Point3D& point, double weight) {
  return {point.x() * weight, point.y() * weight, point.z() * weight, weight};
}

Point3D projected(const HomogeneousPoint& h) {
  const Eigen::Vector3d sum = h.head<3>();
  return Point3D(h.w() == 0.0 ? sum : Eigen::Vector3d(sum / h.w()));
}

// `count` vectors from the derivatives of the weighted sums: C^(k) = (A^(k) - the sum of (k over i)
// w^(i) C^(k - i)) / w. Above `highest` the sums vanish. `binomials` has room for `count` values.
void divideByWeights(const HomogeneousPoint* sums, int highest, int count, double* binomials,
                     double* out) {
  using Triple = Eigen::Map<Eigen::Vector3d>;
  const auto at = [&](int k) {
    return Triple(out + std::ptrdiff_t(internal::kDoublesPerVector) * k);
  };
  const double weight = sums[0].w();
  for (int k = 0; k < count; ++k) {  // row k of Pascal's triangle
    for (int i = k; i > 0; --i)
      binomials[i] = i == k ? 1.0 : binomials[i] + binomials[i - 1];
    binomials[0] = 1.0;
    Eigen::Vector3d value = Eigen::Vector3d::Zero();
    if (k <= highest) value = sums[k].head<3>();
    for (int i = 1; i <= std::min(k, highest); ++i)
      value -= binomials[i] * sums[i].w() * at(k - i);
    at(k) = weight == 0.0 ? value : Eigen::Vector3d(value / weight);
  }
}

}  // namespace

NurbsCurve::NurbsCurve(std::vector<Point3D> controlPoints, std::vector<double> weights,
                       std::vector<double> knots, int degree)
    : SplineCurve(std::move(knots), degree),
      points_(std::move(controlPoints)),
      weights_(std::move(weights)) {
  updateHomogeneousPoints();
}

void NurbsCurve::updateHomogeneousPoints() {
  homogeneous_.clear();
  for (std::size_t i = 0; i < std::min(points_.size(), weights_.size()); ++i)
    homogeneous_.push_back(homogeneous(points_[i], weights_[i]));
}

std::unique_ptr<Curve> NurbsCurve::clone() const { return std::make_unique<NurbsCurve>(*this); }

bool NurbsCurve::isValid() const {
  if (points_.empty() || getDegree() < 1 || weights_.size() != points_.size()) return false;
  const bool positive = std::all_of(weights_.begin(), weights_.end(),
                                    [](double w) { return w > 0.0 && std::isfinite(w); });
  const std::int64_t count = static_cast<std::int64_t>(points_.size());
  const std::int64_t knots = static_cast<std::int64_t>(getKnotVector().size());
  return positive && knots == foundation::knotCountFor(count, getDegree()) && isValidKnotVector();
}

bool NurbsCurve::isClosed(const ToleranceContext& tolerance) const {
  return internal::endsMeet(points_, tolerance);
}

Point3D NurbsCurve::evaluate(double u) const {
  const std::size_t count = homogeneous_.size();
  if (!isRegular(count))
    return projected(internal::definitionPoint(basis(), homogeneous_.data(), count, u, 0));
  internal::BasisValues values(static_cast<std::size_t>(getDegree()) + 1);
  return projected(internal::splinePoint(basis(), homogeneous_.data(), u, values.data()));
}

void NurbsCurve::homogeneousDerivatives(double u, int highest, double* table,
                                        HomogeneousPoint* sums) const {
  if (isRegular(homogeneous_.size())) {
    internal::splineDerivatives(
        basis(), homogeneous_.data(), u, highest, table,
        [&](int k, const HomogeneousPoint& derivative) { sums[k] = derivative; });
    return;
  }
  for (int k = 0; k <= highest; ++k)
    sums[k] = internal::definitionPoint(basis(), homogeneous_.data(), homogeneous_.size(), u, k);
}

std::vector<Vector3D> NurbsCurve::evaluateDerivatives(double u, int order) const {
  std::vector<Vector3D> result = internal::zeroDerivatives(order);
  if (result.empty()) return result;
  std::vector<double> values(result.size() * internal::kDoublesPerVector);
  derivativesInto({&u, 1}, order, values.data());
  for (std::size_t k = 0; k < result.size(); ++k)
    result[k] = Vector3D(Eigen::Vector3d(values.data() + k * internal::kDoublesPerVector));
  return result;
}

void NurbsCurve::derivativesInto(std::span<const double> t, int order, double* out) const {
  const int highest = highestDerivative(order);
  const std::size_t rows = static_cast<std::size_t>(highest) + 1;
  internal::BasisDerivatives table((static_cast<std::size_t>(std::max(0, getDegree())) + 1) * rows);
  HomogeneousRow sums(rows);
  BinomialRow binomials(static_cast<std::size_t>(order) + 1);
  for (const double u : t) {
    homogeneousDerivatives(u, highest, table.data(), sums.data());
    divideByWeights(sums.data(), highest, order + 1, binomials.data(), out);
    out += internal::kDoublesPerVector * (std::ptrdiff_t(order) + 1);
  }
}

void NurbsCurve::evaluateBatch(std::span<const double> t, int order, double* out) const {
  internal::requireOrder(order);
  if (order > 0) return derivativesInto(t, order, out);
  for (const double u : t) {
    internal::writeTriple(evaluate(u), out);
    out += internal::kDoublesPerVector;
  }
}

double NurbsCurve::getClosestParameter(const Point3D& point) const {
  return internal::closestParameter(*this, getBreaks(),
                                    kClosestSamplesPerDegree * std::max(1, getDegree()), point);
}

std::unique_ptr<Curve> NurbsCurve::transform(const Transform3D& transform) const {
  return std::make_unique<NurbsCurve>(internal::transformed(points_, transform), weights_,
                                      getKnotVector(), getDegree());
}

std::unique_ptr<Curve> NurbsCurve::reverse() const {
  return std::make_unique<NurbsCurve>(std::vector<Point3D>(points_.rbegin(), points_.rend()),
                                      std::vector<double>(weights_.rbegin(), weights_.rend()),
                                      foundation::nurbs::reversedKnots(getKnotVector()),
                                      getDegree());
}

std::unique_ptr<Curve> NurbsCurve::offset(double distance, const Vector3D& planeNormal) const {
  return std::make_unique<OffsetCurve>(std::make_shared<NurbsCurve>(*this), distance, planeNormal);
}

std::vector<Point3D> NurbsCurve::adaptiveTessellate(double tolerance) const {
  return adaptivePolyline(*this, getBreaks(), getDegree(), tolerance);
}

void NurbsCurve::applyTransformToGeometry(const Transform3D& transform) {
  points_ = internal::transformed(points_, transform);
  updateHomogeneousPoints();
}

Point3D NurbsCurve::getControlPoint(int i) const {
  internal::requireIndex(i, points_.size());
  return points_[i];
}

void NurbsCurve::setControlPoint(int i, const Point3D& point) {
  internal::requireIndex(i, points_.size());
  internal::requireFinitePoint(point);
  points_[i] = point;
  if (static_cast<std::size_t>(i) < homogeneous_.size())
    homogeneous_[i] = homogeneous(point, weights_[i]);
}

double NurbsCurve::getWeight(int i) const {
  internal::requireIndex(i, weights_.size());
  return weights_[i];
}

bool NurbsCurve::isRational() const {
  if (weights_.empty()) return false;
  const auto [least, most] = std::minmax_element(weights_.begin(), weights_.end());
  return *most - *least > kSameWeight;
}

std::unique_ptr<Curve> NurbsCurve::trim(double u0, double u1) const {
  return internal::nurbsFrom(foundation::nurbs::trimmed(internal::rowsOf(*this), u0, u1));
}

std::pair<std::unique_ptr<Curve>, std::unique_ptr<Curve>> NurbsCurve::split(double u) const {
  const ParameterInterval interval = getParameterInterval();
  internal::requireSplitParameter(interval, u);
  return {trim(interval.start, u), trim(u, interval.end)};
}

std::unique_ptr<Curve> NurbsCurve::extend(double length, CurveEnd end, ExtensionMode mode) const {
  std::unique_ptr<NurbsCurve> result =
      internal::nurbsFrom(internal::extended(internal::rowsOf(*this), length, end, mode));
  internal::requireValidResult(*result, mode == ExtensionMode::Natural
                                            ? "NURBS validation failed (natural): "
                                            : "NURBS validation failed: ");
  return result;
}

std::unique_ptr<Curve> NurbsCurve::insertKnot(double u, int times) const {
  if (times < 1) return clone();
  internal::SplineRows rows = internal::rowsOf(*this);
  foundation::nurbs::insertKnot(rows, u, times, foundation::kKnotTolerance);
  return internal::nurbsFrom(std::move(rows));
}

std::unique_ptr<Curve> NurbsCurve::removeKnot(double /*u*/, int /*times*/) const { return clone(); }

std::unique_ptr<Curve> NurbsCurve::elevateDegree(int times) const {
  return internal::nurbsFrom(foundation::nurbs::elevated(internal::rowsOf(*this), times));
}

}  // namespace trova::geometry
