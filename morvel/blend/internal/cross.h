#pragma once

#include <Eigen/Core>

namespace trova::geometry::blend::internal {

using Eigen::Vector3d;

/// a x b. (Eigen's own is in a header that brings its decompositions.)
inline Vector3d cross(const Vector3d& a, const Vector3d& b) {
  return {a.y() * b.z() - a.z() * b.y(), a.z() * b.x() - a.x() * b.z(),
          a.x() * b.y() - a.y() * b.x()};
}

}  // namespace trova::geometry::blend::internal
