#pragma once

#include <Eigen/Core>
#include <cstdint>
#include <string>
#include <vector>

#include "morvel/curves/curve.h"
#include "morvel/foundation/nurbs_basis.h"

// What the fitting engines share: parameters for points, knots, advice on the degree, and the two
// dense solvers.

namespace trova::geometry::GeometricCore {

/// How points are given parameters in [0, 1].
enum class ParameterizationMethod : std::int32_t {
  UNIFORM = 0,          ///< i / (n - 1)
  CHORD_LENGTH = 1,     ///< cumulated distances
  CENTRIPETAL = 2,      ///< cumulated square roots of distances (Lee, 1989)
  ADAPTIVE = 3,         ///< chord length; centripetal where the spacing is very uneven
  LINE_PROJECTION = 4,  ///< along the axis of largest spread
  CIRCULAR_ARC = 5,     ///< angle about the centroid in the plane of largest spread, unwrapped
  ADAPTIVE_AUTO = 6     ///< 2, 4 or 5, by the spread of the points; prints its reasons
};

struct MORVEL_API KnotVectorInfo {
  std::vector<double> knots;
  bool is_valid = false;
  bool is_clamped = false;  ///< set by `create_clamped_knots`
  std::string error_message;
};

struct MORVEL_API DegreeRecommendation {
  int degree = 1;
  std::string reason;
  std::vector<int> alternatives;  ///< two, or none
};

/// One parameter for each point; empty below two points; zeros for a method that is none of the
/// above. Methods 0 to 3 run from 0 to 1. Methods 4 and 5 follow the projection or the angle,
/// oriented so that the last point does not come before the first; 0 and 1 are then the least and
/// greatest, wherever they stand. Where all distances (or the range, the axes) vanish or are not
/// finite, the parameters are uniform.
MORVEL_API std::vector<double> parameterize_points(const std::vector<Point3D>& points,
                                                   ParameterizationMethod method);

/// Clamped knots on [0, 1], evenly spaced inside; n + p + 1 of them. Invalid with "Not enough
/// control points for degree p" unless n > p >= 0.
MORVEL_API KnotVectorInfo create_clamped_knots(int num_control_points, int degree);

/// n + p + 1 evenly spaced knots on [0, 1], not clamped: such a spline lives on [U[p], U[n]].
/// Invalid as above.
MORVEL_API KnotVectorInfo create_uniform_knots(int num_control_points, int degree);

/// The knots as they are, valid where they never decrease, are finite and are n + p + 1.
MORVEL_API KnotVectorInfo validate_knot_vector(const std::vector<double>& knots,
                                               int num_control_points, int degree);

/// @param complexity_hint  below 0.5 asks for simple curves, above 2 for wild ones; 1 is ordinary
MORVEL_API DegreeRecommendation recommend_degree(int num_points, double complexity_hint);

/// x that minimises |A x - b| by the normal equations: Cholesky, or LDLT where that fails. False,
/// and x as it was, where shapes do not fit, a value is not finite, or the answer does not satisfy
/// the normal equations.
MORVEL_API bool solve_least_squares(const Eigen::MatrixXd& A, const Eigen::VectorXd& b,
                                    Eigen::VectorXd& x);

/// x with A x = b by LU with partial pivoting; false likewise.
MORVEL_API bool solve_linear_system(const Eigen::MatrixXd& A, const Eigen::VectorXd& b,
                                    Eigen::VectorXd& x);

/// Second names of `foundation::nurbs::evaluateAllBasisFunctions` and `evaluateBasisFunction`.
inline constexpr auto& basis_functions_all = foundation::nurbs::evaluateAllBasisFunctions;
inline constexpr auto& basis_function_cox_deboor = foundation::nurbs::evaluateBasisFunction;

}  // namespace trova::geometry::GeometricCore
