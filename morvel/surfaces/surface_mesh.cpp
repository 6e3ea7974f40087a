#include "morvel/surfaces/surface_mesh.h"

#include <utility>

namespace trova::geometry {
namespace {

constexpr std::size_t kQuadCorners = 4;

}  // namespace

MeshFaces MeshFaces::fromQuads(std::vector<std::int32_t> corners) {
  MeshFaces faces;
  faces.ends_.resize(corners.size() / kQuadCorners);
  for (std::size_t k = 0; k < faces.ends_.size(); ++k)
    faces.ends_[k] = (k + 1) * kQuadCorners;
  faces.indices_ = std::move(corners);
  return faces;
}

void MeshFaces::push_back(std::span<const std::int32_t> face) {
  indices_.insert(indices_.end(), face.begin(), face.end());
  ends_.push_back(indices_.size());
}

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
  for (const std::span<const std::int32_t> face : faces) {
    for (std::size_t k = 2; k < face.size(); ++k)
      indices.insert(indices.end(), {face[0], face[k - 1], face[k]});
  }
  return indices;
}

}  // namespace trova::geometry
