#include "morvel/foundation/transform3d.h"

#include <Eigen/Geometry>

namespace trova::foundation {

Transform3D Transform3D::translation(const Vector3D& offset) {
  Transform3D result;
  result.matrix_.topRightCorner<3, 1>() = offset.eigen();
  return result;
}

Transform3D Transform3D::scaling(double sx, double sy, double sz) {
  Transform3D result;
  result.matrix_.diagonal().head<3>() = Eigen::Vector3d(sx, sy, sz);
  return result;
}

Transform3D Transform3D::rotation(const Vector3D& axis, double angle) {
  // By contract: the formula is applied to a zero axis as it stands, which gives cos(angle) * I.
  const Eigen::AngleAxisd turn(angle, axis.normalized().eigen());
  Transform3D result;
  result.matrix_.topLeftCorner<3, 3>() = turn.toRotationMatrix();
  return result;
}

Transform3D Transform3D::compose(const Transform3D& other) const {
  return Transform3D(Matrix(matrix_ * other.matrix_));
}

Point3D Transform3D::transform(const Point3D& p) const {
  return Point3D(
      Eigen::Vector3d(matrix_.topLeftCorner<3, 3>() * p.eigen() + matrix_.topRightCorner<3, 1>()));
}

Vector3D Transform3D::transform(const Vector3D& v) const {
  return Vector3D(Eigen::Vector3d(matrix_.topLeftCorner<3, 3>() * v.eigen()));
}

bool Transform3D::isIdentity(const ToleranceContext& tolerance) const {
  return (matrix_ - Matrix::Identity()).norm() <= tolerance.getGeometricTolerance();
}

}  // namespace trova::foundation
