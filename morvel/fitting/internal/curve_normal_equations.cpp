#include "morvel/fitting/internal/curve_normal_equations.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "morvel/foundation/checked_count.h"
#include "morvel/foundation/linear_solvers.h"
#include "morvel/foundation/progress.h"
#include "morvel/foundation/quad.h"
#include "morvel/foundation/wide_registers.h"

namespace trova::geometry::internal {
namespace {

using foundation::Point3D;
using foundation::Quad;
using foundation::storeAll;
using foundation::nurbs::kCubicWidth;
using foundation::nurbs::SplineBasis;

constexpr int kDim = 3;

// Of the largest entry: what a deficient system gets on its diagonal.
constexpr double kRidgeShare = 1e-10;

// What one span adds: width x width products of its basis functions (the upper triangle counts),
// and by axis their products with the points.
struct SpanSums {
  int span;
  int width;
  const double* products;
  const double* moments;
};

struct CurveData {
  std::span<const double> params;
  std::span<const Point3D> points;
  std::span<const double> factors;

  double factor(std::size_t i) const { return factors.empty() ? 1.0 : factors[i]; }
};

// flush(sums) wherever the span changes, and at the end. The sums of a cubic stay in registers.
template <class Flush>
[[gnu::always_inline]] inline void gatherCubicOf(const SplineBasis& basis, const CurveData& data,
                                                 const Flush& flush) {
  Quad products[kCubicWidth]{}, moments[kDim]{};
  int current = basis.degree();
  const auto flushCurrent = [&]() __attribute__((always_inline)) {
    double flat[(kCubicWidth + kDim) * kCubicWidth];
    for (int r = 0; r < kCubicWidth; ++r)
      storeAll(products[r], flat + r * kCubicWidth);
    for (int axis = 0; axis < kDim; ++axis)
      storeAll(moments[axis], flat + (kCubicWidth + axis) * kCubicWidth);
    flush(SpanSums{current, kCubicWidth, flat, flat + kCubicWidth * kCubicWidth});
  };
  for (std::size_t i = 0; i < data.params.size(); ++i) {
    Quad row;
    const int span = basis.cubicRowsAt<0>(data.params[i], &row);
    if (span != current) {
      flushCurrent();
      for (Quad& sum : products)
        sum = Quad{};
      for (Quad& sum : moments)
        sum = Quad{};
      current = span;
    }
    for (int r = 0; r < kCubicWidth; ++r)
      products[r] += row[r] * row;
    row *= data.factor(i);
    for (int axis = 0; axis < kDim; ++axis)
      moments[axis] += data.points[i][axis] * row;
  }
  flushCurrent();
}

template <class Flush>
MORVEL_WIDE void gatherCubicWide(const SplineBasis& basis, const CurveData& data,
                                 const Flush& flush) {
  gatherCubicOf(basis, data, flush);
}

template <class Flush>
void gatherCubic(const SplineBasis& basis, const CurveData& data, const Flush& flush) {
  if (foundation::usesWideRegisters)
    gatherCubicWide(basis, data, flush);
  else
    gatherCubicOf(basis, data, flush);
}

template <class Flush>
void gatherAnyDegree(const SplineBasis& basis, const CurveData& data, const Flush& flush) {
  const int width = basis.degree() + 1;
  std::vector<double> values(std::size_t(width), 0.0);
  std::vector<double> products(std::size_t(width) * std::size_t(width), 0.0);
  std::vector<double> moments(std::size_t(width) * kDim, 0.0);
  int current = basis.degree();
  const auto flushCurrent = [&] {
    flush(SpanSums{current, width, products.data(), moments.data()});
  };
  for (std::size_t i = 0; i < data.params.size(); ++i) {
    const int span = basis.span(data.params[i]);
    if (span != current) {
      flushCurrent();
      std::fill(products.begin(), products.end(), 0.0);
      std::fill(moments.begin(), moments.end(), 0.0);
      current = span;
    }
    basis.values(data.params[i], span, values.data());
    for (int r = 0; r < width; ++r)
      for (int s = r; s < width; ++s)
        products[std::size_t(r) * width + s] += values[r] * values[s];
    for (int axis = 0; axis < kDim; ++axis)
      for (int r = 0; r < width; ++r)
        moments[std::size_t(axis) * width + r] +=
            data.points[i][axis] * (values[r] * data.factor(i));
  }
  flushCurrent();
}

bool satisfies(const Eigen::MatrixXd& residual, const Eigen::MatrixXd& right) {
  for (Eigen::Index c = 0; c < right.cols(); ++c) {
    const double allowed = foundation::kLargestResidual * right.col(c).cwiseAbs().maxCoeff();
    if (!(residual.col(c).cwiseAbs().maxCoeff() <= allowed)) return false;
  }
  return true;
}

}  // namespace

CurveNormalEquations::CurveNormalEquations(const foundation::nurbs::SplineBasis& basis)
    : basis_(basis),
      band_(std::size_t(foundation::checkedCount({basis.count(), basis.degree() + 1})), 0.0),
      right_(Eigen::MatrixXd::Zero(basis.count(), kDim)) {}

void CurveNormalEquations::add(std::span<const double> params, std::span<const Point3D> points,
                               std::span<const double> factors) {
  foundation::progress::Stage stage("assembling");
  const auto addToBand = [&](const SpanSums& sums) {
    const Eigen::Index first = sums.span - basis_.degree();
    stage.report(double(first), double(size()));
    for (int r = 0; r < sums.width; ++r) {
      double* row = band_.data() + (first + r) * sums.width;
      for (int s = r; s < sums.width; ++s)
        row[s - r] += sums.products[std::ptrdiff_t(r) * sums.width + s];
      for (int axis = 0; axis < kDim; ++axis)
        right_(first + r, axis) += sums.moments[std::ptrdiff_t(axis) * sums.width + r];
    }
  };
  const CurveData data{params, points, factors};
  if (basis_.degree() == foundation::nurbs::kCubicDegree)
    gatherCubic(basis_, data, addToBand);
  else
    gatherAnyDegree(basis_, data, addToBand);
}

double CurveNormalEquations::entry(Eigen::Index row, Eigen::Index column) const {
  const Eigen::Index least = std::min(row, column), offset = std::max(row, column) - least;
  return offset > basis_.degree() ? 0.0
                                  : band_[std::size_t(least * (basis_.degree() + 1) + offset)];
}

Eigen::MatrixXd CurveNormalEquations::matrix() const {
  return Eigen::MatrixXd::NullaryExpr(
      size(), size(), [this](Eigen::Index i, Eigen::Index j) { return entry(i, j); });
}

double CurveNormalEquations::largestEntry() const {
  return band_.empty() ? 0.0
                       : Eigen::Map<const Eigen::ArrayXd>(band_.data(), Eigen::Index(band_.size()))
                             .abs()
                             .maxCoeff<Eigen::PropagateNaN>();
}

std::optional<NormalSolution> CurveNormalEquations::solve() const { return solveRows(0, right_); }

std::optional<NormalSolution> CurveNormalEquations::solveBetween(const Point3D& first,
                                                                 const Point3D& last) const {
  const Eigen::Index inner = size() - 2;
  NormalSolution solution{Eigen::MatrixXd(size(), kDim)};
  solution.rows.row(0) = first.eigen().transpose();
  solution.rows.row(inner + 1) = last.eigen().transpose();
  if (inner < 1) return solution;
  Eigen::MatrixXd right = right_.middleRows(1, inner);
  for (Eigen::Index i = 0; i < inner; ++i)
    right.row(i) -= entry(i + 1, 0) * solution.rows.row(0) +
                    entry(i + 1, inner + 1) * solution.rows.row(inner + 1);
  const std::optional<NormalSolution> between = solveRows(1, right);
  if (!between) return std::nullopt;
  solution.rows.middleRows(1, inner) = between->rows;
  solution.ridge = between->ridge;
  return solution;
}

// The rows and columns from `first` on, as many as `right` has.
std::optional<NormalSolution> CurveNormalEquations::solveRows(Eigen::Index first,
                                                              const Eigen::MatrixXd& right) const {
  const double largest = largestEntry();
  if (!right.allFinite() || !std::isfinite(largest)) return std::nullopt;
  if (auto solution = solveBanded(first, right, 0.0)) return solution;
  const Eigen::Index n = right.rows();
  if (n > kMaxDense) return solveBanded(first, right, kRidgeShare * largest);
  const Eigen::MatrixXd block = matrix().block(first, first, n, n);
  std::optional<Eigen::MatrixXd> rows = foundation::solveSymmetric(block, right);
  if (!rows) return std::nullopt;
  return NormalSolution{*std::move(rows)};
}

std::optional<NormalSolution> CurveNormalEquations::solveBanded(Eigen::Index first,
                                                                const Eigen::MatrixXd& right,
                                                                double ridge) const {
  const int n = int(right.rows());
  foundation::SymmetricBandedSystem system(n, std::min(basis_.degree(), n - 1));
  for (int i = 0; i < n; ++i)
    for (int j = std::max(0, i - basis_.degree()); j <= i; ++j)
      system.add(i, j, entry(first + i, first + j) + (i == j ? ridge : 0.0));
  if (!system.factor()) return std::nullopt;
  Eigen::Matrix<double, Eigen::Dynamic, kDim, Eigen::RowMajor> rows = right;
  system.solve(rows.data(), kDim);
  Eigen::MatrixXd residual = -right;
  for (int i = 0; i < n; ++i)
    for (int j = std::max(0, i - basis_.degree()); j < std::min(n, i + basis_.degree() + 1); ++j)
      residual.row(i) += entry(first + i, first + j) * rows.row(j);
  if (!rows.allFinite() || !satisfies(residual, right)) return std::nullopt;
  return NormalSolution{rows, ridge};
}

}  // namespace trova::geometry::internal
