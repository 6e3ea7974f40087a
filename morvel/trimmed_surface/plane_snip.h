#pragma once

#include <memory>

#include "morvel/foundation/vector.h"
#include "morvel/trimmed_surface/wire_trimmed_surface.h"

namespace trova::geometry::trimmed_surface {

/// The part of a surface on the side of a plane that `normal` (of any length) points to, its loops
/// polygons: the cut sampled on a grid of 96 x 96 cells, each corner brought onto the plane by
/// bisection, and each chord halved twice. Details of the cut smaller than a cell may be missed.
/// Null where the plane does not cut the surface.
/// @throws std::invalid_argument for a normal of length 0 or numbers that are not finite
MORVEL_API std::unique_ptr<WireTrimmedSurface> snippedByPlane(
    std::shared_ptr<Surface> base, const Point3D& point, const Vector3D& normal,
    const TrimmedSurfaceOptions& settings = {});

}  // namespace trova::geometry::trimmed_surface
