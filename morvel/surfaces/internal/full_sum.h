#pragma once

#include <vector>

#include "morvel/surfaces/surface.h"

// Evaluation by the definition: every control point times the value of its uniform basis functions,
// zero or not. It decides where sums over the local support do not apply: nets that hold values
// which are not finite, and directions with no more points than the degree.

namespace trova::geometry::internal {

/// One direction of a net: its number of points and its degree.
struct NetDirection {
  int count = 0;
  int degree = 0;
};

/// Rows 0 .. order of `count` values: the derivatives of all uniform clamped basis functions
/// (`computeUniformBasisFunction`) at t. Cost O(degree^2 + count).
/// All zero for a negative degree. @throws std::length_error for one above kMaxElevatedDegree
std::vector<double> allUniformDerivatives(const NetDirection& direction, double t, int order);

/// The results of `tensorPoint` (order 0, 1 or 2) by the full double sum.
/// @param net  direction u outer, points of `dim` doubles
void fullSum(const double* net, int dim, const NetDirection& inU, const NetDirection& inV, double u,
             double v, int order, double* out);

}  // namespace trova::geometry::internal
