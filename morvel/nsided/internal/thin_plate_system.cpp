#include "morvel/nsided/internal/thin_plate_system.h"

#include <cmath>
#include <limits>

#include "morvel/foundation/linear_solvers.h"
#include "morvel/nsided/internal/thin_plate_kernel.h"

namespace trova::geometry::internal {
namespace {

using Eigen::Index;
using Eigen::Lower;
using Eigen::MatrixXd;
using Eigen::VectorXd;
using foundation::Point2D;

constexpr int kLinearTerms = 3;
constexpr double kShift = 4.0;               // of the largest kernel entry
constexpr int kConditionSteps = 4;           // of the power method, either way
constexpr double kAcceptedResidual = 1e-11;  // of the heights, relative to the terms summed up

/// 1 and the offsets from the centroid, of size 1.
MatrixXd linearTerms(const std::vector<Point2D>& centers) {
  const auto size = static_cast<Index>(centers.size());
  MatrixXd terms(size, kLinearTerms);
  for (Index i = 0; i < size; ++i)
    terms.row(i) << 1.0, centers[i].x(), centers[i].y();
  for (int c = 1; c < kLinearTerms; ++c) {
    terms.col(c).array() -= terms.col(c).mean();
    const double extent = terms.col(c).cwiseAbs().maxCoeff();
    if (extent > 0.0) terms.col(c) /= extent;
  }
  return terms;
}

/// No direction that the matrices at hand could favour.
VectorXd roughVector(Index size) {
  VectorXd vector(size);
  for (Index i = 0; i < size; ++i)
    vector[i] = std::sin(1.0 + 12.9898 * static_cast<double>(i));
  return vector / vector.norm();
}

/// The largest eigenvalue of a positive semi-definite map, from below.
template <class Map>
double dominantEigenvalue(Index size, Map map) {
  VectorXd x = roughVector(size);
  double value = 0.0;
  for (int k = 0; k < kConditionSteps; ++k) {
    const VectorXd y = map(x);
    value = y.norm();
    if (!(value > 0.0) || !std::isfinite(value)) return value;
    x = y / value;
  }
  return value;
}

}  // namespace

Eigen::RowVectorXd quadraticTerms(double u, double v) {
  Eigen::RowVectorXd terms(kQuadraticTerms);
  terms << 1.0, u, v, u * u, u * v, v * v;
  return terms;
}

std::optional<ThinPlateSystem> ThinPlateSystem::factored(const std::vector<Point2D>& centers,
                                                         const VectorXd& weights, double lambda,
                                                         bool hasPolynomial) {
  const auto size = static_cast<Index>(centers.size());
  ThinPlateSystem system;
  system.weights_ = weights;
  system.square_ = thinPlateMatrix(centers);
  system.square_.diagonal() += lambda * weights.cwiseInverse();
  system.polynomial_.resize(size, hasPolynomial ? kQuadraticTerms : 0);
  if (hasPolynomial) {
    for (Index i = 0; i < size; ++i)
      system.polynomial_.row(i) = quadraticTerms(centers[i].x(), centers[i].y());
  }
  if (!system.factor(centers)) return std::nullopt;
  return system;
}

bool ThinPlateSystem::factor(const std::vector<Point2D>& centers) {
  const double shift = kShift * square_.cwiseAbs().maxCoeff();
  if (!(shift > 0.0) || !std::isfinite(shift)) return false;
  linear_ = std::sqrt(shift) * linearTerms(centers);
  factor_ = square_;
  factor_.selfadjointView<Lower>().rankUpdate(linear_);
  if (!foundation::factorCholesky(factor_)) return false;
  lifted_ = solveShifted(linear_);
  // Woodbury: S^-1 = G^-1 + G^-1 l (1 - l^T G^-1 l)^-1 l^T G^-1 for S = G - l l^T.
  const MatrixXd small =
      MatrixXd::Identity(kLinearTerms, kLinearTerms) - linear_.transpose() * lifted_;
  const auto inverse =
      foundation::solveSquare(small, MatrixXd::Identity(kLinearTerms, kLinearTerms));
  if (!inverse) return false;
  correction_ = *inverse;
  reduced_ = solveSquareBlock(polynomial_);
  return reduced_.allFinite();
}

Eigen::MatrixXd ThinPlateSystem::solveShifted(const MatrixXd& B) const {
  MatrixXd x = B;
  factor_.triangularView<Lower>().solveInPlace(x);
  factor_.triangularView<Lower>().transpose().solveInPlace(x);
  return x;
}

Eigen::MatrixXd ThinPlateSystem::solveOnce(const MatrixXd& B) const {
  return solveShifted(B) + lifted_ * (correction_ * (lifted_.transpose() * B));
}

// With one step of refinement.
Eigen::MatrixXd ThinPlateSystem::solveSquareBlock(const MatrixXd& B) const {
  if (B.cols() == 0) return B;
  const MatrixXd x = solveOnce(B);
  return x + solveOnce(B - square_.selfadjointView<Lower>() * x);
}

// Every solution is w = S^-1 h - S^-1 P c; c is chosen so that |w|^2 + |c|^2 is least.
std::optional<VectorXd> ThinPlateSystem::solve(const VectorXd& heights) const {
  const Index size = square_.rows();
  const Index terms = polynomial_.cols();
  VectorXd solution(size + terms);
  solution.head(size) = solveSquareBlock(heights);
  if (terms > 0) {
    MatrixXd tall(size + terms, terms);
    tall << reduced_, MatrixXd::Identity(terms, terms);
    VectorXd right = VectorXd::Zero(size + terms);
    right.head(size) = solution.head(size);
    solution.tail(terms) = foundation::solveLeastSquares(tall, right);
    solution.head(size) -= reduced_ * solution.tail(terms);
  }
  const VectorXd weights = solution.head(size);
  const VectorXd residual =
      square_.selfadjointView<Lower>() * weights + polynomial_ * solution.tail(terms) - heights;
  const double scale = heights.norm() + square_.cwiseAbs().maxCoeff() * weights.norm();
  if (!solution.allFinite() || !(residual.norm() <= kAcceptedResidual * scale)) return std::nullopt;
  return solution;
}

double ThinPlateSystem::conditionEstimate() const {
  const Index size = square_.rows();
  const Index terms = polynomial_.cols();
  const auto square = square_.selfadjointView<Lower>();
  const double largest = dominantEigenvalue(size, [&](const VectorXd& x) -> VectorXd {
    const VectorXd scaled = weights_.cwiseProduct(x);
    const VectorXd once = square * scaled;
    const VectorXd product = square * once + polynomial_ * (polynomial_.transpose() * scaled);
    return weights_.cwiseProduct(product);
  });
  // The inverse of S^2 + P P^T is S^-1 (1 - Z (1 + Z^T Z)^-1 Z^T) S^-1 with Z = S^-1 P.
  const MatrixXd small = MatrixXd::Identity(terms, terms) + reduced_.transpose() * reduced_;
  const MatrixXd inner =
      terms > 0 ? foundation::solveLeastSquares(small, MatrixXd(reduced_.transpose())) : MatrixXd();
  const double inverse = dominantEigenvalue(size, [&](const VectorXd& x) -> VectorXd {
    VectorXd y = solveOnce(x.cwiseQuotient(weights_));
    if (terms > 0) y -= reduced_ * (inner * y);
    return solveOnce(y).col(0).cwiseQuotient(weights_);
  });
  const double square2 = largest * inverse;
  return std::isfinite(square2) ? std::sqrt(square2) : std::numeric_limits<double>::infinity();
}

}  // namespace trova::geometry::internal
