#pragma once

#include <optional>
#include <span>
#include <utility>

#include "morvel/foundation/point.h"

namespace trova::geometry::internal {

/// The first pair i < j (least i, then least j) of points within `distance` of each other, wherever
/// they stand in the sequence. Points are compared only where they lie in one run along each axis,
/// runs being parted by gaps of more than `distance`: about n log n steps.
std::optional<std::pair<int, int>> firstNearDuplicates(std::span<const foundation::Point3D> points,
                                                       double distance);

}  // namespace trova::geometry::internal
