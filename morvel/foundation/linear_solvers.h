#pragma once

#include <Eigen/Core>
#include <cstddef>
#include <functional>
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

namespace progress {
class Stage;
}

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
/// the normal equations of a spline fit: Cholesky inside the band, by blocks where the band is wide
/// (Golub and Van Loan, Matrix Computations, section 4.3.5).
///
/// Cost: n b^2 to factor, 4 n b to solve one column, for size n and bandwidth b.
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
  /// @param stage  told of the columns that are done
  bool factor(progress::Stage* stage = nullptr);

  /// The least pivot of the elimination over the diagonal entry that it came from: 1 for a diagonal
  /// matrix, near the rounding for one that is nearly singular.
  /// @throws std::logic_error unless `factor` gave true
  double smallestPivotShare() const;

  /// As BandedSystem::solve.
  void solve(double* rows, int width) const;

 private:
  enum class State { Open, Solvable, Singular };

  std::ptrdiff_t offset(std::ptrdiff_t row, std::ptrdiff_t column) const {
    return row + column * bandwidth_;
  }
  bool acceptPivots(std::ptrdiff_t first, std::ptrdiff_t count);
  bool factorByColumns();
  bool factorByBlocks(progress::Stage* stage);
  bool factorBlock(std::ptrdiff_t first, std::ptrdiff_t count);
  void updateBehind(std::ptrdiff_t first, std::ptrdiff_t count);
  void solveByRows(double* rows, int width) const;
  void solveByColumns(double* rows, int width) const;

  int size_;
  int bandwidth_;
  State state_ = State::Open;
  // Column j holds rows j .. j + bandwidth, one column behind the other: entry (i, j) stands at
  // i + j bandwidth, as if the band were cut out of a full matrix of that stride.
  std::vector<double> band_;
  std::vector<double> diagonal_;  // as it was before the elimination
  double smallestPivotShare_ = 1.0;
};

/// y = A x for a symmetric A; x and y are different vectors of A's size.
using SymmetricMap = std::function<void(const Eigen::VectorXd& x, Eigen::VectorXd& y)>;

/// The largest eigenvalue of a symmetric positive semi-definite matrix that is known by its
/// products alone: Lanczos steps with full reorthogonalisation from a fixed starting vector
/// (Parlett, The Symmetric Eigenvalue Problem, chapter 13). Of an inverse it is the inverse of the
/// smallest one.
///
/// Ends where the residual says that about 14 digits are right, or after 400 steps with the best
/// value so far. NaN where a product is not finite.
/// @throws std::invalid_argument for size < 1
MORVEL_API double largestEigenvalue(int size, const SymmetricMap& apply);

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

/// A least-squares solution, and how well the matrix determines it.
struct SingularSolution {
  Eigen::MatrixXd x;
  double condition = 0.0;  ///< largest over smallest singular value; infinite for a singular matrix
};

/// Of all X that minimise |A X - B| column by column the one of least norm, by the singular value
/// decomposition with thin U and V: Jacobi rotations, and divide and conquer where A has more than
/// 200 rows and columns. Singular values below the rounding of the largest count as 0.
/// @throws std::invalid_argument for shapes that do not fit
MORVEL_API SingularSolution solveBySingularValues(const Eigen::MatrixXd& A,
                                                  const Eigen::MatrixXd& B);

/// Puts L with A = L L^T in the lower triangle of a symmetric A, by blocks; reads that triangle
/// only. False where A is not positive definite to rounding; it is of no meaning then.
/// @throws std::invalid_argument unless A is square
MORVEL_API bool factorCholesky(Eigen::MatrixXd& A);

}  // namespace trova::foundation
