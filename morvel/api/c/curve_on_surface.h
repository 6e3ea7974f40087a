/* Curves in the parameter plane of a surface, by handles of their own (from 60000).

   Each keeps its surface alive: it works on after delete_surface, and follows changes made to the
   surface in place. Points (u, v) outside [0, 1] x [0, 1] are taken to the edge. 0 on success, else

    -1  a null pointer, a count or degree out of range, a number that is not finite
    -2  fewer than degree + 1 points
    -3  unknown handle
    -4  an exception was caught, or a result is not finite (a batch may be written in part)
    -6  the surface is not registered any more

   and get_last_error tells why. */
#ifndef MORVEL_API_C_CURVE_ON_SURFACE_H
#define MORVEL_API_C_CURVE_ON_SURFACE_H

#include "morvel/api/c/types.h"

MORVEL_C_BEGIN

/* From count control points u v: a B-spline curve of the degree on clamped uniform knots over
   [0, 1]. Degree 1 is the polyline through the points. Returns the new handle. */
MORVEL_API int create_curve_on_surface(int surface, const double* uv MORVEL_LEN(2 * count),
                                       int count, int degree);
/* The interval of the curve's own parameter t. */
MORVEL_API int get_curve_on_surface_interval(int curveOnSurface, double* start MORVEL_LEN(1),
                                             double* end MORVEL_LEN(1));
/* u v on the surface, and the point in space. */
MORVEL_API int evaluate_curve_on_surface_uv(int curveOnSurface, double t, double* uv MORVEL_LEN(2));
MORVEL_API int evaluate_curve_on_surface(int curveOnSurface, double t, double* point MORVEL_LEN(3));
MORVEL_API int evaluate_curve_on_surface_uv_batch(int curveOnSurface,
                                                  const double* t MORVEL_LEN(count), int count,
                                                  double* uv MORVEL_LEN(2 * count));
MORVEL_API int evaluate_curve_on_surface_batch(int curveOnSurface,
                                               const double* t MORVEL_LEN(count), int count,
                                               double* points MORVEL_LEN(3 * count));
/* The handle of the surface. */
MORVEL_API int get_curve_on_surface_base(int curveOnSurface);
/* How many there are; at most max of their handles, in no particular order. */
MORVEL_API int get_curve_on_surface_count(void);
MORVEL_API int get_all_curves_on_surfaces(int* out MORVEL_LEN(max), int max);
/* An object that was built of the curve keeps it. */
MORVEL_API int delete_curve_on_surface(int curveOnSurface);

MORVEL_C_END

#endif
