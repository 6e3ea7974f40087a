#pragma once

#include "morvel/api/handle_registry.h"
#include "morvel/api/registries.h"
#include "morvel/surfaces/curve_on_surface.h"
#include "morvel/trimmed_surface/trimmed_surface.h"

// The registries as tables. Exported functions work on these and never touch a map.

namespace trova_internal {

/// How often the numbering of each kind was restarted.
struct RegistryGenerations {
  int curves = 0;
  int surfaces = 0;
  int points = 0;
  int curvesOnSurfaces = 0;
};
extern RegistryGenerations registryGenerations;

inline HandleRegistry<decltype(g_curves)> curveTable() {
  return {g_curves, g_next_curve_id, kFirstCurveHandle, registryGenerations.curves};
}
inline HandleRegistry<decltype(g_surfaces)> surfaceTable() {
  return {g_surfaces, g_next_surface_id, kFirstSurfaceHandle, registryGenerations.surfaces};
}
inline HandleRegistry<decltype(g_points)> pointTable() {
  return {g_points, g_next_point_id, kFirstPointHandle, registryGenerations.points};
}
inline HandleRegistry<decltype(g_curve_on_surfaces)> curveOnSurfaceTable() {
  return {g_curve_on_surfaces, g_next_curve_on_surface_id, kFirstCurveOnSurfaceHandle,
          registryGenerations.curvesOnSurfaces};
}

/// The trimmed ones of the surfaces; numbered and restarted with them.
inline HandleRegistry<decltype(g_trimmed_surfaces)> trimmedSurfaceTable() {
  return {g_trimmed_surfaces, g_next_surface_id, kFirstSurfaceHandle, registryGenerations.surfaces};
}
/// The entry of a handle in the trimmed table follows that in the table of surfaces. False where
/// there is no memory for it.
bool keepTrimmedInStep(int handle) noexcept;

/// What is kept beside a surface (its cached mesh, how it was made) is dropped, because the surface
/// is gone, replaced or changed.
void forgetSurfaceRecords(int handle);
void forgetAllSurfaceRecords();
/// Only what follows from its shape: the surface changed in place.
void forgetSurfaceMesh(int handle);

}  // namespace trova_internal
