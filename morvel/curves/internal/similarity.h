#pragma once

#include <algorithm>
#include <cmath>
#include <optional>

#include "morvel/foundation/transform3d.h"

namespace trova::geometry::internal {

/// The ratio of a similarity (a rigid motion or reflection times a scale above 0), none for any
/// other map or one that is not finite. Lengths and right angles may be off by 1e-9, relatively.
inline std::optional<double> similarityRatio(const foundation::Transform3D& transform) {
  constexpr double kRelativeTolerance = 1e-9;
  const Eigen::Matrix3d linear = transform.getMatrix().topLeftCorner<3, 3>();
  if (!transform.getMatrix().topRows<3>().allFinite()) return std::nullopt;
  const double ratio = linear.col(0).norm();
  const Eigen::Matrix3d gram = linear.transpose() * linear / (ratio * ratio);
  const double error = (gram - Eigen::Matrix3d::Identity()).cwiseAbs().maxCoeff();
  if (!(ratio > 0.0) || !(error <= kRelativeTolerance)) return std::nullopt;
  return ratio;
}

}  // namespace trova::geometry::internal
