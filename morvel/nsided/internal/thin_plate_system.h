#pragma once

#include <Eigen/Core>
#include <optional>
#include <vector>

#include "morvel/foundation/point.h"

// The linear system of thin-plate position constraints alone: m heights, m centres, and the six
// coefficients of a quadratic or none. Scaled by the weights W it reads
//   W (K w + P c) + lambda w = W h,   K(i, j) = phi(|c_i - c_j|),   P(i, .) = 1 u v u^2 uv v^2,
// and has a whole family of solutions where c is present; the one of least norm is asked for, as
// the singular value decomposition would give it, without that decomposition.

namespace trova::geometry::internal {

inline constexpr int kQuadraticTerms = 6;

/// 1, u, v, u^2, uv, v^2.
Eigen::RowVectorXd quadraticTerms(double u, double v);

/// A system factored by Cholesky: K is positive definite on all vectors that annihilate linear
/// polynomials (Micchelli, Interpolation of scattered data, 1986), hence so is S + t L L^T for the
/// linear polynomials L and t large enough (Finsler); a correction of rank 3 leads back to S.
class ThinPlateSystem {
 public:
  /// Nothing where S = K + lambda / W is too near to a singular matrix for this route.
  /// @param weights  each above 0
  static std::optional<ThinPlateSystem> factored(const std::vector<foundation::Point2D>& centers,
                                                 const Eigen::VectorXd& weights, double lambda,
                                                 bool hasPolynomial);

  /// The solution of least norm: weights of the centres, then the polynomial's coefficients.
  /// Nothing where the residual shows that digits were lost.
  std::optional<Eigen::VectorXd> solve(const Eigen::VectorXd& heights) const;

  /// An estimate of the condition number, from a few steps towards the largest and the smallest
  /// singular value. It may fall short of the true one by a small factor.
  double conditionEstimate() const;

 private:
  using Matrix = Eigen::MatrixXd;

  bool factor(const std::vector<foundation::Point2D>& centers);
  Matrix solveShifted(const Matrix& B) const;
  Matrix solveOnce(const Matrix& B) const;
  Matrix solveSquareBlock(const Matrix& B) const;

  Matrix square_;      // S, the lower triangle
  Matrix factor_;      // of S + t L L^T
  Matrix linear_;      // sqrt(t) L
  Matrix lifted_;      // (S + t L L^T)^-1 sqrt(t) L
  Matrix correction_;  // of rank 3
  Matrix polynomial_;  // P, without columns where there is none
  Matrix reduced_;     // S^-1 P
  Eigen::VectorXd weights_;
};

}  // namespace trova::geometry::internal
