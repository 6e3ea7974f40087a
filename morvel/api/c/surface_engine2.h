/* Interpolation of a grid of points by a B-spline surface.

   rows x columns points x y z, row after row; u runs down a column, from row to row, v along a row.
   The surface passes through the grid on its stored knots (evaluate_surface_exact_batch), at the
   averaged chord-length parameters of rows and columns; the ordinary evaluation, on uniform knots,
   is another surface unless the grid is even.

   Engines have ids of their own from 50000, which are never given twice. Creation returns the id;
   -1 for bad arguments, -3 for an exception. All else: -1 for an unknown id or a null pointer, -2
   for an exception. get_last_error tells why. Degrees that do not suit the grid and points that are
   not finite are told by the initialisation. */
#ifndef MORVEL_API_C_SURFACE_ENGINE2_H
#define MORVEL_API_C_SURFACE_ENGINE2_H

#include "morvel/api/c/types.h"

MORVEL_C_BEGIN

/* reserved is not read. */
MORVEL_API int create_surface_engine2(const double* points MORVEL_LEN(3 * rows * columns), int rows,
                                      int columns, int degree_u, int degree_v, int reserved);
/* grid: rows, columns, degree in u, degree in v; count must be rows times columns. */
MORVEL_API int create_surface_engine2_with_grid(const double* points MORVEL_LEN(3 * count),
                                                int count, const int* grid MORVEL_LEN(4));

/* Checks grid and degrees, and parameterises. 1; 0 on failure, and the validation message tells
   why. */
MORVEL_API int initialize_surface_engine2(int engine);
/* Interpolates. 1; 0 on failure, and the validation message tells why. The surface of an earlier
   call is gone. */
MORVEL_API int create_surface_engine2_interpolated_surface(int engine);
/* Interpolates and returns the surface, borrowed: an opaque pointer for C++ hosts
   (trova::geometry::BSplineSurface), valid until the engine interpolates again or is destroyed.
   Null on failure. */
MORVEL_API const void* api_create_bspline_surface_from_engine2(int engine);
/* Stores a copy of the surface as a surface of its own; returns its handle. -2 where the engine has
   no surface. */
MORVEL_API int register_surface_engine2_in_main_system(int engine);
/* The largest distance of a grid point from the surface on its stored knots, at the point's
   parameters. -2 where the engine has no surface. */
MORVEL_API double get_surface_engine2_max_deviation(int engine);

/* 0. */
MORVEL_API int get_surface_engine2_degrees(int engine, int* degree_u MORVEL_LEN(1),
                                           int* degree_v MORVEL_LEN(1));
MORVEL_API int get_surface_engine2_grid_dimensions(int engine, int* rows MORVEL_LEN(1),
                                                   int* columns MORVEL_LEN(1));
/* 0. One parameter a row (u) and one a column (v), none before the initialisation; out_count gets
   their number, also with -5, which is too little room and writes nothing else. */
MORVEL_API int get_surface_engine2_u_parameters(int engine, double* out MORVEL_LEN(capacity),
                                                int capacity, int* out_count MORVEL_LEN(1));
MORVEL_API int get_surface_engine2_v_parameters(int engine, double* out MORVEL_LEN(capacity),
                                                int capacity, int* out_count MORVEL_LEN(1));
/* The message itself, valid until the engine's next function; null for an unknown id. */
MORVEL_API const char* get_surface_engine2_validation_message_simple(int engine);
/* 1 or 0: initialised with success; interpolated with success. */
MORVEL_API int is_surface_engine2_valid(int engine);
MORVEL_API int surface_engine2_has_surface(int engine);

/* 0. Surfaces that were registered stay. */
MORVEL_API int destroy_surface_engine2(int engine);
/* Destroys all engines of this kind; returns how many. The ids go on. */
MORVEL_API int cleanup_surface_engine2(void);

MORVEL_C_END

#endif
