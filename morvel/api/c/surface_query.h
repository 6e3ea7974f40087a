/* Asking surfaces: type, degrees, nets, knots, domain, evaluation, tessellation.

     0  success
    -1  bad argument               -4  an exception was caught
    -2  buffer too small           -5  buffer for points, vertices or indices too small
    -3  unknown handle             -6  the surface type does not support it
                                   -7  the surface type has no degree or no knots

   get_last_error tells why, except where a function says that it sets no text. */
#ifndef MORVEL_API_C_SURFACE_QUERY_H
#define MORVEL_API_C_SURFACE_QUERY_H

#include "morvel/api/c/types.h"

MORVEL_C_BEGIN

/* ---- description ---- */

/* A name such as "bspline_surface"; -1 for an unknown handle, -2 where name and zero do not fit. */
MORVEL_API int get_surface_type(int surface, char* buffer MORVEL_LEN(size), int size);
MORVEL_API int get_surface_type_c(int surface, char* buffer MORVEL_LEN(size), int size);
/* The class name such as "BSplineSurface"; 1 on success; sets no text. */
MORVEL_API int get_surface_info(int surface, char* buffer MORVEL_LEN(size), int size);
/* The number itself. -3 for an unknown handle, -7 for a type without it. */
MORVEL_API int get_surface_u_degree(int surface);
MORVEL_API int get_surface_v_degree(int surface);
MORVEL_API int get_surface_u_control_points_count(int surface);
MORVEL_API int get_surface_v_control_points_count(int surface);
/* 0 for a surface without knots. */
MORVEL_API int get_surface_u_knots_count(int surface);
MORVEL_API int get_surface_v_knots_count(int surface);
/* The stored knots; outCount gets their number, also where the buffer is too small (-2). */
MORVEL_API int get_surface_u_knot_vector(int surface, double* out MORVEL_LEN(capacity),
                                         int capacity, int* outCount MORVEL_LEN(1));
MORVEL_API int get_surface_v_knot_vector(int surface, double* out MORVEL_LEN(capacity),
                                         int capacity, int* outCount MORVEL_LEN(1));
/* The same data, and both degrees; these set no text. */
MORVEL_API int get_surface_u_knot_vector_ex(int surface, double* out MORVEL_LEN(capacity),
                                            int capacity, int* outCount MORVEL_LEN(1));
MORVEL_API int get_surface_v_knot_vector_ex(int surface, double* out MORVEL_LEN(capacity),
                                            int capacity, int* outCount MORVEL_LEN(1));
MORVEL_API int get_surface_degrees_ex(int surface, int* degreeU MORVEL_LEN(1),
                                      int* degreeV MORVEL_LEN(1));
/* As get_surface_control_points, except that too little room is -2. */
MORVEL_API int get_surface_control_points_ex(int surface,
                                             double* out MORVEL_LEN(3 * capacityInPoints),
                                             int capacityInPoints, int* outCount MORVEL_LEN(1));
/* The net, u outer: point (i, j) at (i nV + j) 3. outCount gets nU nV (also with -5); nU and nV may
   be null. A loft shows the net of its B-spline form; other surfaces without a net are -6. */
MORVEL_API int get_surface_control_points(int surface, double* out MORVEL_LEN(3 * capacityInPoints),
                                          int capacityInPoints, int* outCount MORVEL_LEN(1),
                                          int* nU MORVEL_LEN(1), int* nV MORVEL_LEN(1));
/* 1 or 0. */
MORVEL_API int is_surface_rational(int surface);
/* The domain of evaluation, [0, 1] x [0, 1]. 0. */
MORVEL_API int get_surface_parameter_domain(int surface, double* uMin MORVEL_LEN(1),
                                            double* uMax MORVEL_LEN(1), double* vMin MORVEL_LEN(1),
                                            double* vMax MORVEL_LEN(1));
/* The same with 1 for success and 0 for failure. */
MORVEL_API int get_surface_parameter_ranges(int surface, double* uMin MORVEL_LEN(1),
                                            double* uMax MORVEL_LEN(1), double* vMin MORVEL_LEN(1),
                                            double* vMax MORVEL_LEN(1));
/* The area of the surface's 20 x 20 polyhedron, whatever the tolerance; -1 for an unknown handle.
 */
MORVEL_API double get_surface_area(int surface, double tolerance);
/* The weights of a NURBS surface (-6 for others), u outer; outCount gets nU nV, also with -2. */
MORVEL_API int get_surface_weights(int surface, double* out MORVEL_LEN(capacity), int capacity,
                                   int* outCount MORVEL_LEN(1));
/* The smallest and largest coordinates of a box that holds the surface. */
MORVEL_API int get_surface_bounding_box(int surface, double* lower MORVEL_LEN(3),
                                        double* upper MORVEL_LEN(3));
/* The parameters of the closest point. */
MORVEL_API int get_surface_closest_parameter(int surface, double x, double y, double z,
                                             double* u MORVEL_LEN(1), double* v MORVEL_LEN(1));
/* A new surface, its pending transform included. Returns its handle. */
MORVEL_API int copy_surface(int surface);

/* ---- evaluation ---- */

/* Spline surfaces are evaluated on clamped uniform knots over [0, 1], whatever knots they have;
   evaluate_surface_exact_batch (batch.h) evaluates them on their stored knots. */
/* The zero point, with a text, for an unknown handle or a parameter that is not finite. */
MORVEL_API MorvelPoint3D evaluate_surface_at_parameter(int surface, double u, double v);
/* Unit normal; the zero vector where the surface has none. (0, 0, 1) everywhere on a rational one.
 */
MORVEL_API MorvelPoint3D get_surface_normal_at_parameter(int surface, double u, double v);
/* At the middle of the domain. */
MORVEL_API int get_surface_normal_at_center(int surface, double* normal MORVEL_LEN(3));
/* Su and Sv; Suu, Suv and Svv. 0. */
MORVEL_API int get_surface_first_derivatives(int surface, double u, double v,
                                             double* su MORVEL_LEN(3), double* sv MORVEL_LEN(3));
MORVEL_API int get_surface_second_derivatives(int surface, double u, double v,
                                              double* suu MORVEL_LEN(3), double* suv MORVEL_LEN(3),
                                              double* svv MORVEL_LEN(3));
/* Point and tangents; u and v are clamped to [0, 1]. Returns 1; 0, with a text, for a null output,
   an unknown handle or numbers that are not finite. */
MORVEL_API int evaluate_surface_derivatives_at_uv(int surface, double u, double v,
                                                  double* point MORVEL_LEN(3),
                                                  double* du MORVEL_LEN(3),
                                                  double* dv MORVEL_LEN(3));

/* ---- tessellation ---- */

/* resolution (3 to 200) squared vertices, u outer, and two triangles a cell. The caller provides
   resolution^2 * 3 doubles and (resolution - 1)^2 * 6 indices. A vertex that is not finite, or has
   a coordinate above 1e6, becomes the vertex before it (the first one the origin). */
MORVEL_API int tessellate_surface(int surface, int resolution,
                                  double* vertices MORVEL_LEN(3 * resolution * resolution),
                                  int* vertexCount MORVEL_LEN(1),
                                  int* indices MORVEL_LEN(6 * (resolution - 1) * (resolution - 1)),
                                  int* triangleCount MORVEL_LEN(1));
/* The surface's mesh: the one of the last regenerate_surface_tessellation (until the surface
   changes), else 20 x 20 vertices, whatever the tolerance. A mesh that is not finite is -4. Room
   for vertexCapacity vertices and indexCapacity indices; the numbers needed go to vertexCount and
   indexCount, also with -5, which writes nothing else. */
MORVEL_API int get_surface_tessellation_data(int surface, double tolerance,
                                             double* vertices MORVEL_LEN(3 * vertexCapacity),
                                             int vertexCapacity, int* vertexCount MORVEL_LEN(1),
                                             int* indices MORVEL_LEN(indexCapacity),
                                             int indexCapacity, int* indexCount MORVEL_LEN(1));
/* Recomputes the surface's cached mesh with uCount x vCount vertices; both at least 2, their
   product at most 2^20, since the mesh stays in memory. */
MORVEL_API int regenerate_surface_tessellation(int surface, int uCount, int vCount);

MORVEL_C_END

#endif
