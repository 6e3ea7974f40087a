#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "morvel/foundation/linear_solvers.h"
#include "morvel/foundation/progress.h"

namespace trova::geometry::internal {

/// The interpolation conditions at given parameters: the square matrix whose row i holds the basis
/// functions at params[i] on the averaged knots (`generateAverageKnotVector`). Factored once, it
/// takes any number of right-hand sides.
///
/// Parameters that increase give a totally positive matrix with degree - 1 entries on either side
/// of the diagonal, which Gaussian elimination solves stably without pivoting (de Boor and Pinkus,
/// Backward error analysis for totally positive linear systems, 1977). Any others are taken in
/// ascending order of the parameters and solved with pivoting.
///
/// Cost: n p^2 to factor, 4 n p to solve one column.
class Collocation {
 public:
  /// @param params  finite; as many as there are points
  /// @throws std::invalid_argument unless 1 <= degree < size(params) and all are finite;
  ///         std::length_error where the work would be beyond kMaxWork
  Collocation(const std::vector<double>& params, int degree);

  /// The same on knots of the caller's own; as many as size(params) + degree + 1, else the matrix
  /// counts as singular. No pivoting where the entries are as close to the diagonal as above.
  Collocation(const std::vector<double>& params, std::vector<double> knots, int degree);

  /// False where the knots cannot be used or the matrix is singular to rounding. Acts once.
  bool factor();

  const std::vector<double>& knots() const { return knots_; }
  int size() const { return size_; }

  /// Replaces data by control points: `rows` is size() rows of `width` doubles, row i belonging to
  /// params[i] before and to control point i after. False unless `factor` gave true, and where the
  /// answer is not finite or does not satisfy the conditions (kLargestResidual); the rows are of no
  /// use then.
  /// @param stage  told of the columns that are done
  bool solve(double* rows, int width, foundation::progress::Stage* stage = nullptr) const;

  static constexpr double kMaxWork = 1e9;  ///< size times degree squared

 private:
  bool hasUsableKnots() const;
  void fillRows(const std::vector<double>& params);
  bool isBanded(int half) const;
  void fillBand(int half);
  template <class Half>
  bool eliminate(Half half);
  bool factorWithPivoting();
  template <class Half, class Width>
  void substitute(Half half, double* rows, std::ptrdiff_t stride, Width width) const;
  template <class Half, class Width>
  void wideSubstitute(Half half, double* rows, std::ptrdiff_t stride, Width width) const;
  void solveWithoutPivoting(double* rows, std::ptrdiff_t stride, int width) const;
  void solvePivoted(double* rows, std::ptrdiff_t stride, int width) const;
  bool solveBlock(double* rows, std::ptrdiff_t stride, int width, double* data) const;
  bool isSolution(const double* solution, std::ptrdiff_t stride, const double* data,
                  int width) const;
  bool isSolutionBy(const double* solution, std::ptrdiff_t stride, const double* data,
                    int width) const;
  bool isSolutionByWide(const double* solution, std::ptrdiff_t stride, const double* data,
                        int width) const;
  int half() const { return degree_ - 1; }
  double* bandRow(std::ptrdiff_t i) { return band_.data() + i * (2 * half() + 1); }
  const double* bandRow(std::ptrdiff_t i) const { return band_.data() + i * (2 * half() + 1); }

  int size_;
  int degree_;
  bool isFactored_ = false;
  bool isSolvable_ = false;
  std::vector<double> knots_;
  std::vector<int> order_;           // parameters, ascending; empty where they are so as given
  std::vector<int> firstColumns_;    // of each condition, in that order
  std::vector<double> entries_;      // degree + 1 of each
  std::vector<double> band_;         // row i holds columns i - half .. i + half; then its factors
  std::vector<double> reciprocals_;  // of the pivots
  std::unique_ptr<foundation::BandedSystem> pivoted_;
};

}  // namespace trova::geometry::internal
