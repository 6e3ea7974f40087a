// Operations on registered curves. Each stores its outcome as a new curve and leaves its input as
// it is.

#include <cmath>
#include <utility>

#include "morvel/api/c/curve.h"
#include "morvel/api/copy_arrays.h"
#include "morvel/api/internal/finite_results.h"
#include "morvel/api/internal/lookup.h"
#include "morvel/curves/analytic_curve.h"
#include "morvel/curves/bezier_curve.h"
#include "morvel/curves/curve_rebuild.h"
#include "morvel/curves/nurbs_curve.h"
#include "morvel/curves/spline_curve.h"
#include "morvel/foundation/tolerances.h"

using namespace trova_internal;
using namespace trova::geometry;

namespace {

/// Whether the curve runs from u0 to u1 inside its interval; a reversed ellipse runs downwards.
bool runsThrough(const ParameterInterval& interval, double u0, double u1) {
  const double sense = interval.start <= interval.end ? 1.0 : -1.0;
  return sense * interval.start <= sense * u0 && sense * u0 < sense * u1 &&
         sense * u1 <= sense * interval.end;
}

/// Stores what `make` makes of the curve.
template <class Make>
int storeFrom(const char* function, int handle, Make&& make) {
  return onCurve(function, handle, [&](const Curve& curve) { return storeFinite(make(curve)); });
}

/// Both or none; the handles go to the outputs.
int storeBoth(std::unique_ptr<Curve> first, std::unique_ptr<Curve> second, int* firstHandle,
              int* secondHandle) {
  requireFiniteResult(isFiniteCurve(*first) && isFiniteCurve(*second));
  const int stored = storeCurve(std::move(first));
  const int other = guarded(kExceptionCaught, {}, [&] { return storeCurve(std::move(second)); });
  if (other < 0) {
    curveTable().erase(stored);
    return other;
  }
  *firstHandle = stored;
  *secondHandle = other;
  return kSuccess;
}

/// Null where the type has no exact spline form.
std::unique_ptr<Curve> elevated(const Curve& curve, int times) {
  if (const auto* bezier = dynamic_cast<const BezierCurve*>(&curve))
    return bezier->elevateDegree(times);
  if (const auto* spline = dynamic_cast<const SplineCurve*>(&curve))
    return spline->elevateDegree(times);
  if (const auto* analytic = dynamic_cast<const AnalyticCurve*>(&curve))
    return analytic->toNurbs()->elevateDegree(times);
  return nullptr;
}

}  // namespace

int reverse_curve(int curve) {
  return storeFrom(__func__, curve, [](const Curve& c) { return c.reverse(); });
}

int create_curve_normal_offset(int curve, double distance, double nx, double ny, double nz) {
  if (const int refused = checkFinite(__func__, {distance, nx, ny, nz})) return refused;
  return storeFrom(__func__, curve, [&](const Curve& c) {
    return c.offset(distance, {nx, ny, nz});
  });
}

int create_curve_directional_offset(int curve, double dx, double dy, double dz, double distance) {
  if (const int refused = checkFinite(__func__, {dx, dy, dz, distance})) return refused;
  const Vector3D direction(dx, dy, dz);
  if (!(direction.magnitude() >= trova::foundation::kMinDirectionLength))
    return refuseIn(__func__, "the direction must be at least 1e-4 long");
  return storeFrom(__func__, curve, [&](const Curve& c) {
    return c.transform(Transform3D::translation(direction / direction.magnitude() * distance));
  });
}

int split_curve(int curve, double u, int* left, int* right) {
  if (anyNull(left, right)) return refuseIn(__func__, "left and right must not be null");
  if (const int refused = checkFinite(__func__, {u})) return refused;
  const char* const function = __func__;
  return onCurve(function, curve, [&](const Curve& found) {
    const ParameterInterval interval = found.getParameterInterval();
    if (!runsThrough(interval, interval.start, u) || !runsThrough(interval, u, interval.end))
      return refuseIn(function, "u must lie strictly inside the curve's interval");
    return storeBoth(found.trim(interval.start, u), found.trim(u, interval.end), left, right);
  });
}

int trim_curve(int curve, double u0, double u1) {
  if (const int refused = checkFinite(__func__, {u0, u1})) return refused;
  const char* const function = __func__;
  return onCurve(function, curve, [&](const Curve& found) {
    if (!runsThrough(found.getParameterInterval(), u0, u1))
      return refuseIn(function, "u0 and u1 must lie in the curve's interval, u0 first");
    return storeFinite(found.trim(u0, u1));
  });
}

int extend_curve(int curve, double length, int end, int mode) {
  if (const int refused = checkFinite(__func__, {length})) return refused;
  if (!(length > 0.0)) return refuseIn(__func__, "the length must be above 0");
  if (end != int(CurveEnd::Start) && end != int(CurveEnd::End))
    return refuseIn(__func__, "the end must be 0 (start) or 1 (end)");
  if (mode != int(ExtensionMode::Linear) && mode != int(ExtensionMode::Natural))
    return refuseIn(__func__, "the mode must be 0 (straight) or 1 (natural)");
  return storeFrom(__func__, curve, [&](const Curve& c) {
    return c.extend(length, static_cast<CurveEnd>(end), static_cast<ExtensionMode>(mode));
  });
}

int elevate_curve_degree(int curve, int times) {
  if (times < 1) return refuseIn(__func__, "times must be at least 1");
  const char* const function = __func__;
  return onCurve(function, curve, [&](const Curve& found) {
    std::unique_ptr<Curve> raised = elevated(found, times);
    if (!raised) return refuseIn(function, "the curve type has no exact spline form", kUnsupported);
    return storeFinite(std::move(raised));
  });
}

int transform_curve(int curve, const double* m) {
  if (!m) return refuseIn(__func__, "the matrix is null");
  if (const int refused = checkFinite(__func__, m, kMatrixEntries)) return refused;
  return storeFrom(__func__, curve, [&](const Curve& c) { return c.transform(readTransform(m)); });
}

int simplify_curve(int curve, double tolerance) {
  if (const int refused = checkFinite(__func__, {tolerance})) return refused;
  if (!(tolerance > 0.0)) return refuseIn(__func__, "the tolerance must be above 0");
  return storeFrom(__func__, curve,
                   [&](const Curve& c) { return simplifyCurve(c, tolerance, nullptr); });
}

int rebuild_curve(int curve, int count, int degree, double* maxDeviation) {
  if (degree < 1 || degree > trova::foundation::kMaxStackDegree)
    return refuseIn(__func__, "the degree must be from 1 to 29");
  if (count <= degree || count > kMaxFitControlPoints)
    return refuseIn(__func__, "the count must be from degree + 1 to 4096");
  double deviation = 0.0;
  const int handle = storeFrom(__func__, curve, [&](const Curve& c) {
    auto rebuilt = rebuildCurve(c, count, degree, &deviation);
    finiteResult(deviation);
    return rebuilt;
  });
  if (handle >= 0 && maxDeviation) *maxDeviation = deviation;
  return handle;
}
