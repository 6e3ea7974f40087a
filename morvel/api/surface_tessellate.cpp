// Triangle meshes of surfaces.

#include <algorithm>
#include <cmath>

#include "morvel/api/c/surface_query.h"
#include "morvel/api/copy_arrays.h"
#include "morvel/api/internal/refusals.h"
#include "morvel/api/internal/surface_lookup.h"
#include "morvel/api/internal/surface_records.h"
#include "morvel/surfaces/grid_sampling.h"

using namespace trova_internal;
namespace tg = trova::geometry;
using trova::foundation::Point3D;

namespace {

constexpr int kMinResolution = 3;
constexpr int kMaxResolution = 200;
// A coordinate beyond this (model units) counts as a failed evaluation.
constexpr double kMaxCoordinate = 1e6;
constexpr int kIndicesPerTriangle = 3;
// Cached meshes stay in memory until their surface goes: about 120 bytes for each vertex.
constexpr std::int64_t kMaxCachedVertices = 1 << 20;
constexpr std::string_view kLoftIdentifier = "LoftSurface";

bool isUsable(const Point3D& point) {
  return point.isFinite() && point.eigen().cwiseAbs().maxCoeff() <= kMaxCoordinate;
}

/// By contract: a vertex that could not be evaluated repeats the one before it, and the first
/// becomes the origin, so that the number of vertices never changes.
void replaceUnusable(std::vector<Point3D>& points) {
  Point3D previous = Point3D::origin();
  for (Point3D& point : points) {
    if (!isUsable(point)) point = previous;
    previous = point;
  }
}

bool isFinite(const tg::SurfaceMesh& mesh) {
  return std::all_of(mesh.vertices.begin(), mesh.vertices.end(),
                     [](const Point3D& vertex) { return vertex.isFinite(); });
}

int refuseMeshOf(const Surface& surface) {
  const std::string type = surface.getTypeIdentifier();
  return type == kLoftIdentifier
             ? refuse(kExceptionCaught, "LoftSurface evaluation failed")
             : refuse(kExceptionCaught, type + " evaluation gave a vertex that is not finite");
}

/// The caller's room for a mesh.
struct MeshBuffers {
  double* vertices;
  int vertexCapacity;
  int* vertexCount;
  int* indices;
  int indexCapacity;
  int* indexCount;
};

int copyMesh(const tg::SurfaceMesh& mesh, const MeshBuffers& out) {
  const std::vector<std::int32_t> indices = mesh.getTriangulatedIndices();
  *out.vertexCount = static_cast<int>(mesh.vertices.size());
  *out.indexCount = static_cast<int>(indices.size());
  if (*out.vertexCount > out.vertexCapacity)
    return refuse(surface_codes::kPointBufferTooSmall, "Insufficient vertex buffer size");
  if (*out.indexCount > out.indexCapacity)
    return refuse(surface_codes::kPointBufferTooSmall, "Insufficient index buffer size");
  writePoints(mesh.vertices, out.vertices);
  std::copy(indices.begin(), indices.end(), out.indices);
  return kSuccess;
}

int copySampledMesh(const Surface& surface, int handle, double tolerance, const MeshBuffers& out) {
  if (const tg::SurfaceMesh* cached = cachedMesh(handle)) return copyMesh(*cached, out);
  const tg::SurfaceMesh mesh = surface.tessellate(tolerance);
  return isFinite(mesh) ? copyMesh(mesh, out) : refuseMeshOf(surface);
}

}  // namespace

int tessellate_surface(int surface, int resolution, double* vertices, int* vertexCount,
                       int* indices, int* triangleCount) {
  if (anyNull(vertices, vertexCount, indices, triangleCount))
    return refuse(kBadArgument, "Invalid output parameters");
  if (resolution < kMinResolution || resolution > kMaxResolution)
    return refuse(kBadArgument, "Resolution must be between 3 and 200");
  return withSurface(surface, kNotFound, [&](const Surface& found) {
    std::vector<Point3D> points = tg::sampleGrid(found, resolution, resolution);
    replaceUnusable(points);
    *vertexCount = resolution * resolution;
    writePoints(points, vertices);
    *triangleCount = 2 * (resolution - 1) * (resolution - 1);
    tg::writeGridTriangles(resolution, resolution, tg::CellDiagonal::Anti, indices);
    return kSuccess;
  });
}

int get_surface_tessellation_data(int surface, double tolerance, double* vertices,
                                  int vertexCapacity, int* vertexCount, int* indices,
                                  int indexCapacity, int* indexCount) {
  if (anyNull(vertices, vertexCount, indices, indexCount))
    return refuse(kBadArgument, "Invalid output arrays");
  return withSurface(surface, kNotFound, [&](const Surface& found) {
    const MeshBuffers out{vertices, vertexCapacity, vertexCount,
                          indices,  indexCapacity,  indexCount};
    // The one place where a type of surface with a mesh of its own branches off.
    return copySampledMesh(found, surface, tolerance, out);
  });
}

int regenerate_surface_tessellation(int surface, int uCount, int vCount) {
  if (uCount < 2 || vCount < 2) return refuseIn(__func__, "counts must be at least 2");
  if (std::int64_t{uCount} * vCount > kMaxCachedVertices)
    return refuseIn(__func__, "a cached mesh has at most 1048576 vertices");
  return withSurface(surface, kNotFound, [&](const Surface& found) {
    tg::SurfaceMesh mesh = found.tessellateUniform(uCount, vCount);
    if (!isFinite(mesh)) return refuseMeshOf(found);
    cacheMesh(surface, std::move(mesh));
    return kSuccess;
  });
}
