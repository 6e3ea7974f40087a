#include "morvel/surfaces/grid_sampling.h"

#include <stdexcept>

#include "morvel/foundation/checked_count.h"
#include "morvel/surfaces/surface_batch.h"

namespace trova::geometry {
namespace {

constexpr int kIndicesPerCell = 6;
constexpr int kCornersPerCell = 4;

std::size_t sampleCount(int uCount, int vCount) {
  return static_cast<std::size_t>(foundation::checkedCount({uCount, vCount}));
}

std::size_t indexCount(int uCount, int vCount) {
  return static_cast<std::size_t>(
      foundation::checkedCount({uCount - 1, vCount - 1, kIndicesPerCell}));
}

// Calls `visit` with the first corner of every cell, u outer.
template <class Visit>
void forEachCell(int uCount, int vCount, Visit visit) {
  for (std::int32_t a = 0; a + 1 < uCount; ++a) {
    for (std::int32_t b = 0; b + 1 < vCount; ++b)
      visit(a * vCount + b);
  }
}

std::vector<std::int32_t> gridQuads(int uCount, int vCount) {
  std::vector<std::int32_t> corners(indexCount(uCount, vCount) / kIndicesPerCell * kCornersPerCell);
  std::int32_t* next = corners.data();
  forEachCell(uCount, vCount, [&](std::int32_t k) {
    for (const std::int32_t corner : {k, k + 1, k + vCount + 1, k + vCount})
      *next++ = corner;
  });
  return corners;
}

}  // namespace

void requireGrid(int uCount, int vCount) {
  if (uCount < 2 || vCount < 2) throw std::invalid_argument("Grid counts must be at least 2");
  static_cast<void>(sampleCount(uCount, vCount));
  static_cast<void>(indexCount(uCount, vCount));
}

std::vector<double> gridParameters(double start, double end, int count) {
  if (count < 2) throw std::invalid_argument("Grid counts must be at least 2");
  std::vector<double> parameters(count);
  for (int index = 0; index < count; ++index)
    parameters[index] = gridParameter(start, end, index, count);
  return parameters;
}

void writeGridTriangles(int uCount, int vCount, CellDiagonal diagonal, std::int32_t* indices) {
  const bool isMain = diagonal == CellDiagonal::Main;
  forEachCell(uCount, vCount, [&](std::int32_t k) {
    const std::int32_t far = k + vCount + 1;
    const std::int32_t cell[kIndicesPerCell] = {
        k, k + 1, isMain ? far : k + vCount, isMain ? k : k + 1, far, k + vCount};
    for (const std::int32_t index : cell)
      *indices++ = index;
  });
}

std::vector<std::int32_t> gridTriangles(int uCount, int vCount, CellDiagonal diagonal) {
  requireGrid(uCount, vCount);
  std::vector<std::int32_t> indices(indexCount(uCount, vCount));
  writeGridTriangles(uCount, vCount, diagonal, indices.data());
  return indices;
}

SurfaceMesh gridMesh(const ParameterDomain& domain, int uCount, int vCount) {
  requireGrid(uCount, vCount);
  const std::vector<double> vs = gridParameters(domain.vMin, domain.vMax, vCount);
  SurfaceMesh mesh;
  mesh.vertices.resize(sampleCount(uCount, vCount));
  mesh.normals.resize(mesh.vertices.size());
  mesh.parameters.reserve(mesh.vertices.size());
  for (const double u : gridParameters(domain.uMin, domain.uMax, uCount))
    for (const double v : vs)
      mesh.parameters.emplace_back(u, v);
  mesh.faces = MeshFaces::fromQuads(gridQuads(uCount, vCount));
  return mesh;
}

std::vector<Point3D> sampleGrid(const Surface& surface, int uCount, int vCount) {
  requireGrid(uCount, vCount);
  const ParameterDomain domain = surface.getParameterDomain();
  std::vector<Point3D> points(sampleCount(uCount, vCount));
  evaluateSurfaceGrid(surface, gridParameters(domain.uMin, domain.uMax, uCount),
                      gridParameters(domain.vMin, domain.vMax, vCount), 0,
                      points.front().eigen().data());
  return points;
}

}  // namespace trova::geometry
