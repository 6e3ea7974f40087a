#include "morvel/api/internal/surface_records.h"

#include "morvel/api/exception_guard.h"
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

bool keepTrimmedInStep(int handle) noexcept {
  using trova::geometry::trimmed_surface::TrimmedSurface;
  const auto* entry = surfaceTable().find(handle);
  auto trimmed = entry ? std::dynamic_pointer_cast<TrimmedSurface>(*entry) : nullptr;
  if (trimmed) return endsWell([&] { trimmedSurfaceTable().storeAt(handle, std::move(trimmed)); });
  trimmedSurfaceTable().erase(handle);
  return true;
}

void forgetSurfaceMesh(int handle) {
  meshes.erase(handle);
  const auto* base = surfaceTable().find(handle);
  if (!base || !*base) return;
  for (const auto& entry : trimmedSurfaceTable().map()) {
    if (entry.second->getBaseSurface() == *base) entry.second->invalidateCache();
  }
}

void forgetSurfaceRecords(int handle) {
  meshes.erase(handle);
  keepTrimmedInStep(handle);
  g_loft_params.erase(handle);
  g_sweep_params.erase(handle);
  g_revolve_params.erase(handle);
  g_pipe_params.erase(handle);
}

void forgetAllSurfaceRecords() {
  meshes.clear();
  g_trimmed_surfaces.clear();
  g_loft_params.clear();
  g_sweep_params.clear();
  g_revolve_params.clear();
  g_pipe_params.clear();
}

}  // namespace trova_internal
