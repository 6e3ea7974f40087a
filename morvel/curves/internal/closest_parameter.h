#pragma once

#include <span>

#include "morvel/curves/curve.h"

namespace trova::geometry::internal {

/// The parameter of the nearest curve point: samples at equal steps between the breaks, then a
/// safeguarded Newton search around the best local minima among them. Global as far as the samples
/// resolve the curve.
/// @param breaks   ascending, ends included; where the curve is not smooth
/// @param samples  steps in every stretch between breaks (fewer where the breaks are very many)
/// @throws std::invalid_argument for a point that is not finite
double closestParameter(const Curve& curve, std::span<const double> breaks, int samples,
                        const Point3D& point);

}  // namespace trova::geometry::internal
