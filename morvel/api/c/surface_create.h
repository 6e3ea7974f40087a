/* Making surfaces. Each function returns a new handle, or a code below 0 with a text in
   get_last_error:

     -1  bad argument or unknown curve handle
     -4  an exception was caught

   Every surface is parameterised over [0, 1] x [0, 1]. By contract a B-spline surface is
   *evaluated* on clamped uniform knots, whatever knots it was given: those are kept, read back, and
   used by insertion, splitting, elevation and arithmetic. evaluate_surface_exact_batch (batch.h)
   evaluates on the knots that were given. Degrees are at least 1 and below the
   number of control points, knots never decrease.

   Two orders of flat nets are in use, point (i, j) being number i along u and j along v:
     u outer: at (i nV + j) 3    create_bspline_surface, create_surface_bspline_clamped,
                                   create_surface_nurbs
     v outer: at (j nU + i) 3    create_surface_bspline, create_surface_bezier */
#ifndef MORVEL_API_C_SURFACE_CREATE_H
#define MORVEL_API_C_SURFACE_CREATE_H

#include "morvel/api/c/types.h"

MORVEL_C_BEGIN

/* B-spline surfaces from a net, the first two on knots of their own. The first and the third take
   u outer, the second v outer. */
MORVEL_API int create_bspline_surface(const double* points MORVEL_LEN(3 * nU * nV), int nU, int nV,
                                      int degreeU, int degreeV,
                                      const double* uKnots MORVEL_LEN(uKnotCount), int uKnotCount,
                                      const double* vKnots MORVEL_LEN(vKnotCount), int vKnotCount);
MORVEL_API int create_surface_bspline(const double* points MORVEL_LEN(3 * nU * nV), int nU, int nV,
                                      const double* uKnots MORVEL_LEN(uKnotCount), int uKnotCount,
                                      const double* vKnots MORVEL_LEN(vKnotCount), int vKnotCount,
                                      int degreeU, int degreeV);
MORVEL_API int create_surface_bspline_clamped(const double* points MORVEL_LEN(3 * nU * nV), int nU,
                                              int nV, int degreeU, int degreeV);
/* A rational surface: one weight above 0 for each point, in the order of the points. Fewer than
   degree + 1 points in a direction are -4. By contract the ordinary evaluation of a rational
   surface has placeholders for derivatives and normals; evaluate_surface_exact_batch has the true
   ones. */
MORVEL_API int create_surface_nurbs(const double* points MORVEL_LEN(3 * nU * nV), int nU, int nV,
                                    const double* weights MORVEL_LEN(nU* nV),
                                    const double* uKnots MORVEL_LEN(uKnotCount), int uKnotCount,
                                    const double* vKnots MORVEL_LEN(vKnotCount), int vKnotCount,
                                    int degreeU, int degreeV);
/* Degrees nU - 1 and nV - 1. */
MORVEL_API int create_surface_bezier(const double* points MORVEL_LEN(3 * nU * nV), int nU, int nV);
/* The length of each vector is the plane's extent along it. */
MORVEL_API int create_surface_plane(const double* origin MORVEL_LEN(3),
                                    const double* uVector MORVEL_LEN(3),
                                    const double* vVector MORVEL_LEN(3));
/* Centre, radius. */
MORVEL_API int create_surface_sphere(double x, double y, double z, double radius);
/* Base centre, radius, axis direction, height. */
MORVEL_API int create_surface_cylinder(double x, double y, double z, double radius, double ax,
                                       double ay, double az, double height);
/* Base centre, axis direction, base radius, height; the apex lies height along the axis. */
MORVEL_API int create_surface_cone(double x, double y, double z, double ax, double ay, double az,
                                   double baseRadius, double height);
/* Centre, axis direction, radius of the ring, radius of its section. */
MORVEL_API int create_surface_torus(double x, double y, double z, double ax, double ay, double az,
                                    double majorRadius, double minorRadius);
/* u along the profile, v along the direction. */
MORVEL_API int create_surface_extrude(int curve, double dx, double dy, double dz, double distance);
/* Point on the axis, axis direction, angles in radians. An end angle not above the start is -3. */
MORVEL_API int create_surface_revolve(int curve, double px, double py, double pz, double ax,
                                      double ay, double az, double startAngle, double endAngle);
/* From 0 to 2 pi. */
MORVEL_API int create_surface_revolve_full(int curve, double px, double py, double pz, double ax,
                                           double ay, double az);
/* Straight lines between equal (normalised) parameters of two curves. */
MORVEL_API int create_surface_ruled(int curve1, int curve2);
/* Through count (2 to 1000) section curves in their order; degreeV is lowered to count - 1. */
MORVEL_API int create_surface_loft(const int* curves MORVEL_LEN(count), int count, int degreeV);
/* A profile carried along a path by a rotation-minimising frame. */
MORVEL_API int create_surface_sweep(int profileCurve, int pathCurve);
/* A tube of a radius about a path. */
MORVEL_API int create_surface_pipe(int pathCurve, double radius);
/* Six planes about a centre, normals outward; their handles go to faces. Returns 1. Where a face
   cannot be made: -4, six times -1 in faces, and no plane is left in the registry. */
MORVEL_API int create_cube(const double* center MORVEL_LEN(3), double side,
                           int* faces MORVEL_LEN(6));

MORVEL_C_END

#endif
