#pragma once

#include <memory>

#include "morvel/api/internal/surface_lookup.h"
#include "morvel/surfaces/bspline_surface.h"

// Surfaces as B-spline surfaces, and the stored knot range that splitting and arithmetic work on.

namespace trova_internal {

/// A copy of a B-spline surface; the form that lofts and ruled surfaces give themselves; for any
/// other surface its `toNurbs`. @throws trova::geometry::ToNurbsException and what those throw
std::unique_ptr<trova::geometry::BSplineSurface> splineFormOf(const Surface& surface);

/// An interval in stored-knot units.
struct KnotRange {
  double start;
  double end;
};

/// [U[p], U[n]] of the stored knots: the interval on which the surface is a spline.
/// @throws std::invalid_argument for a surface that is not valid
KnotRange storedRange(const trova::geometry::BSplineSurface& surface, Direction direction);

}  // namespace trova_internal
