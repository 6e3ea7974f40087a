#include "morvel/curves/bspline_curve.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <typeinfo>
#include <utility>

#include "morvel/curves/chord_length.h"
#include "morvel/curves/internal/control_points.h"
#include "morvel/curves/internal/cubic_batch.h"
#include "morvel/curves/internal/curve_checks.h"
#include "morvel/curves/internal/definition_point.h"
#include "morvel/curves/internal/derivative_batch.h"
#include "morvel/curves/internal/derivative_order.h"
#include "morvel/curves/internal/spline_point.h"
#include "morvel/curves/offset_curve.h"
#include "morvel/curves/polyline.h"
#include "morvel/foundation/checked_count.h"
#include "morvel/foundation/knot_vector.h"

namespace trova::geometry {
namespace {

// The local search for the closest parameter.
constexpr int kMaxClosestIterations = 50;
constexpr double kOrthogonalityTolerance = 1e-8;  // of (C - P) . C'
constexpr double kMinClosestSlope = 1e-12;
constexpr double kClosestStepTolerance = 1e-8;  // parameter units

}  // namespace

BSplineCurve::BSplineCurve(std::vector<Point3D> controlPoints, std::vector<double> knots,
                           int degree)
    : SplineCurve(std::move(knots), degree), points_(std::move(controlPoints)) {
  box_ = computeBoundingBox();
}

std::unique_ptr<BSplineCurve> BSplineCurve::createUniform(const std::vector<Point3D>& points,
                                                          int degree) {
  const int count = static_cast<int>(points.size());
  return std::make_unique<BSplineCurve>(points, generateUniformKnots(count, degree), degree);
}

std::unique_ptr<BSplineCurve> BSplineCurve::createClamped(const std::vector<Point3D>& points,
                                                          int degree) {
  const int count = static_cast<int>(points.size());
  return std::make_unique<BSplineCurve>(points, generateClampedKnots(count, degree), degree);
}

std::unique_ptr<BSplineCurve> BSplineCurve::interpolatePoints(const std::vector<Point3D>& points,
                                                              int degree) {
  if (static_cast<std::int64_t>(points.size()) < static_cast<std::int64_t>(degree) + 1)
    throw std::invalid_argument("Insufficient points for interpolation");
  // By contract: the points become the control points; their chord lengths play no part.
  return createClamped(points, degree);
}

std::vector<double> BSplineCurve::generateUniformKnots(int n, int p) {
  // By contract: "uniform" knots are clamped too.
  return generateClampedKnots(n, p);
}

std::vector<double> BSplineCurve::generateClampedKnots(int n, int p) {
  return foundation::nurbs::clampedUniformKnots(n, p);
}

std::vector<double> BSplineCurve::generateChordLengthParameters(
    const std::vector<Point3D>& points) {
  std::vector<double> parameters = cumulativeChordLengths(points);
  // By contract: a total of zero is not guarded.
  const double total = parameters.empty() ? 1.0 : parameters.back();
  for (double& t : parameters)
    t /= total;
  return parameters;
}

std::unique_ptr<Curve> BSplineCurve::clone() const { return std::make_unique<BSplineCurve>(*this); }

bool BSplineCurve::isValid() const {
  if (points_.empty() || getDegree() < 1) return false;
  const std::int64_t count = static_cast<std::int64_t>(points_.size());
  const std::int64_t knots = static_cast<std::int64_t>(getKnotVector().size());
  return knots == foundation::knotCountFor(count, getDegree()) && isValidKnotVector();
}

bool BSplineCurve::isClosed(const ToleranceContext& tolerance) const {
  return internal::endsMeet(points_, tolerance);
}

Point3D BSplineCurve::evaluate(double u) const { return deBoor(u); }

std::vector<Vector3D> BSplineCurve::evaluateDerivatives(double u, int order) const {
  return deBoorDerivatives(u, order);
}

// By contract: through the virtual span search and basis functions, which a derived class may have
// of its own. Where there is none, `evaluateBatch` goes the direct way and gives the same bits.
Point3D BSplineCurve::deBoor(double u) const {
  if (!isRegular(points_.size()))
    return Point3D(internal::definitionPoint(basis(), points_.data(), points_.size(), u, 0));
  const int p = getDegree();
  if (p == foundation::nurbs::kCubicDegree && typeid(*this) == typeid(BSplineCurve)) {
    Point3D point;
    internal::cubicBatch<0>(points_.front().eigen().data(), basis(), {&u, 1}, point.eigen().data());
    return point;
  }
  const int span = findKnotSpan(u);
  internal::BasisValues values(static_cast<std::size_t>(p) + 1);
  evaluateBasisFunctions(span, u, {values.data(), static_cast<std::size_t>(p) + 1});
  return Point3D(internal::combination(values.data(), points_.data() + (span - p), p + 1));
}

std::vector<Vector3D> BSplineCurve::deBoorDerivatives(double u, int order) const {
  std::vector<Vector3D> result = internal::zeroDerivatives(order);
  const int p = getDegree();
  const int highest = std::min(order, p);
  if (!isRegular(points_.size())) {
    for (int k = 0; k <= highest; ++k)
      result[k] =
          Vector3D(internal::definitionPoint(basis(), points_.data(), points_.size(), u, k));
    return result;
  }
  if (highest < 0) return result;
  const std::size_t width = static_cast<std::size_t>(p) + 1;
  const std::size_t room = width * (static_cast<std::size_t>(highest) + 1);
  const int span = findKnotSpan(u);
  internal::BasisDerivatives values(room);
  evaluateBasisDerivatives(span, u, highest, {values.data(), room});
  for (int k = 0; k <= highest; ++k)
    result[k] = Vector3D(
        internal::combination(values.data() + k * width, points_.data() + (span - p), p + 1));
  return result;
}

void BSplineCurve::evaluateBatch(std::span<const double> t, int order, double* out) const {
  if (!isRegular(points_.size())) return internal::evaluateOneByOne(*this, t, order, out);
  internal::requireOrder(order);
  const bool isCubic = getDegree() == foundation::nurbs::kCubicDegree;
  const double* points = points_.front().eigen().data();
  if (isCubic && order == 0) return internal::cubicBatch<0>(points, basis(), t, out);
  if (isCubic && order == 1) return internal::cubicBatch<1>(points, basis(), t, out);
  if (isCubic && order == 2) return internal::cubicBatch<2>(points, basis(), t, out);
  batchOfAnyDegree(t, order, out);
}

void BSplineCurve::batchOfAnyDegree(std::span<const double> t, int order, double* out) const {
  const int highest = std::min(order, getDegree());
  internal::BasisDerivatives table((static_cast<std::size_t>(getDegree()) + 1) *
                                   (static_cast<std::size_t>(highest) + 1));
  const std::ptrdiff_t width = internal::kDoublesPerVector * (std::ptrdiff_t(order) + 1);
  for (const double u : t) {
    std::fill_n(out, width, 0.0);
    internal::splineDerivatives(basis(), points_.data(), u, highest, table.data(),
                                [&](int k, const Eigen::Vector3d& derivative) {
                                  internal::writeTriple(derivative,
                                                        out + internal::kDoublesPerVector * k);
                                });
    out += width;
  }
}

BoundingBox BSplineCurve::getBoundingBox() const { return box_ ? *box_ : computeBoundingBox(); }

BoundingBox BSplineCurve::computeBoundingBox() const { return ParametricCurve::getBoundingBox(); }

void BSplineCurve::invalidateCache() { box_.reset(); }

// By contract: a local search. It finds the foot point that Newton's method leads to from the
// middle, which need not be the nearest one.
double BSplineCurve::getClosestParameter(const Point3D& point) const {
  internal::requireFinitePoint(point);
  const ParameterInterval interval = getParameterInterval();
  double t = (interval.start + interval.end) / 2.0;
  for (int i = 0; i < kMaxClosestIterations; ++i) {
    const std::vector<Vector3D> c = evaluateDerivatives(t, 2);
    const Vector3D d = c[0] - (point - Point3D::origin());
    const double f = d.dot(c[1]);
    const double slope = c[1].dot(c[1]) + d.dot(c[2]);
    if (std::abs(f) < kOrthogonalityTolerance || std::abs(slope) < kMinClosestSlope) break;
    const double step = f / slope;
    if (!std::isfinite(step)) break;
    const double next = std::max(interval.start, std::min(interval.end, t - step));
    const bool hasArrived = std::abs(next - t) < kClosestStepTolerance;
    if (hasArrived) break;
    t = next;
  }
  return t;
}

std::unique_ptr<Curve> BSplineCurve::transform(const Transform3D& transform) const {
  return std::make_unique<BSplineCurve>(internal::transformed(points_, transform), getKnotVector(),
                                        getDegree());
}

std::unique_ptr<Curve> BSplineCurve::reverse() const {
  return std::make_unique<BSplineCurve>(std::vector<Point3D>(points_.rbegin(), points_.rend()),
                                        foundation::nurbs::reversedKnots(getKnotVector()),
                                        getDegree());
}

std::unique_ptr<Curve> BSplineCurve::offset(double distance, const Vector3D& planeNormal) const {
  return std::make_unique<OffsetCurve>(std::make_shared<BSplineCurve>(*this), distance,
                                       planeNormal);
}

std::vector<Point3D> BSplineCurve::adaptiveTessellate(double tolerance) const {
  return adaptivePolyline(*this, getBreaks(), getDegree(), tolerance);
}

void BSplineCurve::applyTransformToGeometry(const Transform3D& transform) {
  points_ = internal::transformed(points_, transform);
  box_ = computeBoundingBox();
}

Point3D BSplineCurve::getControlPoint(int i) const {
  internal::requireIndex(i, points_.size());
  return points_[i];
}

void BSplineCurve::setControlPoint(int i, const Point3D& point) {
  internal::requireIndex(i, points_.size());
  internal::requireFinitePoint(point);
  points_[i] = point;
  invalidateCache();
}

double BSplineCurve::binomialCoeff(int n, int k) {
  if (k < 0 || k > n) return 0.0;
  double result = 1.0;
  for (int j = 1; j <= std::min(k, n - k) && std::isfinite(result); ++j)
    result = result * (static_cast<double>(n) - j + 1) / j;
  return result;
}

}  // namespace trova::geometry
