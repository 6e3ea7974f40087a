/* The types and macros of the C interface. */
#ifndef MORVEL_API_C_TYPES_H
#define MORVEL_API_C_TYPES_H

#include <stdbool.h>
#include <stdint.h>

#include "morvel/foundation/export.h"

#ifdef __cplusplus
#define MORVEL_C_BEGIN extern "C" {
#define MORVEL_C_END }
#else
#define MORVEL_C_BEGIN
#define MORVEL_C_END
#endif

/* Says how many elements stand behind the pointer parameter before it, in terms of the other
   parameters. It means nothing to the compiler; the Python signatures and the tests read it.
   A const pointer is input, read during the call only; any other is the caller's room for output.
   A pointer without it is a zero-terminated text or a record of the library. */
#define MORVEL_LEN(elements)

MORVEL_C_BEGIN

/* A point or vector by value. */
typedef struct MorvelPoint3D {
  double x;
  double y;
  double z;
} MorvelPoint3D;

/* A triangle mesh that the library allocated: release it with free_surface_data only. */
typedef struct MorvelSurfaceData {
  double* vertices;    /* 3 doubles a vertex */
  int32_t vertexCount; /* vertices */
  int32_t* indices;    /* 3 indices a triangle */
  int32_t indexCount;  /* indices, 3 times the triangles */
  int32_t surfaceId;   /* the kernel surface that the mesh came from */
} MorvelSurfaceData;

MORVEL_C_END

#endif
