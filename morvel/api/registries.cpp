#include "morvel/api/registries.h"

#include <new>

#include "morvel/api/c/registry.h"
#include "morvel/api/internal/tables.h"
#include "morvel/api/kernel_object.h"
#include "morvel/api/last_error.h"
#include "morvel/api/result_codes.h"
#include "morvel/curves/bezier_curve.h"
#include "morvel/curves/bspline_curve.h"
#include "morvel/curves/circle_curve.h"
#include "morvel/curves/ellipse_curve.h"
#include "morvel/curves/line_curve.h"
#include "morvel/curves/nurbs_curve.h"
#include "morvel/curves/offset_curve.h"
#include "morvel/foundation/status_line.h"
#include "morvel/surfaces/bezier_surface.h"
#include "morvel/surfaces/bspline_surface.h"
#include "morvel/surfaces/cone_surface.h"
#include "morvel/surfaces/cylinder_surface.h"
#include "morvel/surfaces/extrude_surface.h"
#include "morvel/surfaces/loft_surface.h"
#include "morvel/surfaces/nurbs_surface.h"
#include "morvel/surfaces/path_guided_sweep_surface.h"
#include "morvel/surfaces/pipe_surface.h"
#include "morvel/surfaces/plane_surface.h"
#include "morvel/surfaces/revolve_surface.h"
#include "morvel/surfaces/ruled_surface.h"
#include "morvel/surfaces/sphere_surface.h"
#include "morvel/surfaces/torus_surface.h"
#include "morvel/trimmed_surface/rectangular_trimmed_surface.h"
#include "morvel/trimmed_surface/wire_trimmed_surface.h"

std::unordered_map<int, std::unique_ptr<trova::geometry::Curve>> g_curves;
int g_next_curve_id = trova_internal::kFirstCurveHandle;
std::unordered_map<int, std::shared_ptr<trova::geometry::Surface>> g_surfaces;
int g_next_surface_id = trova_internal::kFirstSurfaceHandle;
std::unordered_map<int, std::shared_ptr<trova::geometry::trimmed_surface::TrimmedSurface>>
    g_trimmed_surfaces;
std::unordered_map<int, trova::foundation::Point3D> g_points;
int g_next_point_id = trova_internal::kFirstPointHandle;
int g_next_curve_on_surface_id = trova_internal::kFirstCurveOnSurfaceHandle;
std::unique_ptr<PythonSurfaceKernel> g_kernel;

std::unordered_map<int, LoftParameters> g_loft_params;
std::unordered_map<int, SweepParameters> g_sweep_params;
std::unordered_map<int, RevolveParameters> g_revolve_params;
std::unordered_map<int, PipeParameters> g_pipe_params;

namespace trova_internal {

namespace tg = trova::geometry;

std::unordered_map<int, std::shared_ptr<CurveOnSurface>> g_curve_on_surfaces;
RegistryGenerations registryGenerations;

namespace {

template <class Table, class Pointer>
int storeIn(Table table, Pointer object, const char* nullText) {
  if (!object) return refuse(kNullObject, nullText);
  return table.store(std::move(object));
}

}  // namespace

int storeCurve(std::unique_ptr<Curve> curve) {
  return storeIn(curveTable(), std::move(curve), "Invalid curve pointer");
}

int storeSurface(std::unique_ptr<Surface> surface) {
  const int handle = storeIn(surfaceTable(), std::move(surface), "Invalid surface pointer");
  if (handle > 0 && !keepTrimmedInStep(handle)) {
    surfaceTable().erase(handle);
    throw std::bad_alloc();
  }
  return handle;
}

int storeCurveOnSurface(std::unique_ptr<CurveOnSurface> curve) {
  return storeIn(curveOnSurfaceTable(), std::move(curve), "Invalid CurveOnSurface pointer");
}

int& getNextSurfaceId() { return g_next_surface_id; }

bool isValidCurveId(int handle) { return curveTable().contains(handle); }
bool isValidSurfaceId(int handle) { return surfaceTable().contains(handle); }
bool isValidCurveOnSurfaceId(int handle) { return curveOnSurfaceTable().contains(handle); }
bool isValidPointId(int handle) { return pointTable().contains(handle); }

template <class T>
T* getCurveAs(int handle) {
  return curveTable().findAs<T>(handle);
}
template <class T>
T* getSurfaceAs(int handle) {
  return surfaceTable().findAs<T>(handle);
}
template <class T>
T* getCurveOnSurfaceAs(int handle) {
  return curveOnSurfaceTable().findAs<T>(handle);
}

template MORVEL_API tg::Curve* getCurveAs<tg::Curve>(int);
template MORVEL_API tg::ParametricCurve* getCurveAs<tg::ParametricCurve>(int);
template MORVEL_API tg::SplineCurve* getCurveAs<tg::SplineCurve>(int);
template MORVEL_API tg::BSplineCurve* getCurveAs<tg::BSplineCurve>(int);
template MORVEL_API tg::NurbsCurve* getCurveAs<tg::NurbsCurve>(int);
template MORVEL_API tg::BezierCurve* getCurveAs<tg::BezierCurve>(int);
template MORVEL_API tg::AnalyticCurve* getCurveAs<tg::AnalyticCurve>(int);
template MORVEL_API tg::LineCurve* getCurveAs<tg::LineCurve>(int);
template MORVEL_API tg::CircleCurve* getCurveAs<tg::CircleCurve>(int);
template MORVEL_API tg::EllipseCurve* getCurveAs<tg::EllipseCurve>(int);
template MORVEL_API tg::OffsetCurve* getCurveAs<tg::OffsetCurve>(int);
template MORVEL_API tg::CurveOnSurface* getCurveAs<tg::CurveOnSurface>(int);

template MORVEL_API tg::Curve* getCurveOnSurfaceAs<tg::Curve>(int);
template MORVEL_API tg::CurveOnSurface* getCurveOnSurfaceAs<tg::CurveOnSurface>(int);

template MORVEL_API tg::Surface* getSurfaceAs<tg::Surface>(int);
template MORVEL_API tg::ParametricSurface* getSurfaceAs<tg::ParametricSurface>(int);
template MORVEL_API tg::SplineSurface* getSurfaceAs<tg::SplineSurface>(int);
template MORVEL_API tg::BSplineSurface* getSurfaceAs<tg::BSplineSurface>(int);
template MORVEL_API tg::NurbsSurface* getSurfaceAs<tg::NurbsSurface>(int);
template MORVEL_API tg::BezierSurface* getSurfaceAs<tg::BezierSurface>(int);
template MORVEL_API tg::AnalyticSurface* getSurfaceAs<tg::AnalyticSurface>(int);
template MORVEL_API tg::PlaneSurface* getSurfaceAs<tg::PlaneSurface>(int);
template MORVEL_API tg::SphereSurface* getSurfaceAs<tg::SphereSurface>(int);
template MORVEL_API tg::CylinderSurface* getSurfaceAs<tg::CylinderSurface>(int);
template MORVEL_API tg::ConeSurface* getSurfaceAs<tg::ConeSurface>(int);
template MORVEL_API tg::TorusSurface* getSurfaceAs<tg::TorusSurface>(int);
template MORVEL_API tg::ExtrudeSurface* getSurfaceAs<tg::ExtrudeSurface>(int);
template MORVEL_API tg::RevolveSurface* getSurfaceAs<tg::RevolveSurface>(int);
template MORVEL_API tg::RuledSurface* getSurfaceAs<tg::RuledSurface>(int);
template MORVEL_API tg::LoftSurface* getSurfaceAs<tg::LoftSurface>(int);
template MORVEL_API tg::PathGuidedSweepSurface* getSurfaceAs<tg::PathGuidedSweepSurface>(int);
template MORVEL_API tg::PipeSurface* getSurfaceAs<tg::PipeSurface>(int);
template MORVEL_API tg::trimmed_surface::TrimmedSurface*
getSurfaceAs<tg::trimmed_surface::TrimmedSurface>(int);
template MORVEL_API tg::trimmed_surface::RectangularTrimmedSurface*
getSurfaceAs<tg::trimmed_surface::RectangularTrimmedSurface>(int);
template MORVEL_API tg::trimmed_surface::WireTrimmedSurface*
getSurfaceAs<tg::trimmed_surface::WireTrimmedSurface>(int);

void logSurfaceOperation(const char* operation, int handle) {
  trova::foundation::status::debug("surface operation: ", operation, " ", handle);
}

}  // namespace trova_internal

int get_registry_generation(int kind) {
  using namespace trova_internal;
  switch (kind) {
    case MORVEL_CURVES:
      return registryGenerations.curves;
    case MORVEL_SURFACES:
      return registryGenerations.surfaces;
    case MORVEL_POINTS:
      return registryGenerations.points;
    case MORVEL_CURVES_ON_SURFACES:
      return registryGenerations.curvesOnSurfaces;
    default:
      return refuse(kBadArgument, "Kind of registry must be 0, 1, 2 or 3");
  }
}
