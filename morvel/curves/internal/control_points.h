#pragma once

#include <stdexcept>
#include <vector>

#include "morvel/curves/internal/curve_checks.h"
#include "morvel/foundation/affine_maps.h"

// What every class with control points does with them.

namespace trova::geometry::internal {

inline void requireIndex(int i, std::size_t count) {
  if (i < 0 || static_cast<std::size_t>(i) >= count)
    throw std::out_of_range("Control point index out of range");
}

/// The images of the points.
/// @throws std::invalid_argument, before any change, for a transform that is not finite
inline std::vector<Point3D> transformed(std::vector<Point3D> points, const Transform3D& transform) {
  foundation::requireFinite(transform);
  for (Point3D& point : points)
    point = transform.transform(point);
  return points;
}

inline bool endsMeet(const std::vector<Point3D>& points, const ToleranceContext& tolerance) {
  return !points.empty() && points.front().isEqual(points.back(), tolerance);
}

}  // namespace trova::geometry::internal
