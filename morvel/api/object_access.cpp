// Objects in and out of the registries for callers that speak C++.

#include <stdexcept>
#include <utility>

#include "morvel/api/exception_guard.h"
#include "morvel/api/internal/tables.h"
#include "morvel/curves/analytic_curve.h"
#include "morvel/curves/nurbs_curve.h"
#include "morvel/surfaces/parametric_surface.h"

using namespace trova_internal;
using trova::geometry::AnalyticCurve;

namespace {

template <class T>
std::unique_ptr<T> copyOf(const T& object) {
  std::unique_ptr<T> copy = object.clone();
  if (!copy) throw std::runtime_error("Object cannot be copied");
  return copy;
}

/// A shared pointer that owns nothing: the registry stays the owner.
template <class T>
std::shared_ptr<T> viewOf(T* object) {
  return std::shared_ptr<T>(object, [](T*) {});
}

}  // namespace

int create_curve_handle(std::shared_ptr<ParametricCurve> curve) {
  return guarded(kBadArgument, {}, [&] {
    if (!curve) throw std::invalid_argument("Invalid curve pointer");
    const int handle = curveTable().reserve();
    curveTable().storeAt(handle, copyOf<Curve>(*curve));
    return handle;
  });
}

void registerSurface(int handle, std::shared_ptr<Surface> surface) {
  guardedVoid({}, [&] {
    if (!surface) return;
    surfaceTable().storeAt(handle, copyOf(*surface));
    forgetSurfaceRecords(handle);
  });
}

Curve* get_curve_pointer_from_handle(int handle) { return getCurveAs<Curve>(handle); }

std::shared_ptr<ParametricCurve> get_curve_from_handle(int handle) {
  return guarded(std::shared_ptr<ParametricCurve>(), {}, [&] {
    if (auto* parametric = getCurveAs<ParametricCurve>(handle)) return viewOf(parametric);
    const auto* analytic = getCurveAs<AnalyticCurve>(handle);
    return std::shared_ptr<ParametricCurve>(analytic ? analytic->toNurbs() : nullptr);
  });
}

std::shared_ptr<ParametricSurface> get_surface_from_handle(int handle) {
  return guarded(std::shared_ptr<ParametricSurface>(), {}, [&] {
    auto* parametric = getSurfaceAs<ParametricSurface>(handle);
    return parametric ? viewOf(parametric) : nullptr;
  });
}

Surface* get_surface_from_registry(int handle) { return getSurfaceAs<Surface>(handle); }
