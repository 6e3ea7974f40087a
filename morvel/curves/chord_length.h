#pragma once

#include <span>
#include <vector>

#include "morvel/foundation/export.h"
#include "morvel/foundation/point.h"

namespace trova::geometry {

/// Entry k is the length of the polyline up to point k; entry 0 is 0. Empty for no points.
MORVEL_API std::vector<double> cumulativeChordLengths(std::span<const foundation::Point3D> points);

}  // namespace trova::geometry
