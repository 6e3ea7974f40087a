#include "morvel/surfaces/grid_sampling.h"

#include <stdexcept>

#include "morvel/foundation/checked_count.h"

namespace trova::geometry {
namespace {

constexpr int kIndicesPerCell = 6;

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

SurfaceMesh gridMesh(int uCount, int vCount) {
  requireGrid(uCount, vCount);
  SurfaceMesh mesh;
  const std::size_t samples = sampleCount(uCount, vCount);
  mesh.vertices.reserve(samples);
  mesh.normals.reserve(samples);
  mesh.parameters.reserve(samples);
  mesh.faces.reserve(indexCount(uCount, vCount) / kIndicesPerCell);
  forEachCell(uCount, vCount,
              [&](std::int32_t k) { mesh.addQuad(k, k + 1, k + vCount + 1, k + vCount); });
  return mesh;
}

std::vector<Point3D> sampleGrid(const Surface& surface, int uCount, int vCount) {
  requireGrid(uCount, vCount);
  const ParameterDomain domain = surface.getParameterDomain();
  std::vector<Point3D> points;
  points.reserve(sampleCount(uCount, vCount));
  for (int a = 0; a < uCount; ++a) {
    const double u = gridParameter(domain.uMin, domain.uMax, a, uCount);
    for (int b = 0; b < vCount; ++b)
      points.push_back(surface.evaluate(u, gridParameter(domain.vMin, domain.vMax, b, vCount)));
  }
  return points;
}

}  // namespace trova::geometry
