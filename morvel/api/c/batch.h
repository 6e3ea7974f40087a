/* Many points of one curve or surface in one call.

   Every result equals, bit for bit, that of the single calls. A batch allocates nothing per point
   for spline surfaces and for spline and Bezier curves. 0 on success, else

    -1  a null pointer, a count below 0 or too large for a 32-bit index of the results, an order out
        of range, a parameter or point that is not finite; nothing was written
    -3  unknown handle; nothing was written
    -4  an exception was caught, or a result is not finite; the output may be written in part

   and get_last_error tells why. An empty batch is a success that writes nothing. */
#ifndef MORVEL_API_C_BATCH_H
#define MORVEL_API_C_BATCH_H

#include "morvel/api/c/types.h"

MORVEL_C_BEGIN

/* ---- curves, at count parameters t in the curve's own interval ---- */

/* Per parameter order + 1 vectors (order 0 to 10): the point, then the derivatives. */
MORVEL_API int evaluate_curve_batch(int curve, const double* t MORVEL_LEN(count), int count,
                                    int order, double* out MORVEL_LEN(3 * (order + 1) * count));
/* Unit tangents, unit principal normals; curvatures in 1 / model units. */
MORVEL_API int evaluate_curve_tangent_batch(int curve, const double* t MORVEL_LEN(count), int count,
                                            double* out MORVEL_LEN(3 * count));
MORVEL_API int evaluate_curve_normal_batch(int curve, const double* t MORVEL_LEN(count), int count,
                                           double* out MORVEL_LEN(3 * count));
MORVEL_API int evaluate_curve_curvature_batch(int curve, const double* t MORVEL_LEN(count),
                                              int count, double* out MORVEL_LEN(count));
/* The lengths between count pairs of parameters, each pair in either order. */
MORVEL_API int evaluate_curve_length_batch(int curve, const double* ranges MORVEL_LEN(2 * count),
                                           int count, double* lengths MORVEL_LEN(count));
/* The parameters of the points of the curve closest to count points x y z. */
MORVEL_API int get_curve_closest_parameter_batch(int curve,
                                                 const double* points MORVEL_LEN(3 * count),
                                                 int count, double* t MORVEL_LEN(count));

/* ---- surfaces, at count pairs u v in [0, 1] ---- */

/* Per point 3 doubles for order 0 (the point), 12 for order 1 (point, Su, Sv, unit normal), 21 for
   order 2 (then Suu, Suv, Svv). By contract the derivatives of a rational surface are placeholders
   (unit x, unit y, normal z); evaluate_surface_exact_batch gives the true ones. */
MORVEL_API int evaluate_surface_batch(int surface, const double* uv MORVEL_LEN(2 * count),
                                      int count, int order,
                                      double* out MORVEL_LEN((3 + 9 * order) * count));
/* The same at every (u[a], v[b]): nU nV results, u outer. */
MORVEL_API int evaluate_surface_grid(int surface, const double* u MORVEL_LEN(nU), int nU,
                                     const double* v MORVEL_LEN(nV), int nV, int order,
                                     double* out MORVEL_LEN((3 + 9 * order) * nU * nV));
/* The spline surface that the *stored* knots define; the same layout and codes. Every other
   evaluation of a B-spline or NURBS surface by handle clamps u and v to [0, 1] and rebuilds uniform
   knots: where a surface was made on knots that are not uniform, that is another shape, and this
   call alone gives the true one. It also gives the true derivatives and normals of a rational
   surface. u and v are in units of the stored knots, clamped to their range (from knot number
   degree to knot number nU, or nV: get_surface_u_knot_vector). Surfaces without knots are evaluated
   as in the ordinary batch. */
MORVEL_API int evaluate_surface_exact_batch(int surface, const double* uv MORVEL_LEN(2 * count),
                                            int count, int order,
                                            double* out MORVEL_LEN((3 + 9 * order) * count));
/* Unit normals as get_surface_normal_at_parameter gives them: the zero vector where there is none.
 */
MORVEL_API int get_surface_normal_batch(int surface, const double* uv MORVEL_LEN(2 * count),
                                        int count, double* out MORVEL_LEN(3 * count));
/* The u v of the points of the surface closest to count points x y z. */
MORVEL_API int get_surface_closest_parameter_batch(int surface,
                                                   const double* points MORVEL_LEN(3 * count),
                                                   int count, double* uv MORVEL_LEN(2 * count));

MORVEL_C_END

#endif
