/* B-spline curves near and through points.

   Points are flat arrays, x y z for each in turn. Every function returns the handle of a new curve,
   clamped on [0, 1], or -1 for any failure: a null pointer, a count below 2, a degree below 1 or
   not below the count, a coordinate that is not finite, neighbours that coincide, a system without
   an answer. get_last_error then tells why. Each prints what it does; 100,000 points take seconds
   to list and milliseconds to fit, so hosts with many points raise the level (set_log_level). */
#ifndef MORVEL_API_C_CURVE_FITTING_H
#define MORVEL_API_C_CURVE_FITTING_H

#include "morvel/api/c/types.h"

MORVEL_C_BEGIN

/* ---- near the points: least squares with 50 control points at most ---- */

/* At chord-length parameters. */
MORVEL_API int fit_bspline_curve_simple(const double* points MORVEL_LEN(3 * count), int count,
                                        int degree);
/* At parameters along the line of largest spread, oriented from the first point to the last; points
   that repeat the one before them are left out. Falls back to fit_bspline_curve_simple, also below
   4 points. */
MORVEL_API int fit_bspline_curve_with_line_projection(const double* points MORVEL_LEN(3 * count),
                                                      int count, int degree);
/* At parameters chosen by the spread of the points: angles for round sets, the line for flat ones,
   centripetal for all others. Falls back to fit_bspline_curve_with_line_projection. */
MORVEL_API int fit_bspline_curve_adaptive_parameterization(const double* points MORVEL_LEN(3 *
                                                                                           count),
                                                           int count, int degree);

/* ---- through the points ---- */

/* A control point for every point, on averaged knots at chord-length parameters. The distance at
   every point is printed. */
MORVEL_API int interpolate_bspline_curve(const double* points MORVEL_LEN(3 * count), int count,
                                         int degree);

/* ---- through some and near others ---- */

/* Two points in all at least; degree 1 to 5. A null array is read as no points of its kind,
   whatever its count. Parameters run through the interpolation points first and through the
   approximation points after them, by chord length, or by x where that never falls in this order:
   the second kind has to continue the first. For points that lie between each other use the
   function below. */
MORVEL_API int fit_constrained_bspline_curve(
    const double* interpolationPoints MORVEL_LEN(3 * interpolationCount), int interpolationCount,
    const double* approximationPoints MORVEL_LEN(3 * approximationCount), int approximationCount,
    int degree);
/* The same at parameters in [0, 1] that the caller gives, one for each point of either kind, with
   controlCount control points (0: half as many as points, a quarter of more than 100, 50 at most).
   At least as many control points as interpolation points are needed, and degree + 1. */
MORVEL_API int fit_constrained_bspline_curve_at_parameters(
    const double* interpolationPoints MORVEL_LEN(3 * interpolationCount),
    const double* interpolationParameters MORVEL_LEN(interpolationCount), int interpolationCount,
    const double* approximationPoints MORVEL_LEN(3 * approximationCount),
    const double* approximationParameters MORVEL_LEN(approximationCount), int approximationCount,
    int degree, int controlCount);

MORVEL_C_END

#endif
