#pragma once

#include <Eigen/Core>
#include <cstddef>
#include <optional>
#include <vector>

#include "morvel/foundation/export.h"

// Linear systems of the fitting and conversion code: banded ones where basis functions have local
// support, dense ones elsewhere. An engine assembles a system and names a solver; the
// decompositions stay in the source file, since they are slow to compile.
//
// Every entry and right-hand side must be finite: std::invalid_argument "Linear system has a
// non-finite entry" otherwise.

namespace trova::foundation {

/// A square system whose row i has entries in columns i - lower .. i + upper only. Assemble with
/// `add`, `factor` once, then `solve` any number of right-hand sides: LU with partial pivoting
/// inside the band, as in Golub and Van Loan, Matrix Computations, section 4.3.
///
/// Cost: n l (l + u) to factor, n (2 l + u) to solve one column, for size n and widths l and u.
class MORVEL_API BandedSystem {
 public:
  /// @throws std::length_error for a negative count or a band of more than 2^31 - 1 entries
  BandedSystem(int size, int lower, int upper);

  int size() const { return size_; }

  /// Adds to an entry. @throws std::out_of_range outside the band; std::logic_error once factored
  void add(int row, int column, double value);

  /// False where the matrix is singular to rounding; it cannot be solved then. Acts once.
  bool factor();

  /// Replaces right-hand sides by solutions: `rows` is size() rows of `width` doubles.
  /// @throws std::logic_error unless `factor` gave true
  void solve(double* rows, int width) const;

 private:
  enum class State { Open, Solvable, Singular };

  double& entry(std::ptrdiff_t row, std::ptrdiff_t column);
  const double& entry(std::ptrdiff_t row, std::ptrdiff_t column) const;
  std::ptrdiff_t pivotRow(std::ptrdiff_t column) const;
  void eliminateBelow(std::ptrdiff_t k);

  int size_;
  int lower_;
  int upper_;
  State state_ = State::Open;
  // Row i holds columns i - lower .. i + upper + lower; pivoting fills the last `lower`.
  std::vector<double> band_;
  std::vector<int> pivots_;
};

/// A symmetric positive definite system with entries within `bandwidth` of the diagonal, such as
/// the normal equations of a spline fit: Cholesky inside the band.
///
/// Cost: n b^2 to factor, 2 n b to solve one column, for size n and bandwidth b.
class MORVEL_API SymmetricBandedSystem {
 public:
  /// @throws std::length_error as BandedSystem
  SymmetricBandedSystem(int size, int bandwidth);

  int size() const { return size_; }

  /// Adds to an entry on or below the diagonal; the one above it follows.
  /// @throws std::out_of_range above the diagonal or outside the band;
  ///         std::logic_error once factored
  void add(int row, int column, double value);

  /// False where the matrix is not positive definite to rounding. Acts once.
  bool factor();

  /// As BandedSystem::solve.
  void solve(double* rows, int width) const;

 private:
  enum class State { Open, Solvable, Singular };

  double& entry(std::ptrdiff_t row, std::ptrdiff_t column);
  const double& entry(std::ptrdiff_t row, std::ptrdiff_t column) const;
  double reduced(std::ptrdiff_t row, std::ptrdiff_t column) const;

  int size_;
  int bandwidth_;
  State state_ = State::Open;
  std::vector<double> band_;  // row i holds columns i - bandwidth .. i
};

/// X with A X = B, by LU with partial pivoting; A is n x n, B n x k.
/// @throws std::runtime_error "Linear system is singular";
///         std::invalid_argument for shapes that do not fit
MORVEL_API Eigen::MatrixXd solveDense(const Eigen::MatrixXd& A, const Eigen::MatrixXd& B);

/// X that minimises |A X - B| column by column, by Householder QR with column pivoting; A is m x n,
/// B m x k. Where the rank falls short, the components of the columns left over are 0.
/// @throws std::invalid_argument for shapes that do not fit
MORVEL_API Eigen::MatrixXd solveLeastSquares(const Eigen::MatrixXd& A, const Eigen::MatrixXd& B);

/// X with A X = B for a square A by LU with partial pivoting, which itself reports no failure:
/// nothing where X is not finite or does not satisfy the system (residual above
/// kLargestResidual). A singular A with a right-hand side in its range may so have an answer.
/// @throws std::invalid_argument for shapes that do not fit
MORVEL_API std::optional<Eigen::MatrixXd> solveSquare(const Eigen::MatrixXd& A,
                                                      const Eigen::MatrixXd& B);

/// X with A X = B for a symmetric A by Cholesky (LLT), or by LDLT with pivoting where that reports
/// failure; nothing under the conditions of `solveSquare`. Reads the lower triangle.
/// @throws std::invalid_argument for shapes that do not fit
MORVEL_API std::optional<Eigen::MatrixXd> solveSymmetric(const Eigen::MatrixXd& A,
                                                         const Eigen::MatrixXd& B);

/// The largest residual of an accepted answer: of each column b, max |A x - b| over max |b|.
inline constexpr double kLargestResidual = 1e-6;

/// The singular values, largest first, by two-sided Jacobi rotations.
/// @throws std::invalid_argument for an empty matrix
MORVEL_API Eigen::VectorXd singularValues(const Eigen::MatrixXd& A);

/// The eigenvalues of a symmetric 3 x 3 matrix in ascending order, and the unit eigenvectors in
/// the columns of `vectors`.
struct SymmetricEigen3 {
  Eigen::Vector3d values;
  Eigen::Matrix3d vectors;
};

/// Nothing where the iteration does not settle.
MORVEL_API std::optional<SymmetricEigen3> symmetricEigen3(const Eigen::Matrix3d& A);

}  // namespace trova::foundation
