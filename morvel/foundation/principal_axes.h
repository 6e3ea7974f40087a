#pragma once

#include <array>
#include <optional>
#include <span>

#include "morvel/foundation/export.h"
#include "morvel/foundation/point.h"
#include "morvel/foundation/vector.h"

namespace trova::foundation {

/// How a set of points is spread: the eigenvalues of its covariance (the sum of the outer products
/// of point minus centroid, divided by the number of points; squared length units) in ascending
/// order, and the unit axes that belong to them.
struct PrincipalAxes {
  Point3D centroid;
  std::array<double, 3> spread;
  std::array<Vector3D, 3> axes;
};

/// Nothing for no points, for points that are not finite, and where the eigen-solver fails.
MORVEL_API std::optional<PrincipalAxes> principalAxes(std::span<const Point3D> points);

}  // namespace trova::foundation
