#include "morvel/curves/bezier_curve.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

#include "morvel/curves/internal/closest_parameter.h"
#include "morvel/curves/internal/control_points.h"
#include "morvel/curves/internal/curve_checks.h"
#include "morvel/curves/internal/curve_extension.h"
#include "morvel/curves/internal/derivative_batch.h"
#include "morvel/curves/internal/derivative_order.h"
#include "morvel/curves/internal/spline_conversion.h"
#include "morvel/curves/internal/spline_point.h"
#include "morvel/curves/offset_curve.h"
#include "morvel/curves/polyline.h"
#include "morvel/foundation/bernstein.h"
#include "morvel/foundation/status_line.h"

namespace trova::geometry {
namespace {

constexpr std::array kWholeInterval{0.0, 1.0};
constexpr int kClosestSamplesPerDegree = 8;

using PointTable = foundation::ScratchBuffer<Point3D, internal::kStackValues>;

Point3D bernsteinSum(const Point3D* points, int degree, double t, double* values) {
  foundation::nurbs::bernsteinValues(degree, t, values);
  return Point3D(internal::combination(values, points, degree + 1));
}

std::unique_ptr<BezierCurve> bezierFrom(const internal::SplineRows& rows) {
  return std::make_unique<BezierCurve>(internal::pointsOf(rows));
}

}  // namespace

BezierCurve::BezierCurve(std::vector<Point3D> controlPoints) : points_(std::move(controlPoints)) {
  if (points_.empty()) throw std::invalid_argument("Invalid Bezier curve parameters");
}

std::unique_ptr<Curve> BezierCurve::clone() const { return std::make_unique<BezierCurve>(*this); }

bool BezierCurve::isValid() const {
  return points_.size() > 1 &&
         std::all_of(points_.begin(), points_.end(), [](const Point3D& p) { return p.isFinite(); });
}

bool BezierCurve::isClosed(const ToleranceContext& tolerance) const {
  return internal::endsMeet(points_, tolerance);
}

Point3D BezierCurve::evaluate(double u) const {
  internal::BasisValues values(points_.size());
  return bernsteinSum(points_.data(), getDegree(), u, values.data());
}

// The k-th derivative is p! / (p - k)! times the Bezier curve of the k-th differences of the
// points.
// `values` and `differences` have room for one entry per control point.
template <class Write>
void BezierCurve::derivativesAt(double u, int order, double* values, Point3D* differences,
                                Write write) const {
  const int p = getDegree();
  std::copy(points_.begin(), points_.end(), differences);
  double factor = 1.0;
  for (int k = 0; k <= std::min(order, p); ++k) {
    const Point3D sum = bernsteinSum(differences, p - k, u, values);
    write(k, Vector3D(sum.eigen()) * factor);
    for (int i = 0; i < p - k; ++i)
      differences[i] = Point3D((differences[i + 1] - differences[i]).eigen());
    factor *= p - k;
  }
}

std::vector<Vector3D> BezierCurve::evaluateDerivatives(double u, int order) const {
  std::vector<Vector3D> result = internal::zeroDerivatives(order);
  internal::BasisValues values(points_.size());
  PointTable differences(points_.size());
  derivativesAt(u, order, values.data(), differences.data(),
                [&](int k, const Vector3D& derivative) { result[k] = derivative; });
  return result;
}

void BezierCurve::evaluateBatch(std::span<const double> t, int order, double* out) const {
  internal::requireOrder(order);
  internal::BasisValues values(points_.size());
  PointTable differences(points_.size());
  const std::ptrdiff_t width = internal::kDoublesPerVector * (std::ptrdiff_t(order) + 1);
  for (const double u : t) {
    if (order == 0) {
      internal::writeTriple(bernsteinSum(points_.data(), getDegree(), u, values.data()), out);
    } else {
      std::fill_n(out, width, 0.0);
      derivativesAt(u, order, values.data(), differences.data(),
                    [&](int k, const Vector3D& derivative) {
                      internal::writeTriple(derivative, out + internal::kDoublesPerVector * k);
                    });
    }
    out += width;
  }
}

double BezierCurve::getClosestParameter(const Point3D& point) const {
  return internal::closestParameter(*this, kWholeInterval,
                                    kClosestSamplesPerDegree * std::max(1, getDegree()), point);
}

std::unique_ptr<Curve> BezierCurve::transform(const Transform3D& transform) const {
  return std::make_unique<BezierCurve>(internal::transformed(points_, transform));
}

std::unique_ptr<Curve> BezierCurve::trim(double u0, double u1) const {
  internal::requireTrimRange(getParameterInterval(), u0, u1);
  const internal::SplineRows upToU1 = internal::subdivided(internal::rowsOf(*this), u1).first;
  return bezierFrom(internal::subdivided(upToU1, u0).second);
}

std::pair<std::unique_ptr<Curve>, std::unique_ptr<Curve>> BezierCurve::split(double u) const {
  internal::requireSplitParameter(getParameterInterval(), u);
  const auto halves = internal::subdivided(internal::rowsOf(*this), u);
  return {bezierFrom(halves.first), bezierFrom(halves.second)};
}

std::unique_ptr<Curve> BezierCurve::reverse() const {
  return std::make_unique<BezierCurve>(std::vector<Point3D>(points_.rbegin(), points_.rend()));
}

std::unique_ptr<Curve> BezierCurve::extend(double length, CurveEnd end, ExtensionMode mode) const {
  try {
    const internal::SplineRows rows = internal::rowsOf(*this);
    if (mode == ExtensionMode::Linear)
      return internal::bsplineFrom(internal::extended(rows, length, end, mode));
    return bezierFrom(internal::extendedBezier(rows, length, end));
  } catch (const std::exception& fault) {
    foundation::status::failure("Error in BezierCurve::extend: ", fault.what());
    throw;
  }
}

std::unique_ptr<Curve> BezierCurve::offset(double distance, const Vector3D& planeNormal) const {
  return std::make_unique<OffsetCurve>(std::make_shared<BezierCurve>(*this), distance, planeNormal);
}

std::vector<Point3D> BezierCurve::adaptiveTessellate(double tolerance) const {
  return adaptivePolyline(*this, kWholeInterval, getDegree(), tolerance);
}

void BezierCurve::applyTransformToGeometry(const Transform3D& transform) {
  points_ = internal::transformed(points_, transform);
}

Point3D BezierCurve::getControlPoint(int i) const {
  internal::requireIndex(i, points_.size());
  return points_[i];
}

void BezierCurve::setControlPoint(int i, const Point3D& point) {
  internal::requireIndex(i, points_.size());
  internal::requireFinitePoint(point);
  points_[i] = point;
}

std::unique_ptr<BezierCurve> BezierCurve::elevateDegree(int times) const {
  return bezierFrom(foundation::nurbs::elevated(internal::rowsOf(*this), times));
}

}  // namespace trova::geometry
