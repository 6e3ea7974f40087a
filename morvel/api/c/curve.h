/* Curves by handle: creation, queries, evaluation, sampling, modification.

   Points are flat arrays, x y z for each point in turn. Creating and modifying functions return the
   handle of a new curve; their input curve stays as it is. Codes below 0 are those of registry.h,
   and

     -2  too few control points (the simple makers)
     -5  the room for samples is too small
     -6  the operation is not there for this type of curve
     -7  the curve type has no degree

   get_last_error tells why; after a failure the outputs hold what they held before, unless a
   function says otherwise. Parameters are in the curve's own interval: [0, 1] for lines, circles
   and Bezier curves, the angles for ellipses, the knot range for spline curves. A reversed ellipse
   runs from the larger angle to the smaller. */
#ifndef MORVEL_API_C_CURVE_H
#define MORVEL_API_C_CURVE_H

#include "morvel/api/c/types.h"

MORVEL_C_BEGIN

/* ---- creation ---- */

/* The straight line between two points. */
MORVEL_API int create_curve_line(double x0, double y0, double z0, double x1, double y1, double z1);
/* A full circle. A normal shorter than 1e-4 stands for z. */
MORVEL_API int create_curve_circle(double cx, double cy, double cz, double radius, double nx,
                                   double ny, double nz);
/* A circular arc from startAngle to endAngle (radians, about the normal; angle 0 as in
   create_curve_circle). The angles must differ, by 2 pi at most. */
MORVEL_API int create_arc(double cx, double cy, double cz, double radius, double nx, double ny,
                          double nz, double startAngle, double endAngle);
/* The arc from the first point through the second to the third; they must not lie on a line. */
MORVEL_API int create_arc_three_points(const double* start MORVEL_LEN(3),
                                       const double* through MORVEL_LEN(3),
                                       const double* end MORVEL_LEN(3));
/* The arc about center from start, by the right-hand rule about the normal, to the direction of
   end; a full circle where start and end have the same direction. The circle's plane holds the
   start: of the normal only the part across the radius counts. */
MORVEL_API int create_arc_center_start_end(const double* center MORVEL_LEN(3),
                                           const double* start MORVEL_LEN(3),
                                           const double* end MORVEL_LEN(3),
                                           const double* normal MORVEL_LEN(3));
/* An ellipse or elliptic arc with semi-axes a and b, parameters start to end in radians. The minor
   axis is the cross product of the world's z with the major axis, whatever the normal. */
MORVEL_API int create_ellipse_enhanced(const double* center MORVEL_LEN(3),
                                       const double* majorAxis MORVEL_LEN(3),
                                       const double* normal MORVEL_LEN(3), double a, double b,
                                       double start, double end);
/* A Bezier curve of degree count - 1; count at least 2. */
MORVEL_API int create_curve_bezier(const double* points MORVEL_LEN(3 * count), int count);
/* B-spline curves on clamped uniform knots over [0, 1]; the two makers give the same curve. */
MORVEL_API int create_curve_bspline_clamped(const double* points MORVEL_LEN(3 * count), int count,
                                            int degree);
MORVEL_API int create_curve_bspline_uniform(const double* points MORVEL_LEN(3 * count), int count,
                                            int degree);
/* From exactly these points and knots; knotCount = count + degree + 1, knots never decreasing. */
MORVEL_API int create_curve_bspline(const double* points MORVEL_LEN(3 * count), int count,
                                    const double* knots MORVEL_LEN(knotCount), int knotCount,
                                    int degree);
/* The same with one weight above 0 for each point. */
MORVEL_API int create_curve_nurbs(const double* points MORVEL_LEN(3 * count), int count,
                                  const double* weights MORVEL_LEN(count),
                                  const double* knots MORVEL_LEN(knotCount), int knotCount,
                                  int degree);
/* Two fixed curves for demonstration. */
MORVEL_API int create_curve_bspline_simple(void);
MORVEL_API int create_curve_bezier_simple(void);

/* ---- queries ---- */

/* 1 line, 2 circle, 3 Bezier, 4 B-spline, 5 NURBS, 6 ellipse, 7 on a surface, 8 offset, 0 other. */
MORVEL_API int get_curve_type(int curve);
/* 1 or 0. */
MORVEL_API int is_curve_valid(int curve);
/* Write up to maxPoints control points and return how many were written. One function, two names.
 */
MORVEL_API int get_control_points(int curve, double* out MORVEL_LEN(3 * maxPoints), int maxPoints);
MORVEL_API int get_curve_control_points(int curve, double* out MORVEL_LEN(3 * maxPoints),
                                        int maxPoints);
/* The number of points of get_curve_mesh_data: 100 for any curve, 0 for an unknown handle. */
MORVEL_API int get_curve_point_count(int curve);
/* The polynomial degree; -7 for a type without one. */
MORVEL_API int get_curve_degree(int curve);
/* A one-line description, copied by the rule of get_last_error; "Not Found" for an unknown handle.
 */
MORVEL_API int get_curve_info(int curve, char* buffer MORVEL_LEN(size), int size);
/* Centre, unit normal and radius of a circle or arc; -6 for another type. */
MORVEL_API int get_circle_parameters(int curve, double* center MORVEL_LEN(3),
                                     double* normal MORVEL_LEN(3), double* radius MORVEL_LEN(1));
/* The same, with the angles (radians) and the length of the arc. */
MORVEL_API int get_arc_properties(int curve, double* center MORVEL_LEN(3),
                                  double* normal MORVEL_LEN(3), double* radius MORVEL_LEN(1),
                                  double* startAngle MORVEL_LEN(1), double* endAngle MORVEL_LEN(1),
                                  double* length MORVEL_LEN(1));
/* Centre, unit major axis, normal, semi-axes and parameter interval of an ellipse; -6 else. */
MORVEL_API int get_ellipse_properties(int curve, double* center MORVEL_LEN(3),
                                      double* majorAxis MORVEL_LEN(3), double* normal MORVEL_LEN(3),
                                      double* a MORVEL_LEN(1), double* b MORVEL_LEN(1),
                                      double* start MORVEL_LEN(1), double* end MORVEL_LEN(1));
/* The parameters of the curve's start and end. */
MORVEL_API int get_curve_parameter_interval(int curve, double* start MORVEL_LEN(1),
                                            double* end MORVEL_LEN(1));
/* The knots of a spline curve (-7 for others), the weights of a NURBS curve (-6). outCount gets
   their number, also where capacity is too small (-5). */
MORVEL_API int get_curve_knot_vector(int curve, double* out MORVEL_LEN(capacity), int capacity,
                                     int* outCount MORVEL_LEN(1));
MORVEL_API int get_curve_weights(int curve, double* out MORVEL_LEN(capacity), int capacity,
                                 int* outCount MORVEL_LEN(1));
/* The whole length; the smallest and largest coordinates of a box that holds the curve. */
MORVEL_API int get_curve_length(int curve, double* length MORVEL_LEN(1));
MORVEL_API int get_curve_bounding_box(int curve, double* lower MORVEL_LEN(3),
                                      double* upper MORVEL_LEN(3));
/* The parameter of the closest point. A B-spline curve is searched from the middle of its interval
   only. */
MORVEL_API int get_curve_closest_parameter(int curve, double x, double y, double z,
                                           double* t MORVEL_LEN(1));
/* A new curve, its pending transform included. */
MORVEL_API int copy_curve(int curve);
/* In place: Bezier, B-spline and NURBS curves (a weight stays); -6 for others. */
MORVEL_API int modify_curve_control_point(int curve, int index, double x, double y, double z);

/* ---- evaluation and sampling ---- */

/* A parameter that is not finite is -1; a result that is not finite is -4. */
MORVEL_API int evaluate_curve_at_parameter(int curve, double u, double* point MORVEL_LEN(3));
/* The point and the derivatives up to order (0 to 10): order + 1 vectors. */
MORVEL_API int evaluate_curve_derivatives(int curve, double u, int order,
                                          double* out MORVEL_LEN(3 * (order + 1)));
/* Unit tangent (the zero vector where the first derivative is shorter than 1e-4), unit principal
   normal; curvature in 1 / model units. */
MORVEL_API int evaluate_curve_tangent(int curve, double u, double* tangent MORVEL_LEN(3));
MORVEL_API int evaluate_curve_normal(int curve, double u, double* normal MORVEL_LEN(3));
MORVEL_API int evaluate_curve_curvature(int curve, double u, double* curvature MORVEL_LEN(1));
/* The length between two parameters, in either order. */
MORVEL_API int evaluate_curve_length(int curve, double u0, double u1, double* length MORVEL_LEN(1));
/* The index-th (0 to 99) of the points of get_curve_mesh_data. */
MORVEL_API int get_curve_point(int curve, int index, double* x MORVEL_LEN(1),
                               double* y MORVEL_LEN(1), double* z MORVEL_LEN(1));
/* The first maxPoints, at most all, of the curve's 100 points at equal parameter steps, both ends
   included; returns how many were written. */
MORVEL_API int get_curve_mesh_data(int curve, double* out MORVEL_LEN(3 * maxPoints), int maxPoints);
/* Samples a curve. mode 0: count points (2 to 10 000 000) at equal parameter steps; 1: count points
   at equal steps of arc length; 2: a polyline whose chords stay within tolerance, with 100 000
   points at most (count is ignored). Writes the number of samples to outCount and returns 0; where
   maxPoints is too small -5, with the number needed in outCount and nothing written to out. */
MORVEL_API int sample_curve_advanced(int curve, int mode, int count, double tolerance,
                                     double* out MORVEL_LEN(3 * maxPoints), int maxPoints,
                                     int* outCount MORVEL_LEN(1));

/* ---- modification: each makes a new curve ---- */

/* The same curve run through the other way. */
MORVEL_API int reverse_curve(int curve);
/* Offset by distance (signed) to the side normal x tangent. */
MORVEL_API int create_curve_normal_offset(int curve, double distance, double nx, double ny,
                                          double nz);
/* The curve moved by distance along a direction. */
MORVEL_API int create_curve_directional_offset(int curve, double dx, double dy, double dz,
                                               double distance);
/* Both parts, exact, each on its own stretch of the interval (lines, circles and Bezier curves run
   over [0, 1] again). u must lie strictly inside the interval. Returns 0. */
MORVEL_API int split_curve(int curve, double u, int* left MORVEL_LEN(1), int* right MORVEL_LEN(1));
/* The part from u0 to u1, exact in the same way; u0 comes first in the direction of travel. */
MORVEL_API int trim_curve(int curve, double u0, double u1);
/* Longer by length at one end (0 start, 1 end), mode 0 straight, 1 by the curve's own shape. */
MORVEL_API int extend_curve(int curve, double length, int end, int mode);
/* The same shape with the degree raised by times (at least 1); analytic curves become NURBS first.
   -6 for curves without an exact spline form (offsets, curves on surfaces). */
MORVEL_API int elevate_curve_degree(int curve, int times);
/* By a 4 by 4 matrix, row by row. */
MORVEL_API int transform_curve(int curve, const double* m MORVEL_LEN(16));
/* A B-spline curve with as few control points as keep within tolerance of the curve. */
MORVEL_API int simplify_curve(int curve, double tolerance);
/* A B-spline curve of that many control points (degree + 1 to 4096) and that degree (1 to 29), in
   the least-squares sense; the greatest deviation goes to maxDeviation unless it is null. */
MORVEL_API int rebuild_curve(int curve, int count, int degree, double* maxDeviation MORVEL_LEN(1));

MORVEL_C_END

#endif
