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

double& SymmetricBandedSystem::entry(std::ptrdiff_t row, std::ptrdiff_t column) {
  return band_[row * (std::ptrdiff_t(bandwidth_) + 1) + (column - row + bandwidth_)];
}

const double& SymmetricBandedSystem::entry(std::ptrdiff_t row, std::ptrdiff_t column) const {
  return const_cast<SymmetricBandedSystem*>(this)->entry(row, column);
}

void SymmetricBandedSystem::add(int row, int column, double value) {
  requireOpen(state_ == State::Open);
  const bool isInside = column >= 0 && column <= row && row < size_;
  requireInBand(isInside && row - column <= bandwidth_);
  requireFinite(std::isfinite(value));
  entry(row, column) += value;
}

// The entry less what the columns before it account for.
double SymmetricBandedSystem::reduced(std::ptrdiff_t row, std::ptrdiff_t column) const {
  double value = entry(row, column);
  for (std::ptrdiff_t k = std::max<std::ptrdiff_t>(row - bandwidth_, 0); k < column; ++k)
    value -= entry(row, k) * entry(column, k);
  return value;
}

bool SymmetricBandedSystem::factor() {
  if (state_ != State::Open) return state_ == State::Solvable;
  state_ = State::Singular;
  for (std::ptrdiff_t i = 0; i < size_; ++i) {
    for (std::ptrdiff_t j = std::max<std::ptrdiff_t>(i - bandwidth_, 0); j < i; ++j)
      entry(i, j) = reduced(i, j) / entry(j, j);
    const double square = reduced(i, i);
    if (!(square > 0) || isNoPivot(square, entry(i, i))) return false;
    entry(i, i) = std::sqrt(square);
  }
  state_ = State::Solvable;
  return true;
}

void SymmetricBandedSystem::solve(double* rows, int width) const {
  requireSolvable(state_ == State::Solvable);
  requireFiniteRows(rows, size_, width);
  const auto row = [&](std::ptrdiff_t i) { return rows + i * width; };
  const auto firstColumn = [&](std::ptrdiff_t i) {
    return std::max<std::ptrdiff_t>(i - bandwidth_, 0);
  };
  for (std::ptrdiff_t i = 0; i < size_; ++i) {
    for (std::ptrdiff_t j = firstColumn(i); j < i; ++j)
      subtractRow(row(i), row(j), entry(i, j), width);
    for (int c = 0; c < width; ++c)
      row(i)[c] /= entry(i, i);
  }
  for (std::ptrdiff_t i = std::ptrdiff_t(size_) - 1; i >= 0; --i) {
    for (int c = 0; c < width; ++c)
      row(i)[c] /= entry(i, i);
    for (std::ptrdiff_t j = firstColumn(i); j < i; ++j)
      subtractRow(row(j), row(i), entry(i, j), width);
  }
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

}  // namespace trova::foundation
