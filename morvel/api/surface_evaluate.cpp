// Points, normals and derivatives of surfaces.

#include <algorithm>
#include <cmath>

#include "morvel/api/c/surface_query.h"
#include "morvel/api/copy_arrays.h"
#include "morvel/api/internal/finite_results.h"
#include "morvel/api/internal/refusals.h"
#include "morvel/api/internal/surface_lookup.h"

using namespace trova_internal;
namespace tg = trova::geometry;
using trova::foundation::Point3D;
using trova::foundation::Vector3D;

namespace {

constexpr double kDifferenceStep = 1e-6;  // parameter units
constexpr int kEvaluated = 1;
constexpr int kNotEvaluated = 0;
constexpr const char* kParametersNotFinite = "Parameters u and v must be finite";

/// work(surface) as a point or vector by value; zero, with a text, where there is none.
template <class Work>
MorvelPoint3D valueAt(int handle, double u, double v, Work work) {
  double value[kDoublesPerPoint] = {};
  if (!std::isfinite(u) || !std::isfinite(v)) {
    refuse(kBadArgument, kParametersNotFinite);
    return {};
  }
  withSurface(handle, kNotFound, [&](const Surface& surface) {
    writeTriple(finiteResult(work(surface)), value);
    return kSuccess;
  });
  return {value[0], value[1], value[2]};
}

/// The refusals of get_surface_second_derivatives that concern its surface, in their order: the
/// text of the first that holds and its code.
CodeText faultOf(int handle) {
  if (surfaceTable().count() == 0) return {kNotFound, "Surface registry is empty"};
  if (!isValidSurfaceId(handle)) return {kNotFound, "Surface handle not found"};
  const Surface* surface = findSurface(handle);
  if (!surface) return {kNotFound, "Null surface in registry"};
  if (!surface->isValid()) return {kExceptionCaught, "Invalid surface state"};
  return {kSuccess, {}};
}

struct Tangents {
  Vector3D u;
  Vector3D v;
};

/// Difference quotient of the points at t - step and t + step, both kept in [0, 1].
template <class PointAt>
Vector3D centralDifference(double t, PointAt pointAt) {
  const double before = std::max(0.0, t - kDifferenceStep);
  const double behind = std::min(1.0, t + kDifferenceStep);
  return (pointAt(behind) - pointAt(before)) / (behind - before);
}

Tangents differencesAt(const Surface& surface, double u, double v) {
  return {centralDifference(u, [&](double t) { return surface.evaluate(t, v); }),
          centralDifference(v, [&](double t) { return surface.evaluate(u, t); })};
}

/// The surface's own tangents; differences where it cannot give them.
Tangents tangentsAt(const Surface& surface, double u, double v) {
  Tangents tangents;
  const bool given = guarded(false, kNoMessage, [&] {
    tangents = {surface.getTangentU(u, v), surface.getTangentV(u, v)};
    return true;
  });
  return given ? tangents : differencesAt(surface, u, v);
}

}  // namespace

MorvelPoint3D evaluate_surface_at_parameter(int surface, double u, double v) {
  return valueAt(surface, u, v, [&](const Surface& found) { return found.evaluate(u, v); });
}

MorvelPoint3D get_surface_normal_at_parameter(int surface, double u, double v) {
  return valueAt(surface, u, v, [&](const Surface& found) { return found.getNormal(u, v); });
}

int get_surface_normal_at_center(int surface, double* normal) {
  if (!normal) return refuseIn(__func__, "normal must not be null");
  return withSurface(surface, kNotFound, [&](const Surface& found) {
    const tg::ParameterDomain domain = found.getParameterDomain();
    const double u = (domain.uMin + domain.uMax) / 2.0;
    const double v = (domain.vMin + domain.vMax) / 2.0;
    writeTriple(finiteResult(found.getNormal(u, v)), normal);
    return kSuccess;
  });
}

int get_surface_first_derivatives(int surface, double u, double v, double* su, double* sv) {
  if (anyNull(su, sv)) return refuse(kBadArgument, "Invalid output arrays for derivatives");
  if (!std::isfinite(u) || !std::isfinite(v)) return refuse(kBadArgument, kParametersNotFinite);
  return withSurface(surface, kNotFound, [&](const Surface& found) {
    const tg::SurfaceEvaluation at = found.evaluateDerivatives(u, v, 1);
    if (!at.Su.isFinite() || !at.Sv.isFinite())
      return refuse(kExceptionCaught, "Derivative evaluation failed");
    writeTriple(at.Su, su);
    writeTriple(at.Sv, sv);
    return kSuccess;
  });
}

int get_surface_second_derivatives(int surface, double u, double v, double* suu, double* suv,
                                   double* svv) {
  return guarded(kExceptionCaught, kOwnMessage, [&] {
    if (anyNull(suu, suv, svv))
      return refuse(kBadArgument, "Invalid output arrays for second derivatives");
    if (!std::isfinite(u) || !std::isfinite(v)) return refuse(kBadArgument, kParametersNotFinite);
    const CodeText fault = faultOf(surface);
    if (fault.code != kSuccess) return refuse(fault.code, fault.text);
    const tg::SurfaceEvaluation at = findSurface(surface)->evaluateDerivatives(u, v, 2);
    if (!at.Suu.isFinite() || !at.Suv.isFinite() || !at.Svv.isFinite())
      return refuse(kExceptionCaught, "Surface evaluation returned invalid result");
    writeTriple(at.Suu, suu);
    writeTriple(at.Suv, suv);
    writeTriple(at.Svv, svv);
    return kSuccess;
  });
}

int evaluate_surface_derivatives_at_uv(int surface, double u, double v, double* point, double* du,
                                       double* dv) {
  const char* function = __func__;
  return guarded(kNotEvaluated, kOwnMessage, [&] {
    if (anyNull(point, du, dv))
      return refuseIn(function, "outputs must not be null", kNotEvaluated);
    if (!std::isfinite(u) || !std::isfinite(v)) return refuse(kNotEvaluated, kParametersNotFinite);
    const Surface* found = findSurface(surface);
    if (!found) return refuse(kNotEvaluated, kInvalidSurfaceHandle);
    const double clampedU = std::clamp(u, 0.0, 1.0);
    const double clampedV = std::clamp(v, 0.0, 1.0);
    const Point3D at = finiteResult(found->evaluate(clampedU, clampedV));
    const Tangents tangents = tangentsAt(*found, clampedU, clampedV);
    requireFiniteResult(tangents.u.isFinite() && tangents.v.isFinite());
    writeTriple(at, point);
    writeTriple(tangents.u, du);
    writeTriple(tangents.v, dv);
    return kEvaluated;
  });
}
