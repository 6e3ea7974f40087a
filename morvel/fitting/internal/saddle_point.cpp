#include "morvel/fitting/internal/saddle_point.h"

#include <stdexcept>

namespace trova::geometry::internal {

Eigen::MatrixXd saddlePointMatrix(const Eigen::MatrixXd& H, const Eigen::MatrixXd& C) {
  const Eigen::Index n = H.rows(), k = C.rows();
  if (H.cols() != n || (k > 0 && C.cols() != n))
    throw std::invalid_argument("Saddle-point system has matrices that do not fit");
  Eigen::MatrixXd matrix = Eigen::MatrixXd::Zero(n + k, n + k);
  matrix.topLeftCorner(n, n) = H;
  if (k == 0) return matrix;
  matrix.topRightCorner(n, k) = C.transpose();
  matrix.bottomLeftCorner(k, n) = C;
  return matrix;
}

Eigen::MatrixXd saddlePointRightSide(const Eigen::MatrixXd& f, const Eigen::MatrixXd& g) {
  if (g.rows() > 0 && g.cols() != f.cols())
    throw std::invalid_argument("Saddle-point system has right-hand sides of unequal width");
  Eigen::MatrixXd right(f.rows() + g.rows(), f.cols());
  right.topRows(f.rows()) = f;
  if (g.rows() > 0) right.bottomRows(g.rows()) = g;
  return right;
}

}  // namespace trova::geometry::internal
