/* Projection of points and curves onto surfaces.

   Kinds of projection, by text: "view" and "custom_vector" (along the direction, of any length;
   "view" takes 0 0 -1 where it has none), "surface_normal" (to feet where the distance stands at
   right angles to the surface), "closest_point". Any other text, and null, is closest_point.
   Results: "curve_on_surface" (also for any other text), "3d_curve", "both". Fittings: "loose"
   (also for any other text), "tight", "adaptive". Several hits: "nearest" (also for any other
   text), "all" (the nearest first), "user_select" (all in their order along the direction).
   Surfaces are taken as they are evaluated.

   Functions whose result is 1 or 0 tell by 0 that they failed; get_last_error has the text. A
   failure registers nothing. */
#ifndef MORVEL_API_C_PROJECTION_H
#define MORVEL_API_C_PROJECTION_H

#include "morvel/api/c/types.h"

MORVEL_C_BEGIN

/* Projects every curve onto every surface. 1, or 0.

   A curve becomes several pieces where its projection leaves the surface, jumps, or crosses the
   seam of a closed surface. Each piece is stored as a curve on the surface, as a curve in space, or
   as both, and the handles are written in the order curve, surface, piece. `capacity` is the room
   of each of both arrays; where the pieces do not fit, their number is written, and nothing is
   stored. An array that the result type does not need may be null; every other output may be null
   too.

   forwardOnly: hits behind a point, against the direction, do not count. longestPieceOnly: of the
   pieces of a curve on a surface, only the longest. tangentContinuity: no corners; otherwise
   corners of the projection are kept. tolerance: model units, above 0; that of the curves in space
   for "tight", of both curves for "adaptive", which adds samples (the others take 50).
   maxDeviation: the measured one, model units. message: the text of a failure, else empty. */
MORVEL_API int project_geometry_unified(
    const int* curves MORVEL_LEN(count), int count, const int* surfaces MORVEL_LEN(targets),
    int targets, const char* projectionType, double directionX, double directionY,
    double directionZ, const char* resultType, const char* fittingMethod, double tolerance,
    int forwardOnly, int longestPieceOnly, const char* multipleIntersections, int tangentContinuity,
    int* onSurface MORVEL_LEN(capacity), int* onSurfaceCount MORVEL_LEN(1),
    int* inSpace MORVEL_LEN(capacity), int* inSpaceCount MORVEL_LEN(1), int capacity,
    double* maxDeviation MORVEL_LEN(1), char* message MORVEL_LEN(messageSize), int messageSize);
/* Projects one point. 1, or 0; a miss is a failure with 0 hits. At most `capacity` hits are written
   (points x y z, parameters u v, distances, whether the search settled); hitCount is the number
   that there are. Any output may be null, but not all. The direction counts for the kinds along
   one. */
MORVEL_API int project_point_to_surface_unified(
    double x, double y, double z, int surface, const char* projectionType, double directionX,
    double directionY, double directionZ, const char* multipleIntersections, int capacity,
    double* points MORVEL_LEN(3 * capacity), double* uv MORVEL_LEN(2 * capacity),
    double* distances MORVEL_LEN(capacity), int* converged MORVEL_LEN(capacity),
    int* hitCount MORVEL_LEN(1));
/* The projected samples as polylines, one per piece; no curve is made. 1, or 0. lineEnds: for each
   line the number of points up to its end. Where the room does not do, the numbers are written and
   the result is 0. */
MORVEL_API int generate_projection_preview(const int* curves MORVEL_LEN(count), int count,
                                           const int* surfaces MORVEL_LEN(targets), int targets,
                                           const char* projectionType, double directionX,
                                           double directionY, double directionZ,
                                           double* points MORVEL_LEN(3 * capacity), int capacity,
                                           int* pointCount MORVEL_LEN(1),
                                           int* lineEnds MORVEL_LEN(lineCapacity), int lineCapacity,
                                           int* lineCount MORVEL_LEN(1));
/* 1 where the parameters can be used, else 0 and a text in the buffer (which may be null). */
MORVEL_API int validate_projection_parameters(const char* projectionType, double directionX,
                                              double directionY, double directionZ,
                                              const char* resultType, const char* fittingMethod,
                                              double tolerance, char* message MORVEL_LEN(size),
                                              int size);
/* By contract fixed figures for any handle: 0.001, 0.0005, 10, 3 and 50, each unless null; 1.
   get_projection_report has the measured ones. */
MORVEL_API int get_projection_quality_metrics(int handle, double* maxDeviation MORVEL_LEN(1),
                                              double* meanDeviation MORVEL_LEN(1),
                                              int* sampleCount MORVEL_LEN(1),
                                              int* iterations MORVEL_LEN(1),
                                              double* qualityScore MORVEL_LEN(1));
/* By contract stores nothing; 1 for a limit of at least 1 and a tolerance above 0, else 0. */
MORVEL_API int set_projection_advanced_options(int iterationLimit, double tolerance, int flag);
/* By contract the projections never fill the cache: it is empty before and after. 1. */
MORVEL_API int clear_projection_cache(void);
/* By contract 0 and 0, each unless null; 1. */
MORVEL_API int get_projection_cache_stats(int* entries MORVEL_LEN(1), int* hits MORVEL_LEN(1));

/* The closest points of a surface to count points x y z. Any output may be null. 0; -1 for a null
   or non-finite input or a count below 0; -3 for an unknown handle; -4 for an exception, or where a
   result is not finite (results may be written in part). */
MORVEL_API int project_points_to_surface_batch(int surface, const double* xyz MORVEL_LEN(3 * count),
                                               int count, double* uv MORVEL_LEN(2 * count),
                                               double* points MORVEL_LEN(3 * count),
                                               double* distances MORVEL_LEN(count));
/* What was measured in the last projection onto a surface that succeeded, each unless null, in
   model units: of curves the largest and mean deviation of the curves on the surface from true
   projections between the samples, the largest deviation of the curves in space from those; the
   number of pieces and samples, steps of all searches (none are counted in a batch), largest
   distance that a point moved, and the score: 100 where the deviations are within the tolerance,
   less in proportion. For points the deviations are 0. 0; -3 where the surface is not registered or
   nothing was projected onto it. */
MORVEL_API int get_projection_report(int surface, double* maxDeviation MORVEL_LEN(1),
                                     double* meanDeviation MORVEL_LEN(1),
                                     double* maxFitDeviation MORVEL_LEN(1),
                                     int* pieceCount MORVEL_LEN(1), int* sampleCount MORVEL_LEN(1),
                                     int* iterations MORVEL_LEN(1),
                                     double* maxDistance MORVEL_LEN(1),
                                     double* qualityScore MORVEL_LEN(1));

MORVEL_C_END

#endif
