#include "morvel/api/internal/surface_records.h"

#include "morvel/api/internal/tables.h"

namespace trova_internal {
namespace {

std::unordered_map<int, trova::geometry::SurfaceMesh> meshes;

}  // namespace

const trova::geometry::SurfaceMesh* cachedMesh(int surface) {
  const auto entry = meshes.find(surface);
  return entry == meshes.end() ? nullptr : &entry->second;
}

void cacheMesh(int surface, trova::geometry::SurfaceMesh mesh) {
  meshes.insert_or_assign(surface, std::move(mesh));
}

void forgetSurfaceMesh(int handle) { meshes.erase(handle); }

void forgetSurfaceRecords(int handle) {
  forgetSurfaceMesh(handle);
  g_loft_params.erase(handle);
  g_sweep_params.erase(handle);
  g_revolve_params.erase(handle);
  g_pipe_params.erase(handle);
}

void forgetAllSurfaceRecords() {
  meshes.clear();
  g_loft_params.clear();
  g_sweep_params.clear();
  g_revolve_params.clear();
  g_pipe_params.clear();
}

}  // namespace trova_internal
