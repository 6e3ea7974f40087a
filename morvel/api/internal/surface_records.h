#pragma once

#include "morvel/surfaces/surface_mesh.h"

// What is kept beside a registered surface and goes with it (tables.h: forgetSurfaceRecords).

namespace trova_internal {

/// The cached mesh of a surface, or null.
const trova::geometry::SurfaceMesh* cachedMesh(int surface);
void cacheMesh(int surface, trova::geometry::SurfaceMesh mesh);

}  // namespace trova_internal
