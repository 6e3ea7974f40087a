#pragma once

#include <memory>

#include "morvel/blend/internal/uniform_interpolation.h"
#include "morvel/surfaces/bspline_surface.h"

namespace trova::geometry::blend::internal {

/// The surface on clamped uniform knots with the net's points at the parameters of
/// UniformInterpolation; null where a control point is not finite.
/// @param closesInU  the ends in u, which coincide, get the same derivatives: the mean of both
std::unique_ptr<BSplineSurface> surfaceThrough(ControlNet net, int degreeU, int degreeV,
                                               bool closesInU = false);

}  // namespace trova::geometry::blend::internal
