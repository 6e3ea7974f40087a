/* Least-squares fit of a B-spline surface to points in no order.

   An engine is made of points and options, initialised, fitted, and destroyed; its surface lives in
   it until it is fitted again or destroyed, and gets a handle of its own on request. Engines have
   ids in a table apart from the surfaces, but draw them from the surface counter: an id is no
   surface handle. After cleanup_all_surfaces restarted the counter, a new engine replaces one that
   still has its number.

   Points are n times x y z; n at least 4. Creation returns the id; -1 for bad arguments, -3 for an
   exception. All else: -1 for an unknown id or a null pointer, -2 for an exception (no surface yet
   is one). get_last_error tells why. Points that are not finite are told by the initialisation. */
#ifndef MORVEL_API_C_SURFACE_ENGINE1_H
#define MORVEL_API_C_SURFACE_ENGINE1_H

#include "morvel/api/c/types.h"

MORVEL_C_BEGIN

/* ---- creation ---- */

/* Bicubic, the net sized by the number of points, without condition analysis. */
MORVEL_API int create_surface_engine1(const double* points MORVEL_LEN(3 * n), int n);
/* Degrees at least 1; what is above 22 becomes 3, and the net may allow less. */
MORVEL_API int create_surface_engine1_with_degrees(const double* points MORVEL_LEN(3 * n), int n,
                                                   int degree_u, int degree_v);
/* Flags: compute the condition number of the normal equations; regularise in any case. */
MORVEL_API int create_surface_engine1_with_advanced_options(const double* points MORVEL_LEN(3 * n),
                                                            int n, int degree_u, int degree_v,
                                                            int condition_analysis,
                                                            int force_regularization);
/* Control-point counts; 0 and 0 (or one of them 0) leave them to the engine. They are capped at
   what n points determine, max(floor(sqrt(n) / (larger degree + 1)), 4). */
MORVEL_API int create_surface_engine1_with_control_points(const double* points MORVEL_LEN(3 * n),
                                                          int n, int degree_u, int degree_v,
                                                          int control_u, int control_v);
/* Mode 0 FAST, 1 SMART, 2 EXPERT; any other is SMART with a warning on standard output. */
MORVEL_API int create_surface_engine1_with_fitting_mode(const double* points MORVEL_LEN(3 * n),
                                                        int n, int degree_u, int degree_v,
                                                        int control_u, int control_v, int mode);
/* Mode EXPERT. parameterization: 0 least-squares plane, 1 uniform, else universal. lambda at least
   0, times the largest singular value; condition_threshold above 0, infinity for none. */
MORVEL_API int create_surface_engine1_with_expert_options(
    const double* points MORVEL_LEN(3 * n), int n, int degree_u, int degree_v, int control_u,
    int control_v, int parameterization, int condition_analysis, int force_regularization,
    double lambda, int advanced_parameterization, int shape_analysis, int boundary_analysis,
    double fitting_tolerance, double condition_threshold);

/* ---- work ---- */

/* Checks the points, sizes the net, parameterises by the least-squares plane. 1; 0 on failure, and
   the validation message tells why. */
MORVEL_API int initialize_surface_engine1(int engine);
/* Fits with a parameterisation method: 2 (or any not listed) least-squares plane, 3 convex hull, 4
   principal axes, 5 chosen by the data. Initialises first where that was not done. 1; 0 where the
   fit failed, with the reason in get_last_error. The surface of an earlier fit is gone. */
MORVEL_API int fit_surface_engine1(int engine, int method);
/* Fits by the least-squares plane, whatever the options say. Returns the surface, borrowed: an
   opaque pointer for C++ hosts (trova::geometry::BSplineSurface), valid until the engine is fitted
   again or destroyed. Null on failure. */
MORVEL_API const void* api_create_bspline_surface_from_engine(int engine);
/* Stores a copy of the fitted surface as a surface of its own; returns its handle. -2 where the
   engine has no surface. */
MORVEL_API int register_surface_engine1_in_main_system(int engine);
/* 0. u and v are clamped to [0, 1]. */
MORVEL_API int evaluate_surface_engine1(int engine, double u, double v, double* xyz MORVEL_LEN(3));
/* 0. Of the last fit: the largest and the root mean square distance of the points to the surface at
   their parameters; the condition number, 1e6 where it was not computed; milliseconds in all, for
   the parameters and for the equations. -2 before a fit and after one that failed. */
MORVEL_API int get_surface_engine1_report(int engine, double* max_deviation MORVEL_LEN(1),
                                          double* rms_deviation MORVEL_LEN(1),
                                          double* condition_number MORVEL_LEN(1),
                                          double* milliseconds MORVEL_LEN(3));
/* The name of the method of the last fit, and its warnings, one a line; each cut to the buffer.
   Return the number of characters. */
MORVEL_API int get_surface_engine1_method(int engine, char* buffer MORVEL_LEN(size), int size);
MORVEL_API int get_surface_engine1_warnings(int engine, char* buffer MORVEL_LEN(size), int size);
/* Writes the record of the last fit to standard output; 0. */
MORVEL_API int print_surface_engine1_summary(int engine);

/* ---- what an engine is ---- */

/* The number itself. Degrees and counts are those asked for until the initialisation. */
MORVEL_API int get_surface_engine1_point_count(int engine);
MORVEL_API int get_surface_engine1_degree_u(int engine);
MORVEL_API int get_surface_engine1_degree_v(int engine);
MORVEL_API int get_surface_engine1_control_count_u(int engine);
MORVEL_API int get_surface_engine1_control_count_v(int engine);
/* 0. The grid is that of the control points. */
MORVEL_API int get_surface_engine1_degrees(int engine, int* degree_u MORVEL_LEN(1),
                                           int* degree_v MORVEL_LEN(1));
MORVEL_API int get_surface_engine1_control_point_counts(int engine, int* count_u MORVEL_LEN(1),
                                                        int* count_v MORVEL_LEN(1));
MORVEL_API int get_surface_engine1_grid_dimensions(int engine, int* count_u MORVEL_LEN(1),
                                                   int* count_v MORVEL_LEN(1));
/* 0. One parameter a point, none before the initialisation; out_count gets their number, also with
   -5, which is too little room and writes nothing else. */
MORVEL_API int get_surface_engine1_u_parameters(int engine, double* out MORVEL_LEN(capacity),
                                                int capacity, int* out_count MORVEL_LEN(1));
MORVEL_API int get_surface_engine1_v_parameters(int engine, double* out MORVEL_LEN(capacity),
                                                int capacity, int* out_count MORVEL_LEN(1));
/* Copies the message, cut to the buffer; returns the number of characters. */
MORVEL_API int get_surface_engine1_validation_message(int engine, char* buffer MORVEL_LEN(size),
                                                      int size);
/* The message itself, valid until the engine's next function; null for an unknown id. */
MORVEL_API const char* get_surface_engine1_validation_message_simple(int engine);
/* 1 or 0: initialised with success; fitted with success. */
MORVEL_API int is_surface_engine1_valid(int engine);
MORVEL_API int surface_engine1_has_surface(int engine);

/* 0. Surfaces that were registered stay. */
MORVEL_API int destroy_surface_engine1(int engine);
/* Destroys all engines of this kind; returns how many. */
MORVEL_API int cleanup_surface_engine1(void);

MORVEL_C_END

#endif
