#pragma once

#include <span>

#include "morvel/foundation/export.h"
#include "morvel/surfaces/surface.h"

// Many points of one surface at a time. Results stand one behind the other, `batchWidth(order)`
// doubles a point: the point; from order 1 on Su, Sv and the unit normal; at order 2 Suu, Suv, Svv.
// Nothing is allocated per point, and the bits are those of the single calls.
//
// Each throws std::invalid_argument for an order outside 0 .. 2, before it writes.

namespace trova::geometry {

/// 3, 12 or 21.
constexpr int batchWidth(int order) { return 3 + 9 * order; }

/// By the surface's own `evaluateDerivatives`, placeholders included.
/// @param uv  u and v of each point in turn
MORVEL_API void evaluateSurfaceBatch(const Surface& surface, std::span<const double> uv, int order,
                                     double* out);

/// The same at every (u[a], v[b]), u outer. Spline surfaces take each direction's basis once per
/// parameter.
MORVEL_API void evaluateSurfaceGrid(const Surface& surface, std::span<const double> u,
                                    std::span<const double> v, int order, double* out);

/// A spline surface as its *stored* knots define it, with true derivatives and normals for rational
/// ones; u and v in units of the stored knots, clamped to the range from U[p] to U[n]. (The
/// ordinary evaluation clamps to [0, 1] and rebuilds uniform knots.) Other surfaces have one shape
/// only: as evaluateSurfaceBatch.
/// @throws std::invalid_argument also where net or knots do not define a surface
MORVEL_API void evaluateSurfaceExactBatch(const Surface& surface, std::span<const double> uv,
                                          int order, double* out);

}  // namespace trova::geometry
