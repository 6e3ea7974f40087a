#pragma once

#include <Eigen/Core>
#include <optional>
#include <string>
#include <vector>

#include "morvel/fitting/internal/surface_normal_equations.h"

// How normal equations are judged, regularised and solved. Up to kMostDecomposedUnknowns by
// singular values (Jacobi) and QR with column pivoting of the full matrix; above by the factor in
// the band and extreme eigenvalues, which agree with them where the matrix is well conditioned.
// Where it is not, and the factor fails, QR answers up to kMostDenseUnknowns; above, a full matrix
// would not fit, and the equations are regularised with a warning.

namespace trova::geometry::internal {

inline constexpr int kMostDecomposedUnknowns = 200;
inline constexpr int kMostDenseUnknowns = 2000;

inline constexpr double kUnanalysedCondition = 1e6;  ///< reported where nothing was computed
inline constexpr double kSingularCondition = 1e15;   ///< reported for a singular matrix
inline constexpr double kLeastSingularValue = 1e-15;

struct NormalSolveOptions {
  bool condition_analysis = false;
  double condition_threshold = 1e12;  ///< regularise above this condition number
  bool force_regularization = false;
  double regularization_lambda = 1e-6;  ///< times the largest singular value
};

struct NormalSolution {
  Eigen::MatrixXd points;  ///< one row per unknown
  double condition_number = kUnanalysedCondition;
  std::vector<std::string> warnings;
};

/// Nothing where no route has an answer that is finite.
std::optional<NormalSolution> solveNormalEquations(const SurfaceNormalEquations& equations,
                                                   const NormalSolveOptions& options);

/// The two routes, whatever the number of unknowns.
std::optional<NormalSolution> solveByDecompositions(const SurfaceNormalEquations& equations,
                                                    const NormalSolveOptions& options);
std::optional<NormalSolution> solveInBand(const SurfaceNormalEquations& equations,
                                          const NormalSolveOptions& options);

}  // namespace trova::geometry::internal
