#pragma once

#include <cstdint>
#include <vector>

#include "morvel/foundation/point.h"

namespace trova::files::internal {

/// For every point the number of the first one that lies within `tolerance` (model units, above 0)
/// of it, itself at the latest. The extent of the points is at most 1e15 tolerances.
/// Time and memory grow with the number of points, but for points that crowd within the tolerance.
std::vector<std::int32_t> firstNear(const std::vector<foundation::Point3D>& points,
                                    double tolerance);

}  // namespace trova::files::internal
