#include <stdexcept>
#include <utility>

#include "morvel/curves/bspline_curve.h"
#include "morvel/curves/internal/degree_elevation.h"
#include "morvel/curves/internal/spline_conversion.h"
#include "morvel/foundation/knot_vector.h"

namespace trova::geometry {
namespace {

// Every insertion moves all knots behind it.
constexpr int kMaxInsertions = 10'000;

// By contract: the points behind the span do not move up, so the origin stands at the end.
void insertWithoutShift(std::vector<Point3D>& points, std::vector<double>& U, int p, double u) {
  const int k = foundation::nurbs::findKnotSpan(p, u, U);
  points.push_back(Point3D::origin());
  for (int i = k; i > k - p; --i) {
    const double alpha = foundation::nurbs::insertionCoefficient(u, U, i, p);
    points[i] = alpha * points[i] + (1.0 - alpha) * points[i - 1];
  }
  U.insert(U.begin() + k + 1, u);
}

}  // namespace

std::unique_ptr<Curve> BSplineCurve::insertKnot(double u, int times) const {
  if (times < 1) return clone();
  if (!isRegular(points_.size())) throw std::invalid_argument("Invalid B-spline curve");
  if (!isValidParameter(u) || times > kMaxInsertions)
    throw std::invalid_argument("Invalid knot insertion");
  std::vector<Point3D> points = points_;
  std::vector<double> knots = getKnotVector();
  for (int i = 0; i < times; ++i)
    insertWithoutShift(points, knots, getDegree(), u);
  return std::make_unique<BSplineCurve>(std::move(points), std::move(knots), getDegree());
}

std::unique_ptr<Curve> BSplineCurve::removeKnot(double /*u*/, int /*times*/) const {
  // By contract: knot removal is not carried out.
  return clone();
}

std::unique_ptr<Curve> BSplineCurve::elevateDegree(int times) const {
  return internal::bsplineFrom(internal::elevatedWithReport(internal::rowsOf(*this), times));
}

std::unique_ptr<Curve> BSplineCurve::trim(double u0, double u1) const {
  return internal::bsplineFrom(foundation::nurbs::trimmed(internal::rowsOf(*this), u0, u1));
}

std::pair<std::unique_ptr<Curve>, std::unique_ptr<Curve>> BSplineCurve::split(double u) const {
  const int p = getDegree();
  std::unique_ptr<Curve> refined = insertKnot(u, 1);
  for (int i = 0; i < p; ++i)
    refined = static_cast<const BSplineCurve&>(*refined).insertKnot(u, 1);
  const auto& curve = static_cast<const BSplineCurve&>(*refined);
  const auto at =
      curve.points_.begin() + foundation::nurbs::findKnotSpan(p, u, curve.getKnotVector());
  // By contract: fresh uniform knots over [0, 1], whatever stretch of the knots a piece had.
  return {createClamped({curve.points_.begin(), at + 1}, p),
          createClamped({at, curve.points_.end()}, p)};
}

}  // namespace trova::geometry
