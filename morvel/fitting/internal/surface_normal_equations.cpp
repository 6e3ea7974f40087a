#include "morvel/fitting/internal/surface_normal_equations.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <stdexcept>

#include "morvel/fitting/internal/cell_sums.h"
#include "morvel/foundation/checked_count.h"
#include "morvel/foundation/progress.h"
#include "morvel/foundation/tolerances.h"

namespace trova::geometry::internal {
namespace {

using foundation::checkedCount;
using foundation::kMaxStackDegree;
using foundation::nurbs::SplineBasis;
using foundation::progress::Stage;

constexpr int kDimensions = 3;
constexpr std::size_t kReported = std::size_t(1) << 16;  // samples between two reports
constexpr double kUntilSorted = 0.4;                     // of the time of the sums
constexpr std::size_t kMostValues = kMaxStackDegree + 1;

void requireFinite(bool isFinite) {
  if (!isFinite) throw std::invalid_argument("Points and parameters must be finite");
}

bool hasStackDegree(const SplineBasis& basis) {
  return basis.isUsable() && basis.degree() >= 1 && basis.degree() <= kMaxStackDegree;
}

std::vector<SpanForm> spanForms(const SplineBasis& basis) {
  std::vector<SpanForm> forms(basis.count() - basis.degree());
  for (int k = 0; k < int(forms.size()); ++k) {
    const int span = basis.degree() + k;
    if (basis.knots()[span] < basis.knots()[span + 1]) forms[k] = SpanForm(basis, span);
  }
  return forms;
}

// Points with their parameters, those of one knot cell side by side, in the order in which they
// came (a counting sort).
class SortedSamples {
 public:
  using Parameters = SurfaceNormalEquations::Parameters;

  SortedSamples(const SplineBasis& u, const SplineBasis& v, std::span<const Parameters> parameters,
                std::span<const Point3D> points)
      : cellsU_(u.count() - u.degree()) {
    const std::int64_t cells = std::int64_t(cellsU_) * (v.count() - v.degree());
    std::vector<std::uint32_t> cellOf(points.size());
    starts_.assign(cells + 1, 0);
    Stage stage(nullptr, 0.0, kUntilSorted);
    for (std::size_t k = 0; k < points.size(); ++k) {
      if (k % kReported == 0) stage.report(double(k), 2.0 * double(points.size()));
      const auto [s, t] = parameters[k];
      // A NaN or an infinity stays one in the sum.
      requireFinite(std::isfinite(s + t + points[k].eigen().sum()));
      const int cellU = u.span(s) - u.degree();
      const int cellV = v.span(t) - v.degree();
      cellOf[k] = std::uint32_t(cellV) * cellsU_ + cellU;
      ++starts_[cellOf[k] + 1];
    }
    for (std::int64_t cell = 0; cell < cells; ++cell)
      starts_[cell + 1] += starts_[cell];
    place(u, v, parameters, points, cellOf, stage);
  }

  /// visit(cellU, cellV, samples, count) for the cells that have any.
  template <class Visit>
  void forEachCell(Visit visit) const {
    for (std::size_t cell = 0; cell + 1 < starts_.size(); ++cell) {
      const std::ptrdiff_t count = starts_[cell + 1] - starts_[cell];
      if (count > 0)
        visit(int(cell % cellsU_), int(cell / cellsU_), samples_.data() + starts_[cell], count);
    }
  }

 private:
  void place(const SplineBasis& u, const SplineBasis& v, std::span<const Parameters> parameters,
             std::span<const Point3D> points, const std::vector<std::uint32_t>& cellOf,
             Stage& stage) {
    samples_.resize(points.size());
    std::vector<std::ptrdiff_t> next(starts_.begin(), starts_.end() - 1);
    for (std::size_t k = 0; k < points.size(); ++k) {
      if (k % kReported == 0) stage.report(double(points.size() + k), 2.0 * double(points.size()));
      const double s = std::clamp(parameters[k].first, u.start(), u.end());
      const double t = std::clamp(parameters[k].second, v.start(), v.end());
      samples_[next[cellOf[k]]++] = {s, t, {points[k].x(), points[k].y(), points[k].z()}};
    }
  }

  int cellsU_;
  std::vector<std::ptrdiff_t> starts_;
  std::vector<FitSample> samples_;
};

}  // namespace

SurfaceNormalEquations::SurfaceNormalEquations(const SplineBasis& u, const SplineBasis& v)
    : basisU_(u), basisV_(v) {
  if (!hasStackDegree(u) || !hasStackDegree(v))
    throw std::invalid_argument("Fitting needs bases of degree 1 to 29 on valid knots");
  rows_.assign(checkedCount({u.count(), v.count(), rowWidth()}), 0.0);
  rightHandSide_ = Eigen::MatrixXd::Zero(size(), kDimensions);
}

std::ptrdiff_t SurfaceNormalEquations::rowWidth() const {
  return (2 * std::ptrdiff_t(basisU_.degree()) + 1) * (basisV_.degree() + 1);
}

std::ptrdiff_t SurfaceNormalEquations::place(int i, int j, int iColumn, int jColumn) const {
  const int p = basisU_.degree();
  const std::ptrdiff_t row = std::ptrdiff_t(j) * countU() + i;
  return row * rowWidth() + std::ptrdiff_t(j - jColumn) * (2 * p + 1) + (iColumn - i + p);
}

void SurfaceNormalEquations::add(double u, double v, const Point3D& point, double weight) {
  requireFinite(std::isfinite(u + v + weight) && point.isFinite());
  const int p = basisU_.degree();
  const int q = basisV_.degree();
  u = std::clamp(u, basisU_.start(), basisU_.end());
  v = std::clamp(v, basisV_.start(), basisV_.end());
  const int i0 = basisU_.span(u) - p;
  const int j0 = basisV_.span(v) - q;
  std::array<double, kMostValues> inU, inV;
  basisU_.values(u, i0 + p, inU.data());
  basisV_.values(v, j0 + q, inV.data());
  for (int s = 0; s <= q; ++s) {
    for (int r = 0; r <= p; ++r) {
      const double share = weight * inU[r] * inV[s];
      for (int s2 = 0; s2 <= s; ++s2)
        for (int r2 = 0; r2 <= (s2 < s ? p : r); ++r2)
          rows_[place(i0 + r, j0 + s, i0 + r2, j0 + s2)] += share * inU[r2] * inV[s2];
      rightHandSide_.row((j0 + s) * std::ptrdiff_t(countU()) + i0 + r) += share * point.eigen();
    }
  }
}

void SurfaceNormalEquations::add(std::span<const Parameters> parameters,
                                 std::span<const Point3D> points) {
  if (parameters.size() != points.size())
    throw std::invalid_argument("Fitting needs as many parameters as points");
  checkedCount({std::int64_t(points.size())});
  const std::vector<SpanForm> formsU = spanForms(basisU_);
  const std::vector<SpanForm> formsV = spanForms(basisV_);
  CellSums sums(basisU_.degree(), basisV_.degree());
  Stage assembling("assembling");
  const SortedSamples samples(basisU_, basisV_, parameters, points);
  Stage stage(nullptr, kUntilSorted);
  std::ptrdiff_t done = 0;
  samples.forEachCell(
      [&](int cellU, int cellV, const FitSample* cellSamples, std::ptrdiff_t count) {
        stage.report(double(done), double(points.size()));
        done += count;
        sums.take(cellSamples, count, formsU[cellU], formsV[cellV]);
        addCell(sums, cellU, cellV);
      });
}

// The sums of the cell whose first functions are i0 in u and j0 in v.
void SurfaceNormalEquations::addCell(const CellSums& sums, int i0, int j0) {
  const int p = basisU_.degree();
  const int q = basisV_.degree();
  for (int s = 0; s <= q; ++s) {
    for (int r = 0; r <= p; ++r) {
      for (int s2 = 0; s2 <= s; ++s2) {
        const Eigen::Index column = SpanForm::pairIndex(s, s2);
        double* row = &rows_[place(i0 + r, j0 + s, i0, j0 + s2)];
        for (int r2 = 0; r2 <= (s2 < s ? p : r); ++r2)
          row[r2] += sums.products()(SpanForm::pairIndex(r, r2), column);
      }
      const std::ptrdiff_t index = (j0 + s) * std::ptrdiff_t(countU()) + i0 + r;
      for (int d = 0; d < kDimensions; ++d)
        rightHandSide_(index, d) += sums.sides(d)(r, s);
    }
  }
}

template <class Visit>
void SurfaceNormalEquations::forEachLowerEntry(Visit visit) const {
  const int p = basisU_.degree();
  const int q = basisV_.degree();
  for (int j = 0; j < countV(); ++j) {
    for (int i = 0; i < countU(); ++i) {
      const std::ptrdiff_t row = std::ptrdiff_t(j) * countU() + i;
      for (int jColumn = std::max(0, j - q); jColumn <= j; ++jColumn) {
        const int first = std::max(0, i - p);
        const int last = jColumn < j ? std::min(countU() - 1, i + p) : i;
        const double* values = &rows_[place(i, j, first, jColumn)];
        for (int iColumn = first; iColumn <= last; ++iColumn)
          visit(row, std::ptrdiff_t(jColumn) * countU() + iColumn, *values++);
      }
    }
  }
}

Eigen::MatrixXd SurfaceNormalEquations::dense() const {
  Eigen::MatrixXd M = Eigen::MatrixXd::Zero(size(), size());
  forEachLowerEntry([&](std::ptrdiff_t row, std::ptrdiff_t column, double value) {
    M(row, column) = value;
    M(column, row) = value;
  });
  return M;
}

Eigen::MatrixXd SurfaceNormalEquations::multiplied(const Eigen::MatrixXd& X, double ridge) const {
  if (X.rows() != size())
    throw std::invalid_argument("Linear system has matrices of unequal height");
  Eigen::MatrixXd result = ridge * X;
  for (Eigen::Index c = 0; c < X.cols(); ++c) {
    const double* x = X.col(c).data();
    double* y = result.col(c).data();
    forEachLowerEntry([&](std::ptrdiff_t row, std::ptrdiff_t column, double value) {
      y[row] += value * x[column];
      if (column != row) y[column] += value * x[row];
    });
  }
  return result;
}

double SurfaceNormalEquations::largestEigenvalue() const {
  Stage stage("estimating the condition");
  return foundation::largestEigenvalue(size(), [&](const Eigen::VectorXd& x, Eigen::VectorXd& y) {
    stage.report(0.0);
    y = multiplied(x);
  });
}

SurfaceNormalFactor::SurfaceNormalFactor(const SurfaceNormalEquations& equations, double ridge,
                                         bool isTransposed)
    : equations_(equations),
      ridge_(ridge),
      isTransposed_(isTransposed),
      band_(equations.size(), int(bandwidth(equations, isTransposed))) {
  equations.forEachLowerEntry([&](std::ptrdiff_t row, std::ptrdiff_t column, double value) {
    const std::ptrdiff_t a = index(row);
    const std::ptrdiff_t b = index(column);
    band_.add(int(std::max(a, b)), int(std::min(a, b)), row == column ? value + ridge : value);
  });
}

std::int64_t SurfaceNormalFactor::bandwidth(const SurfaceNormalEquations& equations,
                                            bool isTransposed) {
  const std::int64_t p = equations.basisU().degree();
  const std::int64_t q = equations.basisV().degree();
  const std::int64_t band = isTransposed ? p * equations.countV() + q : q * equations.countU() + p;
  return std::min<std::int64_t>(band, equations.size() - 1);
}

std::ptrdiff_t SurfaceNormalFactor::index(std::ptrdiff_t natural) const {
  if (!isTransposed_) return natural;
  const std::ptrdiff_t i = natural % equations_.countU();
  const std::ptrdiff_t j = natural / equations_.countU();
  return i * equations_.countV() + j;
}

std::unique_ptr<SurfaceNormalFactor> SurfaceNormalFactor::of(
    const SurfaceNormalEquations& equations, double ridge) {
  const bool isTransposed = bandwidth(equations, true) < bandwidth(equations, false);
  checkedCount({equations.size(), bandwidth(equations, isTransposed) + 1}, kMostBandEntries);
  std::unique_ptr<SurfaceNormalFactor> factor(
      new SurfaceNormalFactor(equations, ridge, isTransposed));
  Stage stage("factoring");
  if (!factor->band_.factor(&stage)) return nullptr;
  if (!(factor->band_.smallestPivotShare() >= kSmallestPivotShare)) return nullptr;
  return factor;
}

void SurfaceNormalFactor::solveInPlace(Eigen::MatrixXd& X) const {
  using Rows = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;
  Rows rows(X.rows(), X.cols());
  for (std::ptrdiff_t k = 0; k < X.rows(); ++k)
    rows.row(index(k)) = X.row(k);
  band_.solve(rows.data(), int(X.cols()));
  for (std::ptrdiff_t k = 0; k < X.rows(); ++k)
    X.row(k) = rows.row(index(k));
}

std::optional<Eigen::MatrixXd> SurfaceNormalFactor::solve(const Eigen::MatrixXd& B) const {
  Stage stage("solving");
  Eigen::MatrixXd X = B;
  solveInPlace(X);
  stage.report(0.0);
  Eigen::MatrixXd residual = B - equations_.multiplied(X, ridge_);
  if (!residual.allFinite()) return std::nullopt;
  stage.report(0.0);
  solveInPlace(residual);
  stage.report(0.0);
  X += residual;
  residual = B - equations_.multiplied(X, ridge_);
  for (Eigen::Index c = 0; c < B.cols(); ++c) {
    const double largest = B.col(c).cwiseAbs().maxCoeff();
    if (!(residual.col(c).cwiseAbs().maxCoeff() <= foundation::kLargestResidual * largest))
      return std::nullopt;
  }
  return X;
}

double SurfaceNormalFactor::smallestEigenvalue() const {
  Stage stage("estimating the condition");
  return 1.0 / foundation::largestEigenvalue(equations_.size(),
                                             [&](const Eigen::VectorXd& x, Eigen::VectorXd& y) {
                                               stage.report(0.0);
                                               Eigen::MatrixXd X = x;
                                               solveInPlace(X);
                                               y = X;
                                             });
}

}  // namespace trova::geometry::internal
