#pragma once

#include <Eigen/Core>

#include "morvel/foundation/export.h"
#include "morvel/foundation/point.h"
#include "morvel/foundation/tolerance_context.h"
#include "morvel/foundation/vector.h"

namespace trova::foundation {

/// An affine transform: a 4 by 4 matrix that acts on column vectors (x, y, z, 1). The fourth row
/// takes no part: results are not divided by the fourth component.
class MORVEL_API Transform3D {
 public:
  /// Without the alignment that depends on a program's instruction set: curves and surfaces hold
  /// transforms, and their layout must be the same in the library and in its callers.
  using Matrix = Eigen::Matrix<double, 4, 4, Eigen::DontAlign>;

  Transform3D() : matrix_(Matrix::Identity()) {}
  explicit Transform3D(const Matrix& matrix) : matrix_(matrix) {}

  static Transform3D identity() { return {}; }
  static Transform3D translation(const Vector3D& offset);
  static Transform3D scaling(double sx, double sy, double sz);
  /// By `angle` radians about an axis through the origin, by the right-hand rule. The axis is
  /// normalised first; a zero axis stays zero in the formula and gives cos(angle) times the
  /// identity.
  static Transform3D rotation(const Vector3D& axis, double angle);

  /// this * other: `other` acts first on a point.
  Transform3D compose(const Transform3D& other) const;
  Transform3D operator*(const Transform3D& other) const { return compose(other); }

  Point3D transform(const Point3D& p) const;
  /// Translation does not act on a vector.
  Vector3D transform(const Vector3D& v) const;

  /// The Frobenius norm of (M - I) is at most the geometric tolerance.
  bool isIdentity(const ToleranceContext& tolerance = {}) const;

  double operator()(int row, int column) const { return matrix_(row, column); }
  double& operator()(int row, int column) { return matrix_(row, column); }
  const Matrix& getMatrix() const { return matrix_; }

 private:
  Matrix matrix_;
};

}  // namespace trova::foundation
