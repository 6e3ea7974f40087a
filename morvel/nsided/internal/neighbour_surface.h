#pragma once

#include "morvel/surfaces/curve_on_surface.h"

namespace trova::geometry::internal {

/// Point and true derivatives up to order 2 of the surface that a curve lies on, at the curve's t.
/// (The ordinary derivatives of a rational surface are placeholders.)
SurfaceEvaluation neighbourAt(const CurveOnSurface& curve, double t);

/// The normal curvature form of a surface: n . (a^2 Suu + 2 a b Suv + b^2 Svv) for the direction
/// a Su + b Sv nearest to `direction`, with the unit normal n of Su x Sv; 0 where that has no
/// length.
double normalBend(const SurfaceEvaluation& at, const Vector3D& direction);

/// The unit vector of Su x Sv, or zero where it has no length.
Vector3D trueNormal(const SurfaceEvaluation& at);

}  // namespace trova::geometry::internal
