#include "morvel/surfaces/surface_mesh.h"

namespace trova::geometry {

void SurfaceMesh::addTriangle(std::int32_t a, std::int32_t b, std::int32_t c) {
  faces.push_back({a, b, c});
}

void SurfaceMesh::addQuad(std::int32_t a, std::int32_t b, std::int32_t c, std::int32_t d) {
  faces.push_back({a, b, c, d});
}

// A fan from the first index is also what triangles and quads ask for.
std::vector<std::int32_t> SurfaceMesh::getTriangulatedIndices() const {
  constexpr std::size_t kIndicesOfQuad = 6;
  std::vector<std::int32_t> indices;
  indices.reserve(faces.size() * kIndicesOfQuad);
  for (const std::vector<std::int32_t>& face : faces) {
    for (std::size_t k = 2; k < face.size(); ++k)
      indices.insert(indices.end(), {face[0], face[k - 1], face[k]});
  }
  return indices;
}

}  // namespace trova::geometry
