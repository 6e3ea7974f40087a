#pragma once

#include <vector>

#include "morvel/curves/curve.h"

namespace trova::geometry {

/// The parameters of `count` points (at least 2) that cut the curve into pieces of equal length,
/// both ends included, in the order in which the curve runs. Where the curve has no length they are
/// equally spaced. Lengths are those of `getArcLength`; cost: its integral over the curve and a few
/// short ones for every point.
/// @throws std::invalid_argument for a count below 2, std::runtime_error "Curve length is not
/// finite"
MORVEL_API std::vector<double> equalArcLengthParameters(const Curve& curve, int count);

}  // namespace trova::geometry
