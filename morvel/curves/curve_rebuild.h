#pragma once

#include <memory>

#include "morvel/curves/bspline_curve.h"

// Splines in place of other curves. All fits keep both ends, run over the curve's own interval in
// its own direction, and solve least squares over dense samples by banded normal equations.
// Deviations are distances at equal parameters (model units), measured on the finished curve at
// parameters that the fit did not use.

namespace trova::geometry {

/// The most control points that a fit to a tolerance tries.
inline constexpr int kMaxFitControlPoints = 4096;

/// The least-squares fit with exactly this many control points, on clamped uniform knots.
/// @param degree        1 .. 29
/// @param maxDeviation  written unless null
/// @throws std::invalid_argument unless degree is in range and
///         degree + 1 <= controlPointCount <= kMaxFitControlPoints
MORVEL_API std::unique_ptr<BSplineCurve> rebuildCurve(const Curve& curve, int controlPointCount,
                                                      int degree, double* maxDeviation);

/// The fit with the fewest control points (found by doubling and bisection, of degree 3 at most)
/// whose deviation is within `tolerance`; the curve itself where it is a polynomial spline with no
/// more.
/// @param achieved  the deviation, written unless null
/// @throws std::invalid_argument unless tolerance > 0; std::runtime_error where
///         kMaxFitControlPoints do not suffice
MORVEL_API std::unique_ptr<BSplineCurve> simplifyCurve(const Curve& curve, double tolerance,
                                                       double* achieved);

/// A cubic spline within `tolerance` of the curve, with knots where the curve (or the base of an
/// offset) is not smooth.
/// @throws as simplifyCurve
MORVEL_API std::unique_ptr<BSplineCurve> approximateCurve(const Curve& curve, double tolerance);

/// Control-point curves as they are, analytic curves in their exact form, others within 1e-6.
MORVEL_API std::unique_ptr<ParametricCurve> toSpline(const Curve& curve);

}  // namespace trova::geometry
