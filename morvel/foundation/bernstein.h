#pragma once

#include <vector>

#include "morvel/foundation/export.h"
#include "morvel/foundation/point.h"

namespace trova::foundation::nurbs {

/// The Bernstein polynomial B(i, n)(t); 0 unless 0 <= i <= n. Exactly 0 or 1 where t is within
/// 1e-12 of 0 or 1.
MORVEL_API double evaluateBernsteinBasis(int i, int n, double t);

/// out[i] = B(i, n)(t), i = 0 .. n. Empty for a negative n.
MORVEL_API void evaluateAllBernsteinBasis(int n, double t, std::vector<double>& out);

/// The same into out[0 .. n], caller's room; n >= 0. Allocates nothing.
MORVEL_API void bernsteinValues(int n, double t, double* out);

/// The point of a Bezier curve at t: the origin for no points, the first or last point exactly
/// within 1e-12 of 0 and 1, else by repeated linear interpolation.
MORVEL_API Point3D deCasteljauEvaluation(const std::vector<Point3D>& points, double t);

}  // namespace trova::foundation::nurbs
