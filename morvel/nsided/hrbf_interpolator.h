#pragma once

#include <Eigen/Core>
#include <vector>

#include "morvel/foundation/export.h"
#include "morvel/foundation/point.h"
#include "morvel/foundation/vector.h"

namespace trova::geometry {

using foundation::Point3D;
using foundation::Vector3D;

/// A point of a surface and its normal there.
struct MORVEL_API HermiteConstraint {
  Point3D point;
  Vector3D normal;  ///< of any length above 0
};

/// A field in space that is 0 at given points with given unit gradients, so that the surface f = 0
/// runs through the points along their tangent planes (Macedo, Gois and Velho, Hermite radial basis
/// functions implicits, 2011): the radial function r^3, its derivatives, and a linear polynomial.
class MORVEL_API HRBFInterpolator {
 public:
  /// Solves a symmetric system of 4 n + 4 unknowns.
  /// @param regularization  added to the diagonal of the values' and gradients' equations; at
  ///                        least 0, relative to the size of the point set
  /// @return false for fewer than 3 constraints, numbers that are not finite, normals without
  ///         length, coincident points, or a system that is singular
  bool FitToConstraints(const std::vector<HermiteConstraint>& constraints,
                        double regularization = 0.0);

  bool IsFitted() const { return !weights_.empty(); }
  /// The field, in model units: near the surface the signed distance from it.
  /// @throws std::runtime_error "HRBF interpolator not fitted yet"
  double Evaluate(const Point3D& point) const;
  /// @throws as above
  Vector3D EvaluateGradient(const Point3D& point) const;

 private:
  void requireFitted() const;

  struct Weight {
    Eigen::Vector3d center;  // in units of the point set
    double value;
    Eigen::Vector3d gradient;
  };
  std::vector<Weight> weights_;
  Eigen::Vector4d linear_ = Eigen::Vector4d::Zero();
  Eigen::Vector3d origin_ = Eigen::Vector3d::Zero();
  double size_ = 1.0;
};

}  // namespace trova::geometry
