#pragma once

#include <string>

#include "morvel/curves/curve.h"
#include "morvel/files/mesh_object.h"
#include "morvel/foundation/export.h"
#include "morvel/surfaces/surface.h"

// Curves and surfaces as what mesh files hold.

namespace trova::files {

/// The largest number of samples along u or v of a surface.
inline constexpr int kMaxSurfaceSamples = 2000;

/// How finely.
struct MeshSampling {
  int uCount = 0;      ///< samples of a surface along u, 2 to kMaxSurfaceSamples
  int vCount = 0;      ///< along v
  int curveCount = 0;  ///< points of a curve, 2 to geometry::kMaxUniformPoints
  /// Model units. Above 0 it replaces the counts: grids and polylines grow until the surface
  /// (curve) midway between neighbouring samples lies within it of their chords.
  double tolerance = 0.0;
};

/// The surface's own evaluation over its domain, without its pending transform; of a trimmed
/// surface the visible part. Normals are Su x Sv, taken from differences of points, so that
/// rational surfaces have true ones; at a pole they are those beside it. The triangles turn as the
/// normals say.
/// @throws std::invalid_argument for counts out of range; for a tolerance that would need more than
///   kMaxSurfaceSamples; and what the surface throws
MORVEL_API MeshObject sampledSurface(const geometry::Surface& surface, std::string name,
                                     const MeshSampling& sampling);

/// @throws std::invalid_argument for a count out of range
MORVEL_API MeshObject sampledCurve(const geometry::Curve& curve, std::string name,
                                   const MeshSampling& sampling);

}  // namespace trova::files
