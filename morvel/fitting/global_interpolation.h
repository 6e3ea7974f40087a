#pragma once

#include <memory>
#include <vector>

#include "morvel/curves/bspline_curve.h"

// Splines through all of their points (Piegl and Tiller, The NURBS Book, section 9.2.1), in the
// pieces that curves and grids share: parameters, knots, and the system itself.

namespace trova::geometry {

/// Cumulated distances over the total, from 0 to 1; i / (n - 1) where the total is 0 or not finite.
/// Empty below two points.
MORVEL_API std::vector<double> getChordParameterization(const std::vector<Point3D>& points);

/// The averaging rule (The NURBS Book, equation 9.8): p + 1 zeros, the means of p consecutive
/// parameters each, p + 1 ones; size(params) + p + 1 knots.
/// @throws std::invalid_argument unless 1 <= degree < size(params)
MORVEL_API std::vector<double> generateAverageKnotVector(const std::vector<double>& params,
                                                         int degree);

/// The spline on averaged knots that passes through points[i] at params[i]; null where there is
/// none: sizes that do not fit, a degree outside 1 .. n - 1, values that are not finite, parameters
/// whose averages decrease, a singular system. The cost grows with n p^2.
/// @throws std::length_error where that is beyond 1e9
MORVEL_API std::unique_ptr<BSplineCurve> globalInterpolation(const std::vector<Point3D>& points,
                                                             int degree,
                                                             const std::vector<double>& params);

}  // namespace trova::geometry
