#pragma once

#include <vector>

#include "morvel/curves/curve.h"

namespace trova::geometry::internal {

/// A parameter at which a curve is only C^smoothness; below 0 for a jump.
struct CurveJoint {
  double u = 0.0;
  int smoothness = 0;
};

/// The joints inside the interval, ascending: the knots of a spline, and those of an offset's base.
/// None for curves that are smooth throughout or not known.
std::vector<CurveJoint> jointsOf(const Curve& curve);

/// The ends of the interval and the joints between them, ascending.
std::vector<double> breaksOf(const Curve& curve);

}  // namespace trova::geometry::internal
