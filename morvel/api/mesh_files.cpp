// Meshes in files.

#include "morvel/api/c/mesh_files.h"

#include <cmath>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "morvel/api/copy_arrays.h"
#include "morvel/api/internal/refusals.h"
#include "morvel/api/internal/surface_lookup.h"
#include "morvel/files/mesh_file.h"
#include "morvel/files/mesh_sampling.h"

using namespace trova_internal;
using trova::files::MeshObject;
using trova::files::MeshSampling;
using trova::foundation::Point2D;

namespace {

constexpr int kMaxMegabytes = 16384;
constexpr std::int64_t kMegabyte = 1 << 20;
constexpr std::int64_t kPair = 2;
constexpr std::int64_t kTriangle = 3;
constexpr const char* kNullPath = "the path is null";

/// The record with the memory that it points to.
struct OwnedMesh : MorvelMeshData {
  explicit OwnedMesh(MeshObject mesh) : MorvelMeshData{}, held(std::move(mesh)) {
    vertexCount = static_cast<std::int32_t>(held.vertices.size());
    triangleCount = static_cast<std::int32_t>(held.triangleCount());
    vertices = numbers(held.vertices);
    normals = numbers(held.normals);
    uv = numbers(held.parameters);
    triangles = held.triangles.empty() ? nullptr : held.triangles.data();
  }

  /// Points and vectors are nothing but their coordinates, and these are the record's own.
  template <class Vector>
  static double* numbers(std::vector<Vector>& vectors) {
    static_assert(sizeof(Vector) % sizeof(double) == 0 && alignof(Vector) == alignof(double));
    if (vectors.empty()) return nullptr;
    return const_cast<double*>(std::as_const(vectors[0]).eigen().data());
  }

  MeshObject held;
};

/// What is to be written; each list null only where it is empty.
struct Exported {
  const int* surfaces;
  int surfaceCount;
  const int* curves;
  int curveCount;
};

const Curve* findAnyCurve(int handle) {
  if (const auto* curve = curveTable().findAs<Curve>(handle)) return curve;
  return curveOnSurfaceTable().findAs<CurveOnSurface>(handle);
}

int checkExported(const char* function, const Exported& items) {
  if (items.surfaceCount < 0 || items.curveCount < 0 || !countsFit({items.surfaceCount}) ||
      (items.surfaceCount == 0 && items.curveCount == 0))
    return refuseIn(function, "there must be a surface or a curve");
  if ((items.surfaceCount > 0 && !items.surfaces) || (items.curveCount > 0 && !items.curves))
    return refuseIn(function, "the handles are null");
  for (int k = 0; k < items.surfaceCount; ++k)
    if (!findSurface(items.surfaces[k]))
      return refuseHandle(function, "surface", items.surfaces[k]);
  for (int k = 0; k < items.curveCount; ++k)
    if (!findAnyCurve(items.curves[k])) return refuseHandle(function, "curve", items.curves[k]);
  return kSuccess;
}

int checkSampling(const char* function, const Exported& items, const MeshSampling& sampling) {
  using trova::files::kMaxSurfaceSamples;
  using trova::geometry::kMaxUniformPoints;
  if (!(sampling.tolerance >= 0.0 && std::isfinite(sampling.tolerance)))
    return refuseIn(function, "the tolerance must be 0 or more");
  if (sampling.tolerance > 0.0) return kSuccess;
  const auto isWithin = [](int count, int most) { return 2 <= count && count <= most; };
  if (items.surfaceCount > 0 && (!isWithin(sampling.uCount, kMaxSurfaceSamples) ||
                                 !isWithin(sampling.vCount, kMaxSurfaceSamples)))
    return refuseIn(function, "samplesU and samplesV must be between 2 and 2000");
  if (items.curveCount > 0 && !isWithin(sampling.curveCount, kMaxUniformPoints))
    return refuseIn(function, "samplesCurve must be between 2 and 10000000");
  return kSuccess;
}

std::vector<MeshObject> sampled(const Exported& items, const MeshSampling& sampling) {
  std::vector<MeshObject> objects;
  for (int k = 0; k < items.surfaceCount; ++k) {
    const int handle = items.surfaces[k];
    objects.push_back(trova::files::sampledSurface(*findSurface(handle),
                                                   "surface_" + std::to_string(handle), sampling));
  }
  for (int k = 0; k < items.curveCount; ++k) {
    const int handle = items.curves[k];
    objects.push_back(trova::files::sampledCurve(*findAnyCurve(handle),
                                                 "curve_" + std::to_string(handle), sampling));
  }
  return objects;
}

MeshObject copiedMesh(const double* vertices, int vertexCount, const double* normals,
                      const double* uv, const int* triangles, int triangleCount) {
  MeshObject mesh;
  mesh.name = "mesh";
  mesh.vertices.reserve(static_cast<std::size_t>(vertexCount));
  for (std::int64_t k = 0; k < vertexCount; ++k) {
    mesh.vertices.push_back(readPoint(vertices + kDoublesPerPoint * k));
    if (normals) mesh.normals.push_back(readVector(normals + kDoublesPerPoint * k));
    if (uv) mesh.parameters.emplace_back(uv[kPair * k], uv[kPair * k + 1]);
  }
  mesh.triangles.assign(triangles, triangles + kTriangle * triangleCount);
  return mesh;
}

/// Arguments that the writer finds wrong are -1, files that cannot be written -4.
template <class Write>
int guardedExport(Write&& write) {
  return guarded(kExceptionCaught, kOwnMessage, [&] {
    return guardedAgainst<std::invalid_argument>(kBadArgument, kOwnMessage, write);
  });
}

}  // namespace

MorvelMeshData* read_obj_mesh(const char* path, int maxMegabytes) {
  MorvelMeshData* const none = nullptr;
  if (!path) return refuseIn(__func__, kNullPath), none;
  if (maxMegabytes < 1 || maxMegabytes > kMaxMegabytes)
    return refuseIn(__func__, "maxMegabytes must be between 1 and 16384"), none;
  return guarded(none, kOwnMessage, [&]() -> MorvelMeshData* {
    return std::make_unique<OwnedMesh>(trova::files::readObjMesh(path, kMegabyte * maxMegabytes))
        .release();
  });
}

void free_mesh_data(MorvelMeshData* record) { delete static_cast<OwnedMesh*>(record); }

int export_geometry(const char* path, const int* surfaces, int surfaceCount, const int* curves,
                    int curveCount, int samplesU, int samplesV, int samplesCurve,
                    double tolerance) {
  if (!path) return refuseIn(__func__, kNullPath);
  const Exported items{surfaces, surfaceCount, curves, curveCount};
  const MeshSampling sampling{samplesU, samplesV, samplesCurve, tolerance};
  if (const int refused = checkExported(__func__, items)) return refused;
  if (const int refused = checkSampling(__func__, items, sampling)) return refused;
  return guardedExport([&] {
    trova::files::writeMeshFile(path, [&] { return sampled(items, sampling); });
    return kSuccess;
  });
}

int export_mesh(const char* path, const double* vertices, int vertexCount, const double* normals,
                const double* uv, const int* triangles, int triangleCount) {
  if (!path) return refuseIn(__func__, kNullPath);
  if (anyNull(vertices, triangles)) return refuseIn(__func__, "vertices or triangles are null");
  if (vertexCount < 1 || triangleCount < 1 || !countsFit({vertexCount, kDoublesPerPoint}) ||
      !countsFit({triangleCount, kTriangle}))
    return refuseIn(__func__, "the number of vertices or triangles is out of range");
  return guardedExport([&] {
    trova::files::writeMeshFile(path, [&] {
      std::vector<MeshObject> objects;
      objects.push_back(copiedMesh(vertices, vertexCount, normals, uv, triangles, triangleCount));
      return objects;
    });
    return kSuccess;
  });
}
