#pragma once

#include <Eigen/QR>
#include <cmath>
#include <numbers>
#include <vector>

#include "morvel/curves/bspline_curve.h"
#include "morvel/foundation/nurbs_basis.h"
#include "tests/support/captured_streams.h"
#include "tests/support/curve_probes.h"
#include "tests/support/near.h"

// Point sequences for the curve engines, and a brute-force solver beside theirs.

namespace morvel_test {

using trova::foundation::Point3D;

inline std::vector<Point3D> regularPolygon(int count, double turn = 2.0 * std::numbers::pi) {
  std::vector<Point3D> points;
  for (int i = 0; i < count; ++i)
    points.emplace_back(3.0 + std::cos(turn * i / count), std::sin(turn * i / count), 1.0);
  return points;
}

inline std::vector<Point3D> helix(int count) {
  std::vector<Point3D> points;
  for (int i = 0; i < count; ++i) {
    const double t = 12.0 * (i + 0.3 * std::sin(i)) / count;
    points.emplace_back(std::cos(t), std::sin(t), 0.2 * t);
  }
  return points;
}

/// The collocation matrix by the definition of the basis functions.
inline Eigen::MatrixXd denseBasis(const std::vector<double>& params,
                                  const std::vector<double>& knots, int degree) {
  const int n = static_cast<int>(knots.size()) - degree - 1;
  Eigen::MatrixXd matrix(static_cast<Eigen::Index>(params.size()), n);
  for (Eigen::Index i = 0; i < matrix.rows(); ++i)
    for (int j = 0; j < n; ++j)
      matrix(i, j) = trova::foundation::nurbs::evaluateBasisFunction(j, degree, params[i], knots);
  return matrix;
}

inline Eigen::MatrixXd asMatrix(const std::vector<Point3D>& points) {
  Eigen::MatrixXd matrix(static_cast<Eigen::Index>(points.size()), 3);
  for (std::size_t i = 0; i < points.size(); ++i)
    matrix.row(static_cast<Eigen::Index>(i)) = points[i].eigen().transpose();
  return matrix;
}

inline Eigen::MatrixXd orthogonalSolution(const Eigen::MatrixXd& A, const Eigen::MatrixXd& b) {
  return A.colPivHouseholderQr().solve(b);
}

inline double largestDifference(const trova::geometry::BSplineCurve& curve,
                                const Eigen::MatrixXd& controls) {
  return (asMatrix(curve.getControlPoints()) - controls).cwiseAbs().maxCoeff();
}

}  // namespace morvel_test
