#pragma once

#include <Eigen/Core>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "morvel/foundation/linear_solvers.h"
#include "morvel/foundation/point.h"
#include "morvel/foundation/spline_basis.h"

namespace trova::geometry::internal {

using foundation::Point3D;

class CellSums;

/// The normal equations M x = b of a tensor-product least-squares fit: M = sum w B B^T and b = sum
/// w B P^T over the points, B being the row of basis products N_i(u) N_j(v) at index j nU + i. A
/// row has (p + 1)(q + 1) entries that are not zero, so the m x n matrix of rows is never formed:
/// the points are sorted by knot cell, and each cell's sums are added to M once.
///
/// Rows of M are kept by their neighbours within the support, (2p + 1)(q + 1) numbers each.
class SurfaceNormalEquations {
 public:
  using Parameters = std::pair<double, double>;

  /// @throws std::invalid_argument for a basis that is not usable or whose degree lies outside 1 ..
  ///         kMaxStackDegree; std::length_error for too many unknowns
  SurfaceNormalEquations(const foundation::nurbs::SplineBasis& u,
                         const foundation::nurbs::SplineBasis& v);

  int size() const { return basisU_.count() * basisV_.count(); }
  int countU() const { return basisU_.count(); }
  int countV() const { return basisV_.count(); }
  const foundation::nurbs::SplineBasis& basisU() const { return basisU_; }
  const foundation::nurbs::SplineBasis& basisV() const { return basisV_; }

  /// One point. Parameters outside the knots are clamped to them; a number that is not finite
  /// throws std::invalid_argument.
  void add(double u, double v, const Point3D& point, double weight = 1.0);
  /// Many points of weight 1: the fast way. @throws as above, also for unequal counts
  void add(std::span<const Parameters> parameters, std::span<const Point3D> points);

  /// M in full; the caller has checked that it fits in memory.
  Eigen::MatrixXd dense() const;
  /// b, size() x 3.
  const Eigen::MatrixXd& rightHandSide() const { return rightHandSide_; }
  /// (M + ridge I) X.
  Eigen::MatrixXd multiplied(const Eigen::MatrixXd& X, double ridge = 0.0) const;
  /// The largest eigenvalue of M, by Lanczos steps.
  double largestEigenvalue() const;

 private:
  friend class SurfaceNormalFactor;

  /// How many numbers a row of M keeps, and where among them column (iColumn, jColumn) of row
  /// (i, j) stands; jColumn <= j.
  std::ptrdiff_t rowWidth() const;
  std::ptrdiff_t place(int i, int j, int iColumn, int jColumn) const;
  /// visit(row, column, value) for the entries on and below the diagonal.
  template <class Visit>
  void forEachLowerEntry(Visit visit) const;
  void addCell(const CellSums& sums, int spanU, int spanV);

  foundation::nurbs::SplineBasis basisU_;
  foundation::nurbs::SplineBasis basisV_;
  std::vector<double> rows_;  // row (i, j) after row (i - 1, j)
  Eigen::MatrixXd rightHandSide_;
};

/// A factor is not trusted where a pivot is below this share of its diagonal entry.
inline constexpr double kSmallestPivotShare = 1e-11;
/// How much memory a factor may take: 2^27 doubles, 1 GiB.
inline constexpr std::int64_t kMostBandEntries = std::int64_t(1) << 27;

/// The Cholesky factor of M + ridge I inside its band. The equations must outlive it.
class SurfaceNormalFactor {
 public:
  /// Null where the matrix is not positive definite, or too near to a singular one for the route
  /// to be trusted (kSmallestPivotShare).
  /// @throws std::length_error above kMostBandEntries
  static std::unique_ptr<SurfaceNormalFactor> of(const SurfaceNormalEquations& equations,
                                                 double ridge = 0.0);

  /// X with (M + ridge I) X = B, refined once against M; nothing where it is not finite or its
  /// residual is above kLargestResidual of B.
  std::optional<Eigen::MatrixXd> solve(const Eigen::MatrixXd& B) const;
  /// The smallest eigenvalue of M + ridge I, by Lanczos steps on its inverse.
  double smallestEigenvalue() const;

 private:
  SurfaceNormalFactor(const SurfaceNormalEquations& equations, double ridge, bool isTransposed);
  static std::int64_t bandwidth(const SurfaceNormalEquations& equations, bool isTransposed);
  /// Where an unknown stands in the band.
  std::ptrdiff_t index(std::ptrdiff_t natural) const;
  /// X <- (M + ridge I)^-1 X by the factor alone.
  void solveInPlace(Eigen::MatrixXd& X) const;

  const SurfaceNormalEquations& equations_;
  double ridge_;
  bool isTransposed_;  // the shorter side of the net runs inside, for a narrow band
  foundation::SymmetricBandedSystem band_;
};

}  // namespace trova::geometry::internal
