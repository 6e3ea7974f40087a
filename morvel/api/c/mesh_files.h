/* Meshes in files: OBJ read, and curves, surfaces and meshes written as OBJ, STL, PLY or GLB, which
   the extension of the path (in any case) decides.

     0  success
    -1  bad argument, an extension other than the four, a curve for STL
    -3  unknown handle
    -4  the file cannot be read or written, or a shape cannot be sampled

   get_last_error names the path and the reason. Paths are zero-terminated bytes as the system takes
   them, UTF-8 as a rule. A file is written whole or not at all: it appears under its name when it
   is complete, until then an earlier file of the name stays as it is. No function here changes a
   registry, and the locale of the process has no influence. */
#ifndef MORVEL_API_C_MESH_FILES_H
#define MORVEL_API_C_MESH_FILES_H

#include "morvel/api/c/types.h"

MORVEL_C_BEGIN

/* A mesh that the library allocated: release it with free_mesh_data only. */
typedef struct MorvelMeshData {
  double* vertices;      /* 3 doubles a vertex */
  double* normals;       /* unit vectors, 3 doubles a vertex, or null */
  double* uv;            /* 2 doubles a vertex, or null */
  int32_t vertexCount;   /* vertices */
  int32_t* triangles;    /* 3 indices a triangle, from 0; null where there is none */
  int32_t triangleCount; /* triangles */
} MorvelMeshData;

/* All faces of a Wavefront OBJ file as one mesh, or null. Vertices in the file's order, used or
   not; polygons cut into triangles. Normals (uv) where every corner names some; a vertex that its
   corners give several is repeated at the end. A file of more than maxMegabytes (1 to 16384; a
   megabyte is 2^20 bytes) is refused, as is anything that is no ordinary file. Memory: about twice
   the size of the file. */
MORVEL_API MorvelMeshData* read_obj_mesh(const char* path, int maxMegabytes);
/* Null is ignored. */
MORVEL_API void free_mesh_data(MorvelMeshData* record);

/* Surfaces (of trimmed ones the visible part) and curves, those on surfaces included, as objects
   named "surface_40000", "curve_20000" after their handles; in STL and PLY as one body. STL holds
   no curves.

   tolerance 0: samplesU x samplesV (2 to 2000) vertices a surface, samplesCurve (2 to 10000000)
   points a curve. Above 0 (model units) it replaces the counts: as many as keep the chords within
   it midway between samples. Normals are Su x Sv, triangles turn as they say. Geometry is that of
   the evaluation functions: a pending transform waits until it is applied. */
MORVEL_API int export_geometry(const char* path, const int* surfaces MORVEL_LEN(surfaceCount),
                               int surfaceCount, const int* curves MORVEL_LEN(curveCount),
                               int curveCount, int samplesU, int samplesV, int samplesCurve,
                               double tolerance);

/* A mesh of the caller's, as the object "mesh". Indices from 0; normals and uv may be null. */
MORVEL_API int export_mesh(const char* path, const double* vertices MORVEL_LEN(3 * vertexCount),
                           int vertexCount, const double* normals MORVEL_LEN(3 * vertexCount),
                           const double* uv MORVEL_LEN(2 * vertexCount),
                           const int* triangles MORVEL_LEN(3 * triangleCount), int triangleCount);

MORVEL_C_END

#endif
