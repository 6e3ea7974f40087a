/* Holes bounded by three or more curves, filled with one B-spline surface each.

   A boundary curve is named by the handle of a curve (from 20000) or of a curve on a surface (from
   60000); both kinds may be mixed. The curves run around the hole: each ends where the next begins,
   the last where the first begins. auto_sort_boundary_curves_rbf brings curves into that order.
   Continuity is one number a curve: 0 position, 1 tangent planes, 2 curvatures; 1 and 2 take effect
   for curves on surfaces, whose surfaces are the neighbours.

   By default the surface is a height field: the points (u, v, h(u, v)) over the unit square, where
   u and v run over the box of the boundary in x and y, and h is z. With fillInSpace the surface
   lies in space and its edges follow the boundary.

   A function gives a handle or 0, else a code below 0; then nothing was stored, and
   get_last_nsided_error (also get_last_error) tells why:

     -1  null, a count (1 to 100 curves), size or number out of range
     -2  the curves bound no hole: the text says what is wrong with them
     -3  unknown handle
     -4  an exception was caught
     -5  no usable surface came out
     -6  the buffer is too small; the number needed was written

   Angles are in radians, lengths in model units. */
#ifndef MORVEL_API_C_NSIDED_RBF_H
#define MORVEL_API_C_NSIDED_RBF_H

#include "morvel/api/c/types.h"

MORVEL_C_BEGIN

/* What a check of a boundary found. The caller gives the room; the two pointers are the library's,
   free_nsided_validation_results releases them. */
typedef struct MorvelNSidedValidation {
  int32_t isValid;
  int32_t isClosed;
  int32_t hasIntersections;
  int32_t curveCount;
  double maxGap;
  double tolerance; /* that gaps were compared with */
  double* gaps;     /* gap k: from the end of curve k to the start of the next */
  int32_t gapCount;
  char* message; /* the first fault, else the first warning, else empty */
} MorvelNSidedValidation;

/* Fills a hole. Returns the handle of the new surface; the patch object stays under a number of its
   own (from 30000), patch, until delete_nsided_patch_rbf.

   weights          one a curve, above 0
   spansU, spansV   1 to 100. A height field is 50 x 50 control points whatever they are; in space
                    they are where the doubling of spans begins
   smoothness       0 to 1; larger: less regularisation
   maxIterations    0 to 10000, of the smoothing of a Hermite net
   tolerance        above 0, of that smoothing
   boundaryTolerance above 0: largest gap; in space the largest deviation from the boundary curves
                    aimed at. Below 0.001 more samples are taken
   useHermite       not 0: a Hermite field in place of the thin plate, over the plane nearest to the
                    loop. fillInSpace goes before it
   samplesPerCurve  0: 20, 15 or 10 by the boundary tolerance; count * samplesPerCurve <= 2000
   regularization   0: by the smoothness
   maxDeviation, rmsDeviation   of the surface from the boundary: of its edges in space, of the
                    heights in a height field
   maxAngle         largest angle to the tangent planes that were asked for; places where the
   surface has no normal to speak of (two edges of the domain in one line) are left out
   conditionNumber  of the thin plate's system; 0 for a Hermite field */
MORVEL_API int create_nsided_patch_rbf(
    const int* curves MORVEL_LEN(count), int count, const int* continuity MORVEL_LEN(count),
    const double* weights MORVEL_LEN(count), int spansU, int spansV, double smoothness,
    int maxIterations, double tolerance, double boundaryTolerance, int useHermite, int fillInSpace,
    int samplesPerCurve, double regularization, double* maxDeviation MORVEL_LEN(1),
    double* rmsDeviation MORVEL_LEN(1), double* maxAngle MORVEL_LEN(1),
    double* conditionNumber MORVEL_LEN(1), int* patch MORVEL_LEN(1));

/* The same with fewer choices, for curves on surfaces alone. */
MORVEL_API int create_rbf_nsided_patch_with_cos(const int* curvesOnSurfaces MORVEL_LEN(count),
                                                int count, const int* continuity MORVEL_LEN(count),
                                                double boundaryTolerance, int fillInSpace,
                                                double* maxDeviation MORVEL_LEN(1),
                                                double* maxAngle MORVEL_LEN(1),
                                                int* patch MORVEL_LEN(1));

/* The surface that create_nsided_patch_rbf would make, as resolution x resolution (2 to 1000)
   points, u outer. Nothing is stored. pointCount gets the number of points in any case. */
MORVEL_API int generate_nsided_preview_rbf(const int* curves MORVEL_LEN(count), int count,
                                           const int* continuity MORVEL_LEN(count),
                                           const double* weights MORVEL_LEN(count), int spansU,
                                           int spansV, double boundaryTolerance, int fillInSpace,
                                           int resolution, double* points MORVEL_LEN(3 * capacity),
                                           int capacity, int* pointCount MORVEL_LEN(1),
                                           double* maxDeviation MORVEL_LEN(1));

/* Whether curves bound a hole: 1, or 0 with the faults in results. By contract curves on surfaces
   may have gaps of up to 10. Release what a result of 0 or 1 filled. */
MORVEL_API int validate_nsided_boundary_rbf(const int* curves MORVEL_LEN(count), int count,
                                            double tolerance, MorvelNSidedValidation* results);
/* Releases what a validation wrote into a record and clears it. Null is allowed. */
MORVEL_API void free_nsided_validation_results(MorvelNSidedValidation* results);

/* 1, or 0 with the first fault in get_last_nsided_error; the largest gap in any case (0 where a
   curve is unusable). For curves of both kinds, and for curves on surfaces alone. */
MORVEL_API int validate_nsided_boundary_loop(const int* curves MORVEL_LEN(count), int count,
                                             double tolerance, double* maxGap MORVEL_LEN(1));
MORVEL_API int validate_cos_boundary_loop(const int* curvesOnSurfaces MORVEL_LEN(count), int count,
                                          double tolerance, double* maxGap MORVEL_LEN(1));

/* Brings curves into the order and the directions of a loop that begins with the first as it is.
   sorted gets handles; a curve that had to be reversed is stored anew under a new handle, which
   belongs to the caller, and has 1 in reversed. Gaps may be up to the tolerance, where no loop is
   found with that up to a hundred times of it. -2 where there is no loop. */
MORVEL_API int auto_sort_boundary_curves_rbf(const int* curves MORVEL_LEN(count), int count,
                                             double tolerance, int* sorted MORVEL_LEN(count),
                                             int* reversed MORVEL_LEN(count));

/* Spans that suit a hole of so many sides: max(6, min(2 sides, 12)), and four more (at most 20) for
   a tolerance below 0.001. */
MORVEL_API int calculate_optimal_spans_rbf(int sides, double boundaryTolerance,
                                           int* spansU MORVEL_LEN(1), int* spansV MORVEL_LEN(1));

/* Prints a report on a patch. quality gets the largest deviation, its root mean square, the
   condition number and the largest angle; where it fails 1, 1, 1e15, 1. Ratings by the largest
   deviation: Excellent within the boundary tolerance, Good and Fair within 10 and 100 times of it,
   else Poor. */
MORVEL_API int analyze_nsided_surface_quality_rbf(int patch, double* quality MORVEL_LEN(4));

/* The start (end 0) or the end (1) of a curve. */
MORVEL_API int get_curve_endpoint_rbf(int curve, int end, double* point MORVEL_LEN(3));

/* Forgets a patch object; its surface stays. */
MORVEL_API int delete_nsided_patch_rbf(int patch);

/* The text of the last failure here, by the rule of get_last_error. */
MORVEL_API int get_last_nsided_error(char* buffer MORVEL_LEN(size), int size);

MORVEL_C_END

#endif
