#pragma once

#include <Eigen/Core>

// Minimise 1/2 x^T H x - f^T x under C x = g: the conditions for x and the multipliers as one
// square system (Nocedal and Wright, Numerical Optimization, section 16.1). The caller chooses the
// sign of what regularises H, and the solver.

namespace trova::geometry::internal {

/// [[H, C^T], [C, 0]]; H is n x n, C is k x n.
/// @throws std::invalid_argument for shapes that do not fit
Eigen::MatrixXd saddlePointMatrix(const Eigen::MatrixXd& H, const Eigen::MatrixXd& C);

/// f (n rows) above g (k rows), a column for each coordinate.
/// @throws std::invalid_argument for unequal widths
Eigen::MatrixXd saddlePointRightSide(const Eigen::MatrixXd& f, const Eigen::MatrixXd& g);

}  // namespace trova::geometry::internal
