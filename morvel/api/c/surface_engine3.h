/* B-spline surfaces fitted to points under constraints: near approximation points, exactly through
   interpolation points, with given first derivatives at G1 constraints.

   An engine holds points, constraints and the surface of its last fit; it is fitted when it is
   made, and again by surface_engine3_apply_g1_constraints. Its surface gets a handle of its own on
   request. Engines have ids from 1 in a table of their own; an id is no surface handle.

   Failures are -1 throughout (a null pointer, a count or value out of range, an unknown id, a fit
   that failed, an exception), -5 for a buffer that is too small; get_last_error tells why. Points
   and vectors are x y z; parameters u v lie in [0, 1].

   method: 0 uniform, 1 chord length, 2 centripetal (these take the points for a square grid, row by
   row), 3 universal (one of the next, by the spread of the points), 4 onto the two principal axes,
   5 onto the least-squares plane, 6 against the convex hull in that plane. Any other prints a
   warning and is 5. */
#ifndef MORVEL_API_C_SURFACE_ENGINE3_H
#define MORVEL_API_C_SURFACE_ENGINE3_H

#include "morvel/api/c/types.h"

MORVEL_C_BEGIN

/* ---- making; each returns the id ---- */

/* n approximation points, at least 4. Cubic; the control grid follows from n: max(floor(sqrt(n) /
   (degree + 1)), 4) on each side. */
MORVEL_API int create_surface_engine3(const double* points MORVEL_LEN(3 * n), int n, int method);
/* Degrees 1 to 10; one that the control grid cannot carry is lowered. */
MORVEL_API int create_surface_engine3_with_degrees(const double* points MORVEL_LEN(3 * n), int n,
                                                   int degree_u, int degree_v, int method);
/* Control points on each side; 0 for a count that follows from n. */
MORVEL_API int create_surface_engine3_with_control_counts(const double* points MORVEL_LEN(3 * n),
                                                          int n, int degree_u, int degree_v,
                                                          int control_u, int control_v, int method);
/* Knots, clamped and never decreasing; they are mapped onto [0, 1], and their number less degree +
   1 is the number of control points. A null array with count 0: evenly spaced. */
MORVEL_API int create_surface_engine3_with_knots(const double* points MORVEL_LEN(3 * n), int n,
                                                 int degree_u, int degree_v,
                                                 const double* knots_u MORVEL_LEN(knot_count_u),
                                                 int knot_count_u,
                                                 const double* knots_v MORVEL_LEN(knot_count_v),
                                                 int knot_count_v, int method);
/* With interpolation points.
   uv, weights      of the approximation points; null: parameters by the method, weights 1
   interpolation_uv null: where the points project to among the approximation points
   regularization   lambda; lambda times the largest singular value of the normal matrix is added to
                    its diagonal, which draws control points towards the origin by that share. 0
                    takes the default, 1e-6
   There may be no approximation points (null, 0) where interpolation_uv is given. */
MORVEL_API int create_surface_engine3_with_constraints(
    const double* points MORVEL_LEN(3 * n), const double* uv MORVEL_LEN(2 * n),
    const double* weights MORVEL_LEN(n), int n,
    const double* interpolation_points MORVEL_LEN(3 * interpolation_count),
    const double* interpolation_uv MORVEL_LEN(2 * interpolation_count), int interpolation_count,
    int degree_u, int degree_v, int control_u, int control_v, int method, double regularization);
/* With G1 constraints too: at each g1_uv the first derivatives of the surface equal the given
   tangents in direction and length. g1_tangents_u or g1_tangents_v may be null: not given; null
   g1_weights: 1. */
MORVEL_API int create_surface_engine3_with_g1_constraints(
    const double* points MORVEL_LEN(3 * n), const double* uv MORVEL_LEN(2 * n),
    const double* weights MORVEL_LEN(n), int n,
    const double* interpolation_points MORVEL_LEN(3 * interpolation_count),
    const double* interpolation_uv MORVEL_LEN(2 * interpolation_count), int interpolation_count,
    const double* g1_uv MORVEL_LEN(2 * g1_count),
    const double* g1_tangents_u MORVEL_LEN(3 * g1_count),
    const double* g1_tangents_v MORVEL_LEN(3 * g1_count),
    const double* g1_weights MORVEL_LEN(g1_count), int g1_count, int degree_u, int degree_v,
    int control_u, int control_v, int method, double regularization);

/* ---- G1 constraints of an engine; they act when they are applied ---- */

/* A null tangent is not given; at least one is. Returns 0. */
MORVEL_API int surface_engine3_add_g1_tangent_constraint(int engine, double u, double v,
                                                         const double* tangent_u MORVEL_LEN(3),
                                                         const double* tangent_v MORVEL_LEN(3),
                                                         double weight);
/* Two tangents perpendicular to the normal, of weight 1: the first of unit length, the second of
   the normal's. Returns 0. */
MORVEL_API int surface_engine3_add_g1_normal_constraint(int engine, double u, double v,
                                                        const double* normal MORVEL_LEN(3),
                                                        double weight);
/* 1 where all are valid, do not contradict each other and leave the control grid the freedom that
   they need; 0 otherwise, with the reason as the last error. */
MORVEL_API int surface_engine3_validate_g1_constraints(int engine);
/* How many G1 constraints the engine has. */
MORVEL_API int surface_engine3_get_g1_constraint_count(int engine);
/* Fits again, under all constraints. Returns 0. On failure the surface stays the last good one, and
   the engine is no longer valid until a fit succeeds. */
MORVEL_API int surface_engine3_apply_g1_constraints(int engine);
/* Adds `samples` G1 constraints (2 to 500) that make a side of the engine's surface continue a side
   of a registered surface: the same derivatives along the side, and from the one into the other
   across it. with_positions not 0: interpolation points too. Sides: 0 u-min, 1 u-max, 2 v-min, 3
   v-max. Returns samples. */
MORVEL_API int surface_engine3_extract_boundary_g1_constraints(int engine, int engine_side,
                                                               int surface, int surface_side,
                                                               int samples, int with_positions);

/* ---- what an engine knows ---- */

/* Approximation and interpolation points. */
MORVEL_API int get_surface_engine3_point_count(int engine);
/* 1 where the last fit succeeded, else 0. */
MORVEL_API int is_surface_engine3_valid(int engine);
/* Copies the text, cut to size - 1 characters and a terminating zero; returns their number. */
MORVEL_API int get_surface_engine3_validation_message(int engine, char* buffer MORVEL_LEN(size),
                                                      int size);
/* Of the surface of the last fit, in u and v. 0. */
MORVEL_API int get_surface_engine3_degrees(int engine, int* degree_u MORVEL_LEN(1),
                                           int* degree_v MORVEL_LEN(1));
MORVEL_API int get_surface_engine3_control_point_counts(int engine, int* count_u MORVEL_LEN(1),
                                                        int* count_v MORVEL_LEN(1));
/* The number of knots goes to out_count, also where the buffer is too small (-5). */
MORVEL_API int get_surface_engine3_u_knots(int engine, double* out MORVEL_LEN(capacity),
                                           int capacity, int* out_count MORVEL_LEN(1));
MORVEL_API int get_surface_engine3_v_knots(int engine, double* out MORVEL_LEN(capacity),
                                           int capacity, int* out_count MORVEL_LEN(1));
/* Distances of the approximation points from the surface at their parameters, on its knots. */
MORVEL_API double get_surface_engine3_max_deviation(int engine);
MORVEL_API double get_surface_engine3_rms_deviation(int engine);
/* Of the system that was solved: its largest over its smallest singular value, 1e15 where the
   latter is at most 1e-15. */
MORVEL_API double get_surface_engine3_condition_number(int engine);
/* 1 where every constraint holds within 1e-6, towards 0 the more they are missed. */
MORVEL_API double get_surface_engine3_constraint_satisfaction(int engine);
/* Milliseconds: parameters, constraints, solving, total. */
MORVEL_API int get_surface_engine3_timings(int engine, double* milliseconds MORVEL_LEN(4));
/* Where points lie in the parameters of the engine's approximation points that have none of their
   own (those given without uv). */
MORVEL_API int surface_engine3_project_points(int engine,
                                              const double* points MORVEL_LEN(3 * count), int count,
                                              double* uv MORVEL_LEN(2 * count));

/* On the knots that the engine solved with; u and v are clamped. 0 on success. */
MORVEL_API int evaluate_surface_engine3(int engine, double u, double v, double* xyz MORVEL_LEN(3));
MORVEL_API int evaluate_surface_engine3_normal(int engine, double u, double v,
                                               double* xyz MORVEL_LEN(3));

/* A copy of the surface in the surface registry; returns its handle. Where the knots are not evenly
   spaced, evaluate_surface_exact_batch gives the fitted surface. */
MORVEL_API int create_surface_from_engine3(int engine);
/* 0. */
MORVEL_API int destroy_surface_engine3(int engine);
/* Destroys all engines; returns how many there were. Ids go on from where they are. */
MORVEL_API int cleanup_surface_engine3(void);

/* ---- adjusting a registered B-spline surface ---- */

/* Which control points of a surface may move, and how readily. By contract an index counts as row *
   10 + column on a grid of 10 x 10, whatever the surface's own: row in u, column in v.
   surface_type 0, Coons patch: rows and columns 1..8, weight 0.8; 1, Gordon surface: rows 1, 2, 7,
   8, 0.3; 2, N-sided patch: rows and columns 2..7, 0.6; any other: all, 0.9. Returns the number of
   entries written, at most capacity; -1 for an unknown surface. */
MORVEL_API int generate_constraint_mask(int surface, int surface_type,
                                        int* out_indices MORVEL_LEN(capacity), int capacity,
                                        double* out_weights MORVEL_LEN(capacity));
/* Moves control points of edit_surface, a B-spline surface, as little as possible, so that at each
   of count (1 to 200) constraints it meets constraint_surface: at (u, v) of the edited surface it
   has the position and tangent plane, and at level 2 the curvature, that the other has at (u', v').
   A curvature error above 0.01 is corrected by the error over 10 at a time until it is no longer;
   one at or below is left alone. Where the mask leaves too little freedom, what can be met is.
   Returns how many constraints hold afterwards (within 1e-6, 1e-6 and, at level 2, 0.01); the
   surface keeps its handle.

   constraints      u, v, u', v' of each
   level            1 or 2
   mask_indices, mask_weights   as generate_constraint_mask gives them; null with mask_count 0:
                    every control point, of weight 1. Entries that the surface does not have are
                    passed over; a weight of 0 does not move
   errors           null, or what is left: largest distance, largest angle between the tangent
                    planes in radians, largest difference of normal curvatures */
MORVEL_API int apply_surface_g1g2_constraints(int edit_surface, int constraint_surface,
                                              const double* constraints MORVEL_LEN(4 * count),
                                              int count, int level,
                                              const int* mask_indices MORVEL_LEN(mask_count),
                                              const double* mask_weights MORVEL_LEN(mask_count),
                                              int mask_count, double* errors MORVEL_LEN(3));
/* The same along a whole side: takes `samples` constraints (2 to 200), ends included, along
   constraint_side of constraint_surface, applies them to edit_side of edit_surface under the mask
   of surface_type, and measures the outcome. Sides: 0 u-min, 1 u-max, 2 v-min, 3 v-max; they run
   the way in which their ends lie nearer to each other. Returns how many constraints hold
   afterwards. */
MORVEL_API int apply_complete_surface_constraints(int edit_surface, int edit_side,
                                                  int constraint_surface, int constraint_side,
                                                  int samples, int level, int surface_type,
                                                  double* errors MORVEL_LEN(3));

MORVEL_C_END

#endif
