#include "morvel/curves/internal/least_squares_fit.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <stdexcept>

#include "morvel/foundation/linear_solvers.h"

namespace trova::geometry::internal {
namespace {

using foundation::nurbs::SplineBasis;

// Twice as many samples in a span as basis functions there, so that every one is well determined.
int samplesPerSpan(int degree) { return 2 * (degree + 1); }

// Parameters at (i + shift) / count of every non-empty span, i = 0 .. count - 1.
std::vector<double> spanParameters(const std::vector<double>& knots, int count, double shift) {
  std::vector<double> parameters;
  for (std::size_t k = 0; k + 1 < knots.size(); ++k) {
    const double width = knots[k + 1] - knots[k];
    if (!(width > 0.0)) continue;
    for (int i = 0; i < count; ++i)
      parameters.push_back(knots[k] + width * (i + shift) / count);
  }
  return parameters;
}

// Above this degree the normal equations, whose condition is the square of the basis's (about 2^p),
// lose too many digits; orthogonal factors of the basis matrix do not.
constexpr int kMaxNormalDegree = 10;

// Up to this many entries that matrix is formed: at such degrees and sizes it is hardly sparse.
constexpr std::int64_t kMaxDenseEntries = 4'000'000;

// One equation of the fit: the basis functions of the interior control points that are not zero at
// a parameter, and what is left for them. Coordinates are relative to the start, so that no digits
// go to the distance from the origin.
struct FitRow {
  int first = 0;  // interior index of values[begin]
  int begin = 0;
  int end = 0;
  std::array<double, foundation::kMaxStackDegree + 1> values;
  Vector3D target;

  FitRow(const SplineBasis& basis, double u, const Vector3D& point, const Vector3D& chord) {
    const int p = basis.degree();
    const int interior = basis.count() - 2;
    const int span = basis.span(u);
    const int offset = span - p - 1;  // interior index of values[0]
    basis.values(u, span, values.data());
    begin = std::max(0, -offset);
    end = std::min(p + 1, interior - offset);
    first = offset + begin;
    target = end > p ? point : point - chord * values[p];
  }
};

template <class Consume>
void forEachRow(const UpwardCurve& curve, const SplineBasis& basis, Consume&& consume) {
  const Point3D start = curve.point(curve.low());
  const Vector3D chord = curve.point(curve.high()) - start;
  for (const double u : spanParameters(basis.knots(), samplesPerSpan(basis.degree()), 0.5))
    consume(FitRow(basis, u, curve.point(u) - start, chord));
}

std::vector<Vector3D> solveNormalEquations(const UpwardCurve& curve, const SplineBasis& basis) {
  const int size = basis.count() - 2;
  foundation::SymmetricBandedSystem matrix(size, std::min(basis.degree(), size - 1));
  std::vector<Vector3D> rows(static_cast<std::size_t>(size));
  forEachRow(curve, basis, [&](const FitRow& row) {
    for (int r = row.begin; r < row.end; ++r) {
      const int i = row.first + r - row.begin;
      rows[i] += row.target * row.values[r];
      for (int c = row.begin; c <= r; ++c)
        matrix.add(i, row.first + c - row.begin, row.values[r] * row.values[c]);
    }
  });
  if (!matrix.factor()) throw std::runtime_error("Curve fit is ill-conditioned at this degree");
  matrix.solve(rows.front().eigen().data(), 3);
  return rows;
}

std::vector<Vector3D> solveOrthogonally(const UpwardCurve& curve, const SplineBasis& basis,
                                        std::int64_t equations) {
  Eigen::MatrixXd matrix = Eigen::MatrixXd::Zero(equations, basis.count() - 2);
  Eigen::MatrixXd targets(equations, 3);
  Eigen::Index equation = 0;
  forEachRow(curve, basis, [&](const FitRow& row) {
    for (int r = row.begin; r < row.end; ++r)
      matrix(equation, row.first + r - row.begin) = row.values[r];
    targets.row(equation++) = row.target.eigen().transpose();
  });
  const Eigen::MatrixXd solution = foundation::solveLeastSquares(matrix, targets);
  std::vector<Vector3D> rows;
  for (Eigen::Index i = 0; i < solution.rows(); ++i)
    rows.emplace_back(Eigen::Vector3d(solution.row(i).transpose()));
  return rows;
}

// The control points between the two ends, relative to the start.
std::vector<Vector3D> interiorPoints(const UpwardCurve& curve, const SplineBasis& basis) {
  const std::int64_t size = basis.count() - 2;
  if (size < 1) return {};
  const std::vector<double>& knots = basis.knots();
  std::int64_t spans = 0;
  for (std::size_t k = 1; k < knots.size(); ++k)
    spans += knots[k] > knots[k - 1];
  const std::int64_t equations = spans * samplesPerSpan(basis.degree());
  const bool dense = basis.degree() > kMaxNormalDegree && equations * size <= kMaxDenseEntries;
  return dense ? solveOrthogonally(curve, basis, equations) : solveNormalEquations(curve, basis);
}

std::vector<Point3D> fittedPoints(const UpwardCurve& curve, const SplineBasis& basis) {
  const Point3D start = curve.point(curve.low());
  std::vector<Point3D> points{start};
  for (const Vector3D& arm : interiorPoints(curve, basis))
    points.push_back(start + arm);
  points.push_back(curve.point(curve.high()));
  return points;
}

}  // namespace

UpwardCurve::UpwardCurve(const Curve& curve) : curve_(curve) {
  const ParameterInterval interval = curve.getParameterInterval();
  low_ = std::min(interval.start, interval.end);
  high_ = std::max(interval.start, interval.end);
  mirrored_ = interval.end < interval.start;
  if (!(high_ > low_) || !std::isfinite(high_ - low_))
    throw std::invalid_argument("Curve has no interval");
}

Point3D UpwardCurve::point(double u) const {
  if (!mirrored_) return curve_.evaluate(u);
  return curve_.evaluate(u == low_ ? high_ : u == high_ ? low_ : low_ + (high_ - u));
}

CurveFit fitOnKnots(const UpwardCurve& curve, const std::vector<double>& knots, int degree) {
  const SplineBasis basis(degree, knots);
  CurveFit fit;
  fit.spline = std::make_unique<BSplineCurve>(fittedPoints(curve, basis), knots, degree);
  fit.deviation = measuredDeviation(curve, *fit.spline);
  return fit;
}

double measuredDeviation(const UpwardCurve& curve, const BSplineCurve& spline) {
  const int count = samplesPerSpan(spline.getDegree());
  double largest = 0.0;
  for (const double u : spanParameters(spline.getKnotVector(), count, 0.0)) {
    const double distance = spline.evaluate(u).distanceTo(curve.point(u));
    if (!std::isfinite(distance)) throw std::invalid_argument("Curve is not finite");
    largest = std::max(largest, distance);
  }
  return largest;
}

}  // namespace trova::geometry::internal
