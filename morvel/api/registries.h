#pragma once

#include <memory>
#include <unordered_map>
#include <vector>

#include "morvel/curves/curve.h"
#include "morvel/foundation/export.h"
#include "morvel/foundation/point.h"
#include "morvel/foundation/vector.h"
#include "morvel/surfaces/surface.h"

// Where registered objects live, and how they get in and out. Everything here is process-wide,
// without locks: one thread at a time. The registries own their objects; look-ups hand out views
// that are not to be kept across calls that may delete or replace entries.

namespace trova::geometry {
class CurveOnSurface;
class ParametricCurve;
class ParametricSurface;
namespace trimmed_surface {
class TrimmedSurface;
}
}  // namespace trova::geometry

class PythonSurfaceKernel;

/// Curves by handle, from 20000.
extern MORVEL_API std::unordered_map<int, std::unique_ptr<trova::geometry::Curve>> g_curves;
extern MORVEL_API int g_next_curve_id;
/// Surfaces by handle, from 40000. The ownership is shared only with objects derived from a
/// surface, whose base outlives the deletion of its handle.
extern MORVEL_API std::unordered_map<int, std::shared_ptr<trova::geometry::Surface>> g_surfaces;
extern MORVEL_API int g_next_surface_id;
/// Those of the surfaces that are trimmed, under the same handles: the same objects, which come and
/// go with their entries in g_surfaces.
extern MORVEL_API
    std::unordered_map<int, std::shared_ptr<trova::geometry::trimmed_surface::TrimmedSurface>>
        g_trimmed_surfaces;
/// Points by handle, from 2000.
extern MORVEL_API std::unordered_map<int, trova::foundation::Point3D> g_points;
extern MORVEL_API int g_next_point_id;
/// Counter of the curves on surfaces, from 60000; nothing restarts it.
extern MORVEL_API int g_next_curve_on_surface_id;
/// The kernel object, or empty.
extern MORVEL_API std::unique_ptr<PythonSurfaceKernel> g_kernel;

/// How surfaces were made, by surface handle; an entry goes with its surface.
struct LoftParameters {
  std::vector<int> sectionCurves;
  int degreeV = 0;
};
struct SweepParameters {
  int profileCurve = 0;
  int pathCurve = 0;
};
struct RevolveParameters {
  int profileCurve = 0;
  trova::foundation::Point3D axisPoint;
  trova::foundation::Vector3D axisDirection;
  double startAngle = 0.0;  ///< radians
  double endAngle = 0.0;
};
struct PipeParameters {
  int pathCurve = 0;
  double radius = 0.0;
};
extern MORVEL_API std::unordered_map<int, LoftParameters> g_loft_params;
extern MORVEL_API std::unordered_map<int, SweepParameters> g_sweep_params;
extern MORVEL_API std::unordered_map<int, RevolveParameters> g_revolve_params;
extern MORVEL_API std::unordered_map<int, PipeParameters> g_pipe_params;

namespace trova_internal {

using trova::geometry::Curve;
using trova::geometry::CurveOnSurface;
using trova::geometry::ParametricCurve;
using trova::geometry::ParametricSurface;
using trova::geometry::Surface;

inline constexpr int kFirstCurveHandle = 20000;
inline constexpr int kFirstSurfaceHandle = 40000;
inline constexpr int kFirstPointHandle = 2000;
inline constexpr int kFirstCurveOnSurfaceHandle = 60000;

/// Curves on surfaces by handle, from 60000; shared with the loops that are built of them.
extern MORVEL_API std::unordered_map<int, std::shared_ptr<CurveOnSurface>> g_curve_on_surfaces;

/// Store under the next handle of the kind and return it. An empty pointer stores "Invalid curve
/// pointer" (surface, CurveOnSurface) as the last error and returns -5.
/// @throws std::overflow_error where the handle numbers are used up
MORVEL_API int storeCurve(std::unique_ptr<Curve> curve);
MORVEL_API int storeSurface(std::unique_ptr<Surface> surface);
MORVEL_API int storeCurveOnSurface(std::unique_ptr<CurveOnSurface> curve);

/// The surface counter itself.
MORVEL_API int& getNextSurfaceId();

MORVEL_API bool isValidCurveId(int handle);
MORVEL_API bool isValidSurfaceId(int handle);
MORVEL_API bool isValidCurveOnSurfaceId(int handle);
MORVEL_API bool isValidPointId(int handle);

/// The stored object as a `T`, not owned; null where the handle is absent or the object is no `T`.
/// Instances: every curve class (getCurveAs), CurveOnSurface and Curve (getCurveOnSurfaceAs),
/// Surface, ParametricSurface and every surface class (getSurfaceAs).
template <class T>
MORVEL_API T* getCurveAs(int handle);
template <class T>
MORVEL_API T* getSurfaceAs(int handle);
template <class T>
MORVEL_API T* getCurveOnSurfaceAs(int handle);

/// Notes an operation on a surface; a status line at debug level.
MORVEL_API void logSurfaceOperation(const char* operation, int handle);

}  // namespace trova_internal

// Functions with unmangled names whose signatures carry C++ types.
#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wreturn-type-c-linkage"
#endif
extern "C" {

/// Stores the curve under the next handle: the very object where the pointer is its only owner,
/// else a clone. -1 for an empty pointer or on any exception.
MORVEL_API int create_curve_handle(std::shared_ptr<trova::geometry::ParametricCurve> curve);
/// Stores a copy of the surface under a handle that was reserved before, replacing what is there.
/// An empty pointer stores nothing.
MORVEL_API void registerSurface(int handle, std::shared_ptr<trova::geometry::Surface> surface);
/// The stored curve, not owned, or null.
MORVEL_API trova::geometry::Curve* get_curve_pointer_from_handle(int handle);
/// A view of a stored parametric curve (its deleter does nothing), or an owned spline form of a
/// stored analytic curve; empty otherwise.
MORVEL_API std::shared_ptr<trova::geometry::ParametricCurve> get_curve_from_handle(int handle);
/// A view of a stored parametric surface; empty otherwise.
MORVEL_API std::shared_ptr<trova::geometry::ParametricSurface> get_surface_from_handle(int handle);
/// The stored surface, not owned, or null.
MORVEL_API trova::geometry::Surface* get_surface_from_registry(int handle);

}  // extern "C"
#if defined(__clang__)
#pragma clang diagnostic pop
#endif
