/* Blends by a rolling ball, and their stages.

   The ball touches both surfaces; its centre runs along the spine, the intersection of the surfaces
   at the ball's distance. Sides: a positive distance lies where a surface's normal Su x Sv points.
   Surfaces are taken as they are evaluated, rational ones with their true derivatives, a trimmed
   surface as its base. Blend surfaces run along the spine in u and from the first surface to the
   second in v; their ends in v lie on the surfaces.

   Results: a handle or 0; -1 for an argument, -2 where the room does not do, -3 for an unknown
   handle, -4 for a failure. get_last_error has the text: it begins with the function's name, and of
   a blend names the stage that failed and its cause. A failure stores nothing. */
#ifndef MORVEL_API_C_ROLLING_BALL_H
#define MORVEL_API_C_ROLLING_BALL_H

#include "morvel/api/c/types.h"

MORVEL_C_BEGIN

/* A blend of one radius on the sides of both normals; its handle. Of several spines, the longest.

   offsetResolution: 3 to 200 samples per direction of the offset surfaces. intersectionResolution:
   5 to 100; twice as many cells per direction are looked at for the spine. samplesAlong (3 to
   1000), samplesAcross (3 to 100): sections of the surface and points of each; sections are added
   where the surface would leave the ball's path by more than 1e-4 of the radius. The spine's curve
   has at least intersectionResolution points. blendOnly: if 0,
   both offset surfaces are stored too, and the spine where its handle is asked for. validate:
   contacts are checked on the way, which may add warnings only; warnings are printed. Handles that
   are not stored are written as 0; each may be null. */
MORVEL_API int create_rolling_ball_blend(int surface1, int surface2, double radius,
                                         int offsetResolution, int intersectionResolution,
                                         int samplesAlong, int samplesAcross, int blendOnly,
                                         int validate, int* offset1 MORVEL_LEN(1),
                                         int* offset2 MORVEL_LEN(1), int* spine MORVEL_LEN(1));
/* The same with signed distances, equal in size, in place of the radius. */
MORVEL_API int create_rolling_ball_blend_manual_directions(
    int surface1, int surface2, double distance1, double distance2, int offsetResolution,
    int intersectionResolution, int samplesAlong, int samplesAcross, int blendOnly, int validate,
    int* offset1 MORVEL_LEN(1), int* offset2 MORVEL_LEN(1), int* spine MORVEL_LEN(1));
/* The same with a choice of the sides. method: 0 along both normals, 1 against both, 2 along the
   first and against the second, 3 against the first and along the second, 4 automatic: the sides
   with the longest spine, one that ends before the surfaces do only where there is no other; of
   about equally long ones the first in the order 0 to 3. tolerance: of the spine, above 0; the
   smaller of it and 1e-4 of the radius holds. sides: 1 or -1 for each surface, as taken. contacts:
   9 doubles for each of `capacity` stations spread over the spine: the centre, the contacts on both
   surfaces. warnings: one a line, empty where there are none: a spine that ends before the surfaces
   do, contacts that could not be checked, a surface that is not as near to the ball's path as it
   should be. Every output may be null. */
MORVEL_API int create_rolling_ball_blend_with_method(
    int surface1, int surface2, double radius, int method, double tolerance, int offsetResolution,
    int intersectionResolution, int samplesAlong, int samplesAcross, int blendOnly, int validate,
    int* sides MORVEL_LEN(2), int* offset1 MORVEL_LEN(1), int* offset2 MORVEL_LEN(1),
    int* spine MORVEL_LEN(1), double* contacts MORVEL_LEN(9 * capacity), int capacity,
    int* contactCount MORVEL_LEN(1), char* warnings MORVEL_LEN(warningsSize), int warningsSize);
/* A blend whose radius follows a law of the fraction 0 to 1 of the spine; its handle.

   parameters: rising within 0 to 1; radii: above 0; at least 2 of each. Before the first and after
   the last the radius is constant. interpolation: 0 linear, 1 smooth. method, warnings: as above.
   spine: the path of the centre, in step with u of the blend; may be null. */
MORVEL_API int create_variable_rolling_ball_blend(
    int surface1, int surface2, const double* parameters MORVEL_LEN(count),
    const double* radii MORVEL_LEN(count), int count, int interpolation, int method,
    int intersectionResolution, int samplesAlong, int samplesAcross, int* sides MORVEL_LEN(2),
    int* spine MORVEL_LEN(1), char* warnings MORVEL_LEN(warningsSize), int warningsSize);

/* Where balls about given centres touch both surfaces: the number of balls whose searches all
   settled. Of each contact, first those on surface 1: points x y z, u and v, unit normals, the
   residuals | distance to the centre - radius |, whether it settled. Searches stay within 0.02 to
   0.98 of the parameters. Any output may be null. */
MORVEL_API int compute_contact_points(int surface1, int surface2,
                                      const double* centres MORVEL_LEN(3 * count), int count,
                                      double radius, double* points MORVEL_LEN(6 * count),
                                      double* uv MORVEL_LEN(4 * count),
                                      double* normals MORVEL_LEN(6 * count),
                                      double* residuals MORVEL_LEN(2 * count),
                                      int* converged MORVEL_LEN(2 * count));
/* The same with a radius for each centre. */
MORVEL_API int compute_variable_contact_points(
    int surface1, int surface2, const double* centres MORVEL_LEN(3 * count),
    const double* radii MORVEL_LEN(count), int count, double* points MORVEL_LEN(6 * count),
    double* uv MORVEL_LEN(4 * count), double* normals MORVEL_LEN(6 * count),
    double* residuals MORVEL_LEN(2 * count), int* converged MORVEL_LEN(2 * count));
/* The ball of a radius that touches both surfaces with its centre on a plane, from near parameters;
   0, or -4 where the search does not settle. distance1, distance2: equal in size, signed. plane: a
   point and a normal. guess, uv: u v on surface 1, then on 2. contacts: on surface 1, then on 2.
   Any output may be null. */
MORVEL_API int solve_variable_spine_contact(int surface1, int surface2, double distance1,
                                            double distance2, const double* plane MORVEL_LEN(6),
                                            const double* guess MORVEL_LEN(4),
                                            double* centre MORVEL_LEN(3), double* uv MORVEL_LEN(4),
                                            double* contacts MORVEL_LEN(6),
                                            double* residual MORVEL_LEN(1),
                                            int* iterations MORVEL_LEN(1));
/* Every branch in which two surfaces meet; 0.

   Points one branch after the other, the longest branch first, each in order: x y z, and u v on
   either surface. branchEnds: for each branch the number of points up to its end; closed: 1 for one
   whose last point repeats the first. Between neighbours the cubic with the branch's directions is
   within the tolerance (model units) of both surfaces; the points themselves are on both to
   rounding. endKinds: for each branch how it begins and ends: 0 at an edge of a surface, 1 where
   the surfaces become tangent, 3 where the search stopped though the branch may go on, 4 at its own
   start. resolution: at most so many cells per direction are looked at, 5 to 100. tangencies:
   points where the surfaces touch or a branch ends for that; at most tangencyCapacity of them are
   written. coincide: 1 where the surfaces lie on each other over an area, with no branches. Arrays
   may be null with a capacity of 0; where points or branches do not fit, the numbers are written
   and the result is -2. */
MORVEL_API int compute_surface_intersection(
    int surface1, int surface2, double tolerance, int resolution,
    double* points MORVEL_LEN(3 * capacity), double* uv1 MORVEL_LEN(2 * capacity),
    double* uv2 MORVEL_LEN(2 * capacity), int capacity, int* branchEnds MORVEL_LEN(branchCapacity),
    int* closed MORVEL_LEN(branchCapacity), int* endKinds MORVEL_LEN(2 * branchCapacity),
    int branchCapacity, double* tangencies MORVEL_LEN(3 * tangencyCapacity), int tangencyCapacity,
    int* pointCount MORVEL_LEN(1), int* branchCount MORVEL_LEN(1), int* tangencyCount MORVEL_LEN(1),
    int* coincide MORVEL_LEN(1));
/* A canal surface through balls with two contacts each, at least 2 of them: circular arcs between
   the contacts, in u by the distances of the centres; its handle. The contacts' distances from the
   centres are brought to the radius. samplesAlong 3 to 1000, samplesAcross 3 to 100. */
MORVEL_API int create_canal_surface(const double* centres MORVEL_LEN(3 * count),
                                    const double* contacts1 MORVEL_LEN(3 * count),
                                    const double* contacts2 MORVEL_LEN(3 * count), int count,
                                    double radius, int samplesAlong, int samplesAcross);
/* The same with a radius for each ball. */
MORVEL_API int create_variable_canal_surface(const double* centres MORVEL_LEN(3 * count),
                                             const double* contacts1 MORVEL_LEN(3 * count),
                                             const double* contacts2 MORVEL_LEN(3 * count),
                                             const double* radii MORVEL_LEN(count), int count,
                                             int samplesAlong, int samplesAcross);
/* A surface at a distance that follows a law of one parameter; its handle. parameters: rising
   within 0 to 1, shares of the domain; radii: signed distances along the normals, none 0, all of
   one sign. interpolation: 0 linear, 1 smooth. direction: 0 along u, 1 along v. resolution: 3 to
   200 samples per direction. */
MORVEL_API int create_variable_offset_surface(int surface,
                                              const double* parameters MORVEL_LEN(count),
                                              const double* radii MORVEL_LEN(count), int count,
                                              int interpolation, int direction, int resolution);

MORVEL_C_END

#endif
