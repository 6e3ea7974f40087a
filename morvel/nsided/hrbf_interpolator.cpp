#include "morvel/nsided/hrbf_interpolator.h"

#include <cmath>
#include <stdexcept>

#include "morvel/foundation/linear_solvers.h"

namespace trova::geometry {
namespace {

using Eigen::Index;
using Eigen::Matrix3d;
using Eigen::MatrixXd;
using Eigen::Vector3d;
using Eigen::VectorXd;

constexpr int kBlock = 4;  // a value and a gradient a point; also the linear polynomial's terms
constexpr std::size_t kFewestConstraints = 3;
constexpr std::size_t kMostConstraints = 500;
constexpr double kCoincident = 1e-9;  // in units of the point set

Matrix3d radialHessian(const Vector3d& d) {
  const double r = d.norm();
  Matrix3d hessian = 3.0 * r * Matrix3d::Identity();
  if (r > 0.0) hessian += 3.0 / r * d * d.transpose();
  return hessian;
}

/// The equations of one point (value, gradient) for the unknowns of another.
Eigen::Matrix4d pointBlock(const Vector3d& d) {
  const double r = d.norm();
  Eigen::Matrix4d block;
  block(0, 0) = r * r * r;
  block.block<1, 3>(0, 1) = -3.0 * r * d.transpose();
  block.block<3, 1>(1, 0) = 3.0 * r * d;
  block.block<3, 3>(1, 1) = -radialHessian(d);
  return block;
}

/// The same for the polynomial a + b . x.
Eigen::Matrix4d polynomialBlock(const Vector3d& x) {
  Eigen::Matrix4d block = Eigen::Matrix4d::Identity();
  block.block<1, 3>(0, 1) = x.transpose();
  return block;
}

bool areUsable(const std::vector<HermiteConstraint>& constraints) {
  if (constraints.size() < kFewestConstraints || constraints.size() > kMostConstraints)
    return false;
  for (const HermiteConstraint& c : constraints) {
    if (!c.point.isFinite() || !c.normal.isFinite() || !(c.normal.magnitude() > 0.0)) return false;
  }
  return true;
}

bool haveCoincidences(const std::vector<Vector3d>& centers) {
  for (std::size_t i = 0; i < centers.size(); ++i) {
    for (std::size_t j = 0; j < i; ++j) {
      if ((centers[i] - centers[j]).norm() <= kCoincident) return true;
    }
  }
  return false;
}

MatrixXd systemOf(const std::vector<Vector3d>& centers, double regularization) {
  const auto count = static_cast<Index>(centers.size());
  const Index tail = kBlock * count;
  MatrixXd matrix = MatrixXd::Zero(tail + kBlock, tail + kBlock);
  for (Index i = 0; i < count; ++i) {
    for (Index j = 0; j < count; ++j)
      matrix.block<kBlock, kBlock>(kBlock * i, kBlock * j) = pointBlock(centers[i] - centers[j]);
    const Eigen::Matrix4d polynomial = polynomialBlock(centers[i]);
    matrix.block<kBlock, kBlock>(kBlock * i, tail) = polynomial;
    matrix.block<kBlock, kBlock>(tail, kBlock * i) = polynomial.transpose();
    // The gradients' block is negative: a matrix that is definite on the side conditions keeps its
    // sign only where it is regularised by it.
    matrix(kBlock * i, kBlock * i) += regularization;
    for (int axis = 1; axis < kBlock; ++axis)
      matrix(kBlock * i + axis, kBlock * i + axis) -= regularization;
  }
  return matrix;
}

}  // namespace

bool HRBFInterpolator::FitToConstraints(const std::vector<HermiteConstraint>& constraints,
                                        double regularization) {
  weights_.clear();
  if (!areUsable(constraints) || !(regularization >= 0.0)) return false;
  Vector3d lower = constraints[0].point.eigen();
  Vector3d upper = lower;
  for (const HermiteConstraint& c : constraints) {
    lower = lower.cwiseMin(c.point.eigen());
    upper = upper.cwiseMax(c.point.eigen());
  }
  origin_ = 0.5 * (lower + upper);
  size_ = (upper - lower).norm();
  if (!(size_ > 0.0) || !std::isfinite(size_)) return false;
  std::vector<Vector3d> centers;
  centers.reserve(constraints.size());
  for (const HermiteConstraint& c : constraints)
    centers.push_back((c.point.eigen() - origin_) / size_);
  if (haveCoincidences(centers)) return false;

  const auto count = static_cast<Index>(centers.size());
  VectorXd right = VectorXd::Zero(kBlock * (count + 1));
  for (Index i = 0; i < count; ++i)
    right.segment<3>(kBlock * i + 1) = constraints[i].normal.eigen().normalized();
  const auto solution = foundation::solveSquare(systemOf(centers, regularization), right);
  if (!solution) return false;
  for (Index i = 0; i < count; ++i)
    weights_.push_back(
        {centers[i], (*solution)(kBlock * i, 0), solution->block<3, 1>(kBlock * i + 1, 0)});
  linear_ = solution->block<kBlock, 1>(kBlock * count, 0);
  return true;
}

void HRBFInterpolator::requireFitted() const {
  if (weights_.empty()) throw std::runtime_error("HRBF interpolator not fitted yet");
}

double HRBFInterpolator::Evaluate(const Point3D& point) const {
  requireFitted();
  const Vector3d x = (point.eigen() - origin_) / size_;
  double sum = linear_[0] + linear_.tail<3>().dot(x);
  for (const Weight& weight : weights_) {
    const Vector3d d = x - weight.center;
    const double r = d.norm();
    sum += r * (r * r * weight.value - 3.0 * weight.gradient.dot(d));
  }
  return sum * size_;
}

Vector3D HRBFInterpolator::EvaluateGradient(const Point3D& point) const {
  requireFitted();
  const Vector3d x = (point.eigen() - origin_) / size_;
  Vector3d sum = linear_.tail<3>();
  for (const Weight& weight : weights_) {
    const Vector3d d = x - weight.center;
    sum += 3.0 * d.norm() * weight.value * d - radialHessian(d) * weight.gradient;
  }
  return Vector3D(sum);
}

}  // namespace trova::geometry
