/* The surfaces of the kernel object, with identifiers of their own (from 1). They need
   initialize_kernel; their failures are printed on standard error, not kept as the last error. */
#ifndef MORVEL_API_C_KERNEL_SURFACE_H
#define MORVEL_API_C_KERNEL_SURFACE_H

#include "morvel/api/c/types.h"

MORVEL_C_BEGIN

/* Returns the identifier; -1 on any failure. Points u outer: (i nV + j) 3. */
MORVEL_API int create_nurbs_surface(const double* points MORVEL_LEN(3 * nU * nV), int nU, int nV,
                                    const double* uKnots MORVEL_LEN(uKnotCount), int uKnotCount,
                                    const double* vKnots MORVEL_LEN(vKnotCount), int vKnotCount,
                                    int degreeU, int degreeV);
/* A mesh of resolution x resolution vertices (resolution 2 or more), u outer, or null. Release it
   with free_surface_data while there is a kernel object (not necessarily the one that made it). */
MORVEL_API MorvelSurfaceData* get_surface_mesh(int id, int resolution);
/* Null is ignored. By contract nothing is released without a kernel object. */
MORVEL_API void free_surface_data(MorvelSurfaceData* record);
/* 0 without a kernel object. */
MORVEL_API int get_kernel_surface_count(void);

MORVEL_C_END

#endif
