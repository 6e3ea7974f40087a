/* Deriving surfaces from surfaces. Unless a function says otherwise it returns the handle of a new
   surface and leaves its input as it is. An unknown handle is -1 here, as is any bad argument; the
   other codes are

    -4  an exception was caught, or the result is not a valid surface
    -5  degree elevation failed
    -6  the surface type does not support it, or cannot be converted

   get_last_error tells why. On failure the outputs and the registry are as they were. */
#ifndef MORVEL_API_C_SURFACE_EDIT_H
#define MORVEL_API_C_SURFACE_EDIT_H

#include "morvel/api/c/types.h"

MORVEL_C_BEGIN

/* B-spline and Bezier surfaces only (-6). The parameter, 0 to 1, is mapped onto the stored knot
   range (a Bezier surface's own [0, 1]); at 0 and 1 one half would be empty, which is -1. Both
   halves of a B-spline surface are exact on the stored knots. Returns 2, the number of pieces. */
MORVEL_API int split_surface_at_u(int surface, double u, int* left MORVEL_LEN(1),
                                  int* right MORVEL_LEN(1));
MORVEL_API int split_surface_at_v(int surface, double v, int* left MORVEL_LEN(1),
                                  int* right MORVEL_LEN(1));
/* The patch that continues a B-spline surface at the side with the largest amount (model units,
   above 0; the first of equal ones), alone. type: 0 natural, 1 linear, 2 reflect. Any other surface
   gives an unchanged copy. */
MORVEL_API int extend_surface(int surface, double uMinAmount, double uMaxAmount, double vMinAmount,
                              double vMaxAmount, int type);
/* The same surface with u, or v, run through the other way. */
MORVEL_API int reverse_surface_u(int surface);
MORVEL_API int reverse_surface_v(int surface);
/* A B-spline surface with u and v exchanged. */
MORVEL_API int transpose_bspline_surface(int surface);
/* Raise a degree by times (at least 1), to 1000 at most. B-spline surfaces only (-6); exact on the
   stored knots. The new handle goes to result; returns 0. */
MORVEL_API int elevate_surface_u_degree(int surface, int times, int* result MORVEL_LEN(1));
MORVEL_API int elevate_surface_v_degree(int surface, int times, int* result MORVEL_LEN(1));
/* A B-spline surface: a copy, an exact form, or within 1e-6 of the surface. */
MORVEL_API int convert_surface_to_bspline(int surface);
/* A B-spline surface within 1e-6. */
MORVEL_API int convert_surface_to_nurbs(int surface);
/* B-spline and Bezier surfaces only (-6). In place; returns 0. */
MORVEL_API int modify_surface_control_point(int surface, int i, int j, double x, double y,
                                            double z);
/* Arithmetic on nets that were brought to common degrees (29 at most) and knots. Other types are
   converted first; operands over different stored knot ranges are combined at equal fractions of
   them, and the result's range is [0, 1]. operation 0: s1 + s2; 1: s1 - s2; 2: s1 + s2 - s3 (s3 is
   not looked at otherwise). Reports its phases on standard output; -1 on any failure, printed on
   standard error. */
MORVEL_API int surface_arithmetic_operation(int surface1, int surface2, int surface3,
                                            int operation);

MORVEL_C_END

#endif
