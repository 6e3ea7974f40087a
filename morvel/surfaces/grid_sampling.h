#pragma once

#include <cstdint>
#include <vector>

#include "morvel/foundation/export.h"
#include "morvel/surfaces/surface.h"

// Regular grids of parameters and the cells between them: one home for what meshes, flat interfaces
// and engines all need. Grids are u outer: sample (a, b) has the index a * vCount + b.

namespace trova::geometry {

/// start + (end - start) * index / (count - 1); count >= 2.
inline double gridParameter(double start, double end, int index, int count) {
  return start + (end - start) * index / (count - 1);
}

/// The `count` grid parameters from start to end.
/// @throws std::invalid_argument for fewer than two
MORVEL_API std::vector<double> gridParameters(double start, double end, int count);

/// Both counts at least 2 and the mesh within 32-bit indices.
/// @throws std::invalid_argument, std::length_error
MORVEL_API void requireGrid(int uCount, int vCount);

/// Which diagonal cuts the cell (k, k + 1, k + n + 1, k + n), n being the number of samples in v.
enum class CellDiagonal {
  Main,  ///< (k, k + n + 1): triangles (k, k + 1, k + n + 1), (k, k + n + 1, k + n)
  Anti   ///< (k + 1, k + n): triangles (k, k + 1, k + n), (k + 1, k + n + 1, k + n)
};

/// Two triangles per cell, cells u outer: 6 (uCount - 1) (vCount - 1) indices.
/// @throws as requireGrid
MORVEL_API std::vector<std::int32_t> gridTriangles(int uCount, int vCount, CellDiagonal diagonal);
/// The same into the caller's room of that many indices.
MORVEL_API void writeGridTriangles(int uCount, int vCount, CellDiagonal diagonal,
                                   std::int32_t* indices);

/// A mesh over the grid: its parameters, its quads (k, k + 1, k + n + 1, k + n), and as many
/// vertices and normals, all zero, for the caller to fill.
/// @throws as requireGrid
MORVEL_API SurfaceMesh gridMesh(const ParameterDomain& domain, int uCount, int vCount);

/// `uCount` x `vCount` points of the surface over its domain, u outer.
/// @throws as requireGrid
MORVEL_API std::vector<Point3D> sampleGrid(const Surface& surface, int uCount, int vCount);

}  // namespace trova::geometry
