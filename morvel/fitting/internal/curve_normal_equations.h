#pragma once

#include <Eigen/Core>
#include <optional>
#include <span>
#include <vector>

#include "morvel/foundation/point.h"
#include "morvel/foundation/spline_basis.h"

namespace trova::geometry::internal {

/// What normal equations are solved to: n rows, and what was added to the diagonal to get there.
struct NormalSolution {
  Eigen::MatrixXd rows;
  double ridge = 0.0;
};

/// The normal equations A^T A x = A^T b of a curve fit, gathered span by span: row i of A holds the
/// basis functions at params[i], of which degree + 1 are not zero, and is never stored.
class CurveNormalEquations {
 public:
  /// @param basis  usable; outlives this object
  explicit CurveNormalEquations(const foundation::nurbs::SplineBasis& basis);

  /// Adds conditions. Cost (degree + 1)^2 each; least where neighbours lie in one span.
  /// @param factors  of the points on the right-hand side only; one each, or none
  void add(std::span<const double> params, std::span<const foundation::Point3D> points,
           std::span<const double> factors = {});

  int size() const { return basis_.count(); }
  Eigen::MatrixXd matrix() const;                           ///< A^T A, n x n
  Eigen::MatrixXd rightHandSide() const { return right_; }  ///< A^T b, n x 3

  /// x, n x 3, by Cholesky inside the band. Where the matrix is not positive definite to rounding,
  /// by the dense LDLT up to kMaxDense unknowns, and with a small ridge on the diagonal above.
  /// Nothing where there is no finite answer that satisfies the equations.
  std::optional<NormalSolution> solve() const;
  /// The same with the first and the last row of x given; two rows at least.
  std::optional<NormalSolution> solveBetween(const foundation::Point3D& first,
                                             const foundation::Point3D& last) const;

  static constexpr int kMaxDense = 2000;

 private:
  double entry(Eigen::Index row, Eigen::Index column) const;
  double largestEntry() const;
  std::optional<NormalSolution> solveRows(Eigen::Index first, const Eigen::MatrixXd& right) const;
  std::optional<NormalSolution> solveBanded(Eigen::Index first, const Eigen::MatrixXd& right,
                                            double ridge) const;

  const foundation::nurbs::SplineBasis& basis_;
  std::vector<double> band_;  // row i holds columns i .. i + degree
  Eigen::MatrixXd right_;
};

}  // namespace trova::geometry::internal
