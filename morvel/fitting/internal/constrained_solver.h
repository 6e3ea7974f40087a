#pragma once

#include <Eigen/Core>
#include <optional>
#include <string>
#include <vector>

#include "morvel/fitting/internal/hard_rows.h"
#include "morvel/fitting/internal/surface_normal_equations.h"

// Solves for the control points of a constrained surface fit. Two routes give the same answer: the
// decomposition of the system written out in full, for small systems and for those that the other
// route refuses; and one that never writes it out, for the rest.

namespace trova::geometry::internal {

/// Systems of up to this many unknowns are always written out.
inline constexpr int kMostFullUnknowns = 200;
/// Larger ones may be, where the other route refuses them; beyond this they are regularised.
inline constexpr int kMostRescuedUnknowns = 2000;

/// Where sigma_min is at most 1e-15: the condition number that stands for "singular".
inline constexpr double kSingularCondition = 1e15;

enum class SolverRoute { Auto, Full, Local };

struct SolverSettings {
  double lambda = 1e-6;
  bool isAdaptive = true;
  bool analyse = true;  ///< the condition number
  double conditionThreshold = 1e12;
  int maxRefinements = 100;
  SolverRoute route = SolverRoute::Auto;
};

struct ConstrainedSolution {
  std::optional<Eigen::MatrixXd> controlPoints;  ///< n x 3; nothing where there is none
  double condition = 0.0;                        ///< 0 where it was not asked for
  double regularization = 0.0;
  std::vector<std::string> warnings;  ///< a reason for failure stands here too
};

/// The control points that minimise the squares behind `equations` (and lambda times their own, see
/// SurfaceEngine3Options::regularization) under hard rows: the saddle-point system by QR with
/// column pivoting; or, the upper left block being positive definite, by its Schur complement,
/// refined against the system itself until the residual no longer falls (Benzi, Golub and Liesen,
/// Numerical solution of saddle point problems, Acta Numerica 2005, section 5).
///
/// Rows that contradict each other leave a residual: no solution then.
ConstrainedSolution solveAugmented(const SurfaceNormalEquations& equations, const HardRows& rows,
                                   double ridge, const SolverSettings& settings);

/// What is added to the diagonal of the upper left block: lambda, times the largest singular value
/// of the normal matrix where the settings are adaptive and that is not 0. Prints it, and the size
/// of the system.
double augmentedRidge(const SurfaceNormalEquations& equations, const HardRows& rows,
                      const SolverSettings& settings);

/// The same without hard rows: the normal equations by Cholesky, LDLT where that fails. Regularised
/// by lambda times the largest singular value where the condition number is above the threshold.
ConstrainedSolution solveLeastSquaresFit(const SurfaceNormalEquations& equations,
                                         const SolverSettings& settings);

/// sigma_max / sigma_min, or kSingularCondition.
double conditionNumber(double largest, double smallest);

}  // namespace trova::geometry::internal
