/* Trimmed surfaces: a base surface of which loops in its parameter plane leave a part.

   They are surfaces like any other (from 40000; delete_surface), share their base and keep it alive
   without its handle. Evaluation, derivatives and closest points are those of the base. A point of
   the parameter plane is inside, outside, or on the boundary: within the boundary tolerance of a
   loop.

   Results below 0 are failures; each function names its codes. In all of them -4 is an exception
   with a text and -5 any other, unless said otherwise. By contract the texts of this family are not
   given by get_last_error, except for the functions under "more", which keep to the codes

    -1  a null pointer, a count out of range, a number that is not finite
    -2  sizes that contradict each other, or an index that is out of range
    -3  unknown handle, or a surface that is not trimmed
    -4  an exception was caught
    -5  a buffer is too small: the numbers needed were written */
#ifndef MORVEL_API_C_TRIMMED_SURFACE_H
#define MORVEL_API_C_TRIMMED_SURFACE_H

#include "morvel/api/c/types.h"

MORVEL_C_BEGIN

/* Null stands for 1e-6, 0.001, 1, 1, 1, 0. Only the first matters; the others are carried. */
typedef struct MorvelTrimOptions {
  double boundaryTolerance; /* in parameters */
  double approximationTolerance;
  int firstSwitch; /* not 0: on */
  int secondSwitch;
  int thirdSwitch;
  int hostValue;
} MorvelTrimOptions;

/* The roles of loops. */
enum { MORVEL_OUTER_LOOP = 0, MORVEL_INNER_LOOP = 1, MORVEL_MATERIAL_LOOP = 2 };

/* ---- making: each returns the handle of the new surface ---- */

/* The part over a rectangle; a direction whose trim flag is 0 stays open. -1 unknown base; -2, -3
   bounds out of order in u, v; -4 also where bounds leave the domain; -14 nothing was made. */
MORVEL_API int create_rectangular_trimmed_surface(int surface, double uMin, double uMax,
                                                  double vMin, double vMax, int trimU, int trimV,
                                                  const MorvelTrimOptions* options);
/* The whole domain with a round hole in (u, v). -1 unknown base; -2 the radius is not above 0; -3
   the result is not valid. */
MORVEL_API int create_trimmed_surface_with_circular_hole(int surface, double centerU,
                                                         double centerV, double radius,
                                                         const MorvelTrimOptions* options);

/* From curves in space, projected onto the base: the outer ones in chain order as one loop (the
   whole domain where there are none), then numInnerLoops holes, of which hole k takes the next
   innerLoopSizes[k] of innerCurves. Curves that miss the base are reported and left out; so are
   holes of a size below 1, and those that reach number numInnerLoops * innerLoopSizes[k] of the
   curves or beyond. The projections stay registered as curves on surfaces. -1 unknown base; -2, -3
   null arrays of outer, of inner curves. */
MORVEL_API int create_wire_trimmed_surface(int surface, int numOuterCurves,
                                           const int* outerCurves MORVEL_LEN(numOuterCurves),
                                           int numInnerLoops,
                                           const int* innerLoopSizes MORVEL_LEN(numInnerLoops),
                                           const int* innerCurves MORVEL_LEN(sum(innerLoopSizes)),
                                           const MorvelTrimOptions* options);
/* The part on the side of a plane that its normal points to. -1 unknown base; -3 the plane does not
   cut the surface. */
MORVEL_API int snip_surface_with_plane(int surface, double pointX, double pointY, double pointZ,
                                       double normalX, double normalY, double normalZ,
                                       const MorvelTrimOptions* options);
/* The part inside, or where keepsInside is 0 outside, of a loop of curves in space, projected onto
   the base. -1 unknown base; -2 no curves; -3 none of them meets the base. */
MORVEL_API int snip_surface_with_wire_3d(int surface, const int* curves MORVEL_LEN(count),
                                         int count, int keepsInside,
                                         const MorvelTrimOptions* options);

/* ---- asking ---- */

/* classification gets 1 inside, 0 outside, 2 on the boundary. -1 null; -2 unknown handle; -3 empty
   entry. Up to 500 answers are remembered. */
MORVEL_API int classify_point_in_trimmed_surface(int surface, double u, double v,
                                                 int* classification MORVEL_LEN(1));
/* 1 inside or on the boundary, else 0. Codes as above. */
MORVEL_API int is_point_visible_in_trimmed_surface(int surface, double u, double v,
                                                   int* isVisible MORVEL_LEN(1));
/* Area in space of the visible part, numbers of loops, validity; each output may be null. -1
   unknown handle; -2 empty entry; -3 an exception with a text; -4 any other. */
MORVEL_API int get_trimmed_surface_info(int surface, double* area MORVEL_LEN(1),
                                        int* loopCount MORVEL_LEN(1), int* outerCount MORVEL_LEN(1),
                                        int* innerCount MORVEL_LEN(1), int* isValid MORVEL_LEN(1));
/* The domain of the base; each output may be null. -1 unknown handle; -2 empty entry; -3 an
   exception with a text; -4 any other. */
MORVEL_API int get_trimmed_surface_parameter_domain(int surface, double* uMin MORVEL_LEN(1),
                                                    double* uMax MORVEL_LEN(1),
                                                    double* vMin MORVEL_LEN(1),
                                                    double* vMax MORVEL_LEN(1));
/* The handle of the base. -1 null; -2 unknown handle; -4 empty entry; -5 the base is not registered
   any more; -6 no base; -7, -8 the surface is not trimmed; -8 also an exception with a text; -9 any
   other. */
MORVEL_API int get_trimmed_surface_base_surface(int surface, int* baseSurface MORVEL_LEN(1));
/* The number of faults, also in errorCount (which may be null). The buffer (which may be null) gets
   "Error 1: ..." and so on, a line each, cut to its size. -1 unknown handle; -2 empty entry. */
MORVEL_API int validate_trimmed_surface(int surface, char* buffer MORVEL_LEN(size), int size,
                                        int* errorCount MORVEL_LEN(1));
/* Triangles of the visible part over a grid of resolutionU x resolutionV vertices (2 to 2000 each).
   Cells that loops cross are cut along them; the mesh is watertight. A surface that is not trimmed
   comes whole. Counts are written even where the buffers are too small (-5; -6 for indices).
   indexCount is 3 a triangle. -1 a null buffer, a resolution out of range; -2 unknown handle; -4
   any exception. */
MORVEL_API int tessellate_trimmed_surface_visible_region(
    int surface, int resolutionU, int resolutionV, double* vertices MORVEL_LEN(3 * vertexCapacity),
    int vertexCapacity, int* vertexCount MORVEL_LEN(1), int* indices MORVEL_LEN(indexCapacity),
    int indexCapacity, int* indexCount MORVEL_LEN(1));

/* ---- more ---- */

/* From loops given as polygons u v, pointCount points in all; loopSizes[k] of them belong to loop k
   (at least 1, in sum pointCount, else -2), whose type is loopTypes[k] and which is an outer loop
   where isOuter[k] is not 0. Loops may cross, leave the domain and have as few as one point.
   Returns the handle of the new surface. */
MORVEL_API int create_trimmed_surface_from_polygons(
    int surface, const double* uv MORVEL_LEN(2 * pointCount), int pointCount,
    const int* loopSizes MORVEL_LEN(loopCount), const int* loopTypes MORVEL_LEN(loopCount),
    const int* isOuter MORVEL_LEN(loopCount), int loopCount, const MorvelTrimOptions* options);
/* Many points at once: the classifications of the single call, which neither reads nor changes what
   that remembers. Built for millions of points. */
MORVEL_API int classify_points_in_trimmed_surface(int surface,
                                                  const double* uv MORVEL_LEN(2 * count), int count,
                                                  int* classification MORVEL_LEN(count));
/* The loops of a trimmed surface: their number; type, role, polygon points and curves of one. */
MORVEL_API int get_trim_loop_count(int surface);
MORVEL_API int get_trim_loop_info(int surface, int index, int* type MORVEL_LEN(1),
                                  int* isOuter MORVEL_LEN(1), int* pointCount MORVEL_LEN(1),
                                  int* curveCount MORVEL_LEN(1));
/* The polygon of a loop; of a loop of curves, samples of them. count gets the number of points. */
MORVEL_API int get_trim_loop_polygon(int surface, int index,
                                     double* uv MORVEL_LEN(2 * pointCapacity), int pointCapacity,
                                     int* count MORVEL_LEN(1));

MORVEL_C_END

#endif
