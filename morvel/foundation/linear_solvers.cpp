#include "morvel/foundation/linear_solvers.h"

#include <Eigen/Cholesky>
#include <Eigen/Eigenvalues>
#include <Eigen/LU>
#include <Eigen/QR>
#include <Eigen/SVD>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <utility>

#include "morvel/foundation/checked_count.h"
#include "morvel/foundation/progress.h"

namespace trova::foundation {
namespace {

constexpr double kEpsilon = std::numeric_limits<double>::epsilon();

void requireFinite(bool isFinite) {
  if (!isFinite) throw std::invalid_argument("Linear system has a non-finite entry");
}

void requireOpen(bool isOpen) {
  if (!isOpen) throw std::logic_error("Linear system is already factored");
}

void requireInBand(bool isInBand) {
  if (!isInBand) throw std::out_of_range("Entry outside the band of a linear system");
}

void requireSolvable(bool isSolvable) {
  if (!isSolvable) throw std::logic_error("Linear system is not factored");
}

void requireFiniteRows(const double* rows, std::ptrdiff_t size, int width) {
  if (width < 0) throw std::invalid_argument("Linear system has a negative right-hand side count");
  requireFinite(std::all_of(rows, rows + size * width, [](double x) { return std::isfinite(x); }));
}

// target -= factor * source, over rows of `width` doubles.
void subtractRow(double* target, const double* source, double factor, int width) {
  for (int c = 0; c < width; ++c)
    target[c] -= factor * source[c];
}

void requireShapes(const Eigen::MatrixXd& A, const Eigen::MatrixXd& B) {
  if (A.rows() != B.rows() || A.cols() == 0)
    throw std::invalid_argument("Linear system has matrices of unequal height");
  requireFinite(A.allFinite() && B.allFinite());
}

void requireSquare(const Eigen::MatrixXd& A, const Eigen::MatrixXd& B) {
  requireShapes(A, B);
  if (A.rows() != A.cols()) throw std::invalid_argument("Linear system is not square");
}

std::optional<Eigen::MatrixXd> accepted(Eigen::MatrixXd X, const Eigen::MatrixXd& AX,
                                        const Eigen::MatrixXd& B) {
  for (Eigen::Index c = 0; c < B.cols(); ++c) {
    const double residual = (AX.col(c) - B.col(c)).cwiseAbs().maxCoeff();
    if (!(residual <= kLargestResidual * B.col(c).cwiseAbs().maxCoeff())) return std::nullopt;
  }
  if (!X.allFinite()) return std::nullopt;
  return X;
}

// A pivot that cannot be told from the rounding of the largest entry, or that has overflowed.
bool isNoPivot(double pivot, double largest) {
  return !(std::abs(pivot) > kEpsilon * largest && std::isfinite(pivot));
}

using BandBlock = Eigen::Map<Eigen::MatrixXd, 0, Eigen::OuterStride<>>;

// Columns that are eliminated together; wide enough for the matrix kernels, narrow beside a band.
constexpr int kBlock = 32;

constexpr int kMostLanczosSteps = 400;
constexpr int kLanczosPeriod = 4;  // steps between two looks at the eigenvalues
// The error of an eigenvalue is about the square of this over the gap to the next one.
constexpr double kLanczosResidual = 1e-8;

// The basis of a Krylov space and the tridiagonal matrix that stands for the operator there.
class LanczosSteps {
 public:
  explicit LanczosSteps(int size)
      : size_(size), most_(std::min(size, kMostLanczosSteps)), basis_(size, 1) {
    // No symmetry of a grid makes such a vector orthogonal to an eigenvector.
    for (int i = 0; i < size; ++i)
      basis_(i, 0) = 1.0 + 0.5 * std::sin(1.7 * i + 0.3 * std::sqrt(double(i)));
    basis_.col(0).normalize();
  }

  // False where the space is complete, or the most steps are done.
  bool next(const SymmetricMap& apply) {
    const int k = int(alpha_.size());
    if (k == most_ || (k > 0 && !(beta_.back() > 0))) return false;
    if (k == basis_.cols()) return false;
    const Eigen::VectorXd last = basis_.col(k);
    apply(last, product_);
    if (k == 0) scale_ = product_.norm();
    alpha_.push_back(last.dot(product_));
    for (int pass = 0; pass < 2; ++pass)
      product_ -= basis_ * (basis_.transpose() * product_);
    const double norm = product_.norm();
    beta_.push_back(norm > kEpsilon * scale_ ? norm : 0.0);
    if (beta_.back() > 0 && k + 1 < most_) {
      basis_.conservativeResize(Eigen::NoChange, k + 2);
      basis_.col(k + 1) = product_ / norm;
    }
    return true;
  }

  // The largest value where it has settled; `best` is what it is now.
  std::optional<double> largest(double& best) const {
    const int k = int(alpha_.size());
    const bool isLast = k == most_ || !(beta_.back() > 0);
    if (!isLast && k % kLanczosPeriod != 0) return std::nullopt;
    Eigen::SelfAdjointEigenSolver<Eigen::MatrixXd> solver;
    solver.computeFromTridiagonal(
        Eigen::Map<const Eigen::VectorXd>(alpha_.data(), k),
        Eigen::Map<const Eigen::VectorXd>(beta_.data(), std::max(k - 1, 0)));
    if (solver.info() != Eigen::Success) return std::numeric_limits<double>::quiet_NaN();
    best = solver.eigenvalues()[k - 1];
    const double residual = beta_.back() * std::abs(solver.eigenvectors()(k - 1, k - 1));
    if (isLast || !(residual > kLanczosResidual * best)) return best;
    return std::nullopt;
  }

 private:
  int size_;
  int most_;
  double scale_ = 0.0;
  Eigen::MatrixXd basis_;
  Eigen::VectorXd product_;
  std::vector<double> alpha_;
  std::vector<double> beta_;
};

}  // namespace

BandedSystem::BandedSystem(int size, int lower, int upper)
    : size_(size), lower_(lower), upper_(upper) {
  checkedCount({lower, upper, 0});
  const std::int64_t width = 2 * std::int64_t(lower) + upper + 1;
  band_.assign(checkedCount({size, width}), 0.0);
  pivots_.resize(size);
}

double& BandedSystem::entry(std::ptrdiff_t row, std::ptrdiff_t column) {
  return band_[row * (2 * std::ptrdiff_t(lower_) + upper_ + 1) + (column - row + lower_)];
}

const double& BandedSystem::entry(std::ptrdiff_t row, std::ptrdiff_t column) const {
  return const_cast<BandedSystem*>(this)->entry(row, column);
}

void BandedSystem::add(int row, int column, double value) {
  requireOpen(state_ == State::Open);
  const bool isInside = row >= 0 && row < size_ && column >= 0 && column < size_;
  const std::int64_t offset = std::int64_t(column) - row;
  requireInBand(isInside && offset >= -std::int64_t(lower_) && offset <= upper_);
  requireFinite(std::isfinite(value));
  entry(row, column) += value;
}

std::ptrdiff_t BandedSystem::pivotRow(std::ptrdiff_t column) const {
  const std::ptrdiff_t last = std::min<std::ptrdiff_t>(column + lower_, size_ - 1);
  std::ptrdiff_t best = column;
  for (std::ptrdiff_t row = column + 1; row <= last; ++row) {
    if (std::abs(entry(row, column)) > std::abs(entry(best, column))) best = row;
  }
  return best;
}

void BandedSystem::eliminateBelow(std::ptrdiff_t k) {
  const std::ptrdiff_t lastRow = std::min<std::ptrdiff_t>(k + lower_, size_ - 1);
  const int width =
      int(std::min<std::ptrdiff_t>(k + lower_ + std::ptrdiff_t(upper_), size_ - 1) - k);
  for (std::ptrdiff_t row = k + 1; row <= lastRow; ++row) {
    double* target = &entry(row, k);
    *target /= entry(k, k);
    subtractRow(target + 1, &entry(k, k) + 1, *target, width);
  }
}

bool BandedSystem::factor() {
  if (state_ != State::Open) return state_ == State::Solvable;
  state_ = State::Singular;
  double largest = 0.0;
  for (const double value : band_)
    largest = std::max(largest, std::abs(value));
  for (std::ptrdiff_t k = 0; k < size_; ++k) {
    const std::ptrdiff_t pivot = pivotRow(k);
    if (isNoPivot(entry(pivot, k), largest)) return false;
    pivots_[k] = int(pivot);
    const std::ptrdiff_t end = std::min<std::ptrdiff_t>(k + lower_ + upper_ + 1, size_);
    if (pivot != k) std::swap_ranges(&entry(k, k), &entry(k, k) + (end - k), &entry(pivot, k));
    eliminateBelow(k);
  }
  state_ = State::Solvable;
  return true;
}

void BandedSystem::solve(double* rows, int width) const {
  requireSolvable(state_ == State::Solvable);
  requireFiniteRows(rows, size_, width);
  const auto row = [&](std::ptrdiff_t i) { return rows + i * width; };
  for (std::ptrdiff_t k = 0; k < size_; ++k) {
    if (pivots_[k] != k) std::swap_ranges(row(k), row(k) + width, row(pivots_[k]));
    const std::ptrdiff_t last = std::min<std::ptrdiff_t>(k + lower_, size_ - 1);
    for (std::ptrdiff_t i = k + 1; i <= last; ++i)
      subtractRow(row(i), row(k), entry(i, k), width);
  }
  for (std::ptrdiff_t k = std::ptrdiff_t(size_) - 1; k >= 0; --k) {
    const std::ptrdiff_t last = std::min<std::ptrdiff_t>(k + lower_ + upper_, size_ - 1);
    for (std::ptrdiff_t j = k + 1; j <= last; ++j)
      subtractRow(row(k), row(j), entry(k, j), width);
    for (int c = 0; c < width; ++c)
      row(k)[c] /= entry(k, k);
  }
}

SymmetricBandedSystem::SymmetricBandedSystem(int size, int bandwidth)
    : size_(size), bandwidth_(bandwidth) {
  checkedCount({bandwidth, 0});
  band_.assign(checkedCount({size, std::int64_t(bandwidth) + 1}), 0.0);
}

void SymmetricBandedSystem::add(int row, int column, double value) {
  requireOpen(state_ == State::Open);
  const bool isInside = column >= 0 && column <= row && row < size_;
  requireInBand(isInside && row - column <= bandwidth_);
  requireFinite(std::isfinite(value));
  band_[offset(row, column)] += value;
}

bool SymmetricBandedSystem::factor(progress::Stage* stage) {
  if (state_ != State::Open) return state_ == State::Solvable;
  state_ = State::Singular;
  diagonal_.resize(size_);
  for (std::ptrdiff_t i = 0; i < size_; ++i)
    diagonal_[i] = band_[offset(i, i)];
  if (!(bandwidth_ < 2 * kBlock ? factorByColumns() : factorByBlocks(stage))) return false;
  state_ = State::Solvable;
  return true;
}

double SymmetricBandedSystem::smallestPivotShare() const {
  requireSolvable(state_ == State::Solvable);
  return smallestPivotShare_;
}

// Judges the pivots of columns that are done, whose roots stand on the diagonal.
bool SymmetricBandedSystem::acceptPivots(std::ptrdiff_t first, std::ptrdiff_t count) {
  for (std::ptrdiff_t i = first; i < first + count; ++i) {
    const double pivot = band_[offset(i, i)] * band_[offset(i, i)];
    if (isNoPivot(pivot, diagonal_[i])) return false;
    smallestPivotShare_ = std::min(smallestPivotShare_, pivot / diagonal_[i]);
  }
  return true;
}

bool SymmetricBandedSystem::factorByColumns() {
  for (std::ptrdiff_t j = 0; j < size_; ++j) {
    double* column = &band_[offset(j, j)];
    if (!(column[0] > 0)) return false;
    column[0] = std::sqrt(column[0]);
    if (!acceptPivots(j, 1)) return false;
    const std::ptrdiff_t below = std::min<std::ptrdiff_t>(bandwidth_, size_ - 1 - j);
    for (std::ptrdiff_t r = 1; r <= below; ++r)
      column[r] /= column[0];
    for (std::ptrdiff_t r = 1; r <= below; ++r)
      subtractRow(&band_[offset(j + r, j + r)], column + r, column[r], int(below - r + 1));
  }
  return true;
}

bool SymmetricBandedSystem::factorByBlocks(progress::Stage* stage) {
  for (std::ptrdiff_t first = 0; first < size_; first += kBlock) {
    const std::ptrdiff_t count = std::min<std::ptrdiff_t>(kBlock, size_ - first);
    if (!factorBlock(first, count)) return false;
    updateBehind(first, count);
    if (stage) stage->report(double(first), size_);
  }
  return true;
}

bool SymmetricBandedSystem::factorBlock(std::ptrdiff_t first, std::ptrdiff_t count) {
  BandBlock block(&band_[offset(first, first)], count, count, Eigen::OuterStride<>(bandwidth_));
  const Eigen::LLT<Eigen::MatrixXd> llt(Eigen::MatrixXd(block.triangularView<Eigen::Lower>()));
  if (llt.info() != Eigen::Success) return false;
  block.triangularView<Eigen::Lower>() = llt.matrixLLT().triangularView<Eigen::Lower>();
  return acceptPivots(first, count);
}

// The rows below a factored block, and what they take off the columns behind it. The last `count`
// rows of its band stand in the band as an upper triangle only; they are worked on in a copy.
void SymmetricBandedSystem::updateBehind(std::ptrdiff_t first, std::ptrdiff_t count) {
  const std::ptrdiff_t next = first + count;
  const std::ptrdiff_t full = std::min(bandwidth_ - count, size_ - next);
  if (full <= 0) return;
  const std::ptrdiff_t tail =
      std::max<std::ptrdiff_t>(std::min<std::ptrdiff_t>(count, size_ - first - bandwidth_), 0);
  const Eigen::OuterStride<> stride(bandwidth_);
  const auto block = [&](std::ptrdiff_t row, std::ptrdiff_t column, std::ptrdiff_t rows,
                         std::ptrdiff_t columns) {
    return BandBlock(&band_[offset(row, column)], rows, columns, stride);
  };
  const Eigen::MatrixXd pivot = block(first, first, count, count).triangularView<Eigen::Lower>();
  const auto divide = [&](auto& rows) {
    pivot.triangularView<Eigen::Lower>().transpose().solveInPlace<Eigen::OnTheRight>(rows);
  };
  BandBlock below = block(next, first, full, count);
  divide(below);
  block(next, next, full, full).selfadjointView<Eigen::Lower>().rankUpdate(below, -1.0);
  if (tail == 0) return;
  const std::ptrdiff_t last = first + bandwidth_;
  BandBlock corner = block(last, first, tail, count);
  Eigen::MatrixXd copy = corner.triangularView<Eigen::Upper>();
  divide(copy);
  corner.triangularView<Eigen::Upper>() = copy;
  block(last, next, tail, full).noalias() -= copy * below.transpose();
  block(last, last, tail, tail).selfadjointView<Eigen::Lower>().rankUpdate(copy, -1.0);
}

void SymmetricBandedSystem::solve(double* rows, int width) const {
  requireSolvable(state_ == State::Solvable);
  requireFiniteRows(rows, size_, width);
  if (bandwidth_ >= kBlock && width < kBlock)
    solveByColumns(rows, width);
  else
    solveByRows(rows, width);
}

void SymmetricBandedSystem::solveByRows(double* rows, int width) const {
  const auto row = [&](std::ptrdiff_t i) { return rows + i * width; };
  const auto lastRow = [&](std::ptrdiff_t j) {
    return std::min<std::ptrdiff_t>(j + bandwidth_, size_ - 1);
  };
  const auto divide = [&](std::ptrdiff_t j) {
    for (int c = 0; c < width; ++c)
      row(j)[c] /= band_[offset(j, j)];
  };
  for (std::ptrdiff_t j = 0; j < size_; ++j) {
    divide(j);
    for (std::ptrdiff_t i = j + 1; i <= lastRow(j); ++i)
      subtractRow(row(i), row(j), band_[offset(i, j)], width);
  }
  for (std::ptrdiff_t j = std::ptrdiff_t(size_) - 1; j >= 0; --j) {
    for (std::ptrdiff_t i = j + 1; i <= lastRow(j); ++i)
      subtractRow(row(j), row(i), band_[offset(i, j)], width);
    divide(j);
  }
}

// Few right-hand sides: along the columns of the band, which stand without gaps.
void SymmetricBandedSystem::solveByColumns(double* rows, int width) const {
  using Rows = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;
  Eigen::Map<Rows> given(rows, size_, width);
  Eigen::MatrixXd x = given;
  const auto below = [&](std::ptrdiff_t j) {
    return Eigen::Map<const Eigen::VectorXd>(&band_[offset(j, j)] + 1,
                                             std::min<std::ptrdiff_t>(bandwidth_, size_ - 1 - j));
  };
  for (std::ptrdiff_t j = 0; j < size_; ++j) {
    x.row(j) /= band_[offset(j, j)];
    const auto column = below(j);
    for (int c = 0; c < width; ++c)
      x.col(c).segment(j + 1, column.size()) -= x(j, c) * column;
  }
  for (std::ptrdiff_t j = std::ptrdiff_t(size_) - 1; j >= 0; --j) {
    const auto column = below(j);
    for (int c = 0; c < width; ++c)
      x(j, c) =
          (x(j, c) - column.dot(x.col(c).segment(j + 1, column.size()))) / band_[offset(j, j)];
  }
  given = x;
}

double largestEigenvalue(int size, const SymmetricMap& apply) {
  if (size < 1) throw std::invalid_argument("Linear system has an empty matrix");
  LanczosSteps steps(size);
  double largest = 0.0;
  while (steps.next(apply)) {
    const std::optional<double> settled = steps.largest(largest);
    if (settled) return *settled;
  }
  return largest;
}

Eigen::MatrixXd solveDense(const Eigen::MatrixXd& A, const Eigen::MatrixXd& B) {
  requireSquare(A, B);
  const Eigen::PartialPivLU<Eigen::MatrixXd> lu(A);
  const double smallestPivot = lu.matrixLU().diagonal().cwiseAbs().minCoeff();
  if (isNoPivot(smallestPivot, A.cwiseAbs().maxCoeff()))
    throw std::runtime_error("Linear system is singular");
  return lu.solve(B);
}

Eigen::MatrixXd solveLeastSquares(const Eigen::MatrixXd& A, const Eigen::MatrixXd& B) {
  requireShapes(A, B);
  return A.colPivHouseholderQr().solve(B);
}

std::optional<Eigen::MatrixXd> solveSquare(const Eigen::MatrixXd& A, const Eigen::MatrixXd& B) {
  requireSquare(A, B);
  Eigen::MatrixXd X = A.partialPivLu().solve(B);
  const Eigen::MatrixXd AX = A * X;
  return accepted(std::move(X), AX, B);
}

std::optional<Eigen::MatrixXd> solveSymmetric(const Eigen::MatrixXd& A, const Eigen::MatrixXd& B) {
  requireSquare(A, B);
  const Eigen::LLT<Eigen::MatrixXd> llt(A);
  Eigen::MatrixXd X = llt.info() == Eigen::Success ? Eigen::MatrixXd(llt.solve(B))
                                                   : Eigen::MatrixXd(A.ldlt().solve(B));
  const Eigen::MatrixXd AX = A.selfadjointView<Eigen::Lower>() * X;
  return accepted(std::move(X), AX, B);
}

Eigen::VectorXd singularValues(const Eigen::MatrixXd& A) {
  if (A.size() == 0) throw std::invalid_argument("Linear system has an empty matrix");
  requireFinite(A.allFinite());
  return Eigen::JacobiSVD<Eigen::MatrixXd>(A).singularValues();
}

std::optional<SymmetricEigen3> symmetricEigen3(const Eigen::Matrix3d& A) {
  requireFinite(A.allFinite());
  const Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> solver(A);
  if (solver.info() != Eigen::Success) return std::nullopt;
  return SymmetricEigen3{solver.eigenvalues(), solver.eigenvectors()};
}

namespace {

template <class Decomposition>
SingularSolution solvedBy(const Decomposition& svd, const Eigen::MatrixXd& B) {
  const Eigen::VectorXd& values = svd.singularValues();
  return {svd.solve(B), values[0] / values[values.size() - 1]};
}

}  // namespace

SingularSolution solveBySingularValues(const Eigen::MatrixXd& A, const Eigen::MatrixXd& B) {
  constexpr Eigen::Index kLargestJacobi = 200;
  requireShapes(A, B);
  if (A.rows() == 0) throw std::invalid_argument("Linear system has an empty matrix");
  constexpr unsigned kThin = Eigen::ComputeThinU | Eigen::ComputeThinV;
  if (std::min(A.rows(), A.cols()) > kLargestJacobi)
    return solvedBy(Eigen::BDCSVD<Eigen::MatrixXd>(A, kThin), B);
  return solvedBy(Eigen::JacobiSVD<Eigen::MatrixXd>(A, kThin), B);
}

bool factorCholesky(Eigen::MatrixXd& A) {
  requireSquare(A, A);
  return Eigen::LLT<Eigen::Ref<Eigen::MatrixXd>>(A).info() == Eigen::Success;
}

}  // namespace trova::foundation
