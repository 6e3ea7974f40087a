/* The kernel object, the registries and their handles, pending transforms, last errors,
   information.

   Handles are numbered per kind: curves from 20000, surfaces from 40000, points from 2000, curves
   on surfaces from 60000. A number is not used again until the clear function of its kind restarts
   the numbering. Unless a function says otherwise an int result is 0 on success and

     -1  a null pointer, a count or size out of range, a value that is not finite
     -2  handle not found (matrix functions)
     -3  handle not found (other functions)
     -4  an exception was caught; its text is in get_last_error
     -5  a null object was offered for storage

   The interface is to be used from one thread at a time. */
#ifndef MORVEL_API_C_REGISTRY_H
#define MORVEL_API_C_REGISTRY_H

#include "morvel/api/c/types.h"

MORVEL_C_BEGIN

/* The kinds of registered objects. */
enum { MORVEL_CURVES = 0, MORVEL_SURFACES = 1, MORVEL_POINTS = 2, MORVEL_CURVES_ON_SURFACES = 3 };

/* Creates the kernel object anew, destroying an earlier one with its surfaces. 1 on success, else
   0. Only create_nurbs_surface and its companions (kernel_surface.h) need it. */
MORVEL_API int initialize_kernel(void);
/* Destroys the kernel object if there is one. The registries are left as they are. */
MORVEL_API void cleanup_kernel(void);

/* Stores a point and returns its handle; -1 where a coordinate is not finite. */
MORVEL_API int create_point(double x, double y, double z);
/* Its coordinates. 0. */
MORVEL_API int get_point_coordinates(int point, double* x MORVEL_LEN(1), double* y MORVEL_LEN(1),
                                     double* z MORVEL_LEN(1));
/* 0. */
MORVEL_API int delete_point(int point);
/* How many points are registered. */
MORVEL_API int get_point_count(void);
/* As get_all_curves. */
MORVEL_API int get_all_points(int* out MORVEL_LEN(max), int max);
/* Removes all points, restarts their numbering at 2000 and returns how many there were. */
MORVEL_API int clear_all_points(void);

/* How many curves are registered. The two names are one function. */
MORVEL_API int get_curve_count(void);
MORVEL_API int get_curves_count(void);
/* How many surfaces are registered. */
MORVEL_API int get_surfaces_count(void);
/* Write at most max handles, in no particular order, and return how many were written; -1 for null
   or max below 1. */
MORVEL_API int get_all_curves(int* out MORVEL_LEN(max), int max);
MORVEL_API int get_all_surfaces(int* out MORVEL_LEN(max), int max);

/* 0. What was built of the curve keeps a copy of it. */
MORVEL_API int delete_curve(int curve);
/* An absent handle is ignored. A base that derived objects share lives on without its handle. */
MORVEL_API void delete_surface(int surface);
/* Remove all curves, restart their numbering at 20000 and return how many there were. */
MORVEL_API int clear_all_curves(void);
MORVEL_API int cleanup_all_curves(void);
/* Removes all surfaces and restarts their numbering at 40000. */
MORVEL_API void cleanup_all_surfaces(void);

/* Moves the object under new_handle to old_handle (destroying what was there) and erases
   new_handle: a host can keep the handle that it knows. False, and nothing changed, where either is
   absent. With the two equal and present the object stays in place. */
MORVEL_API bool replace_curve_handle(int old_handle, int new_handle);
MORVEL_API bool replace_surface_handle(int old_handle, int new_handle);

/* Three names of one function: reserve the next surface handle without storing anything. -4 where
   the numbers are used up. */
MORVEL_API int get_next_surface_handle(void);
MORVEL_API int storeSurface_get_next_handle(void);
MORVEL_API int get_unified_surface_handle(void);
/* The next surface handle, without reserving it. */
MORVEL_API int debug_get_surface_start_id(void);
/* 40000, the first surface handle. */
MORVEL_API int debug_get_macro_value(void);
/* Whether the surface is registered; reports what it found on standard output. */
MORVEL_API bool ensure_surface_in_registry(int surface);

/* A number that changes whenever a clear function restarts a kind's numbering: a handle means what
   it meant only while this stays the same. -1 for an unknown kind. */
MORVEL_API int get_registry_generation(int kind);

/* The pending transform of a curve: 16 numbers, row by row (element 4 r + c). 0 on success, -2 for
   an unknown handle, -1 also for a matrix that is not finite. */
MORVEL_API int set_curve_matrix(int curve, const double* m MORVEL_LEN(16));
MORVEL_API int get_curve_matrix(int curve, double* out MORVEL_LEN(16));
/* 1 where the pending transform is not the identity within 1e-4, else 0. */
MORVEL_API int curve_has_pending_transform(int curve);
/* Transforms the geometry by a pending transform that is not the identity, and resets it. Where the
   curve cannot take the transform (a circle that would become an ellipse, an image that is not
   finite) the result is -4 and nothing is changed; transform_curve makes a curve of another type.
 */
MORVEL_API int apply_curve_matrix(int curve);
/* Drops the pending transform. 0. */
MORVEL_API int reset_curve_matrix(int curve);
/* The same for surfaces; these return 1 on success (and -3 for an entry without an object). */
MORVEL_API int set_surface_matrix(int surface, const double* m MORVEL_LEN(16));
MORVEL_API int get_surface_matrix(int surface, double* out MORVEL_LEN(16));
MORVEL_API int surface_has_pending_transform(int surface);
MORVEL_API int apply_surface_matrix(int surface);
MORVEL_API int reset_surface_matrix(int surface);

/* Copies min(length, size - 1) characters and a terminating zero, and returns the number of
   characters copied; -1 for null or size below 1. Reading does not clear the text; nor does a later
   success. */
MORVEL_API int get_last_error(char* buffer MORVEL_LEN(size), int size);
/* Empties the text, so that a later one is known to be new. */
MORVEL_API void clear_last_error(void);
/* A second text, independent of the first; null stores the empty text. */
MORVEL_API void set_last_error_message(const char* message);
/* Valid until the next change. */
MORVEL_API const char* get_last_error_message(void);

/* A one-line banner, by the rule of get_last_error. */
MORVEL_API int get_version_info(char* buffer MORVEL_LEN(size), int size);
/* Print the version and the number of curves; the number of surfaces and their handles. */
MORVEL_API void print_kernel_info(void);
MORVEL_API void debug_print_registry_status(void);

MORVEL_C_END

#endif
