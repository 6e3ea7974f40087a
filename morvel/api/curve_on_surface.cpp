// Curves on surfaces by handle.

#include "morvel/surfaces/curve_on_surface.h"

#include <vector>

#include "morvel/api/c/curve_on_surface.h"
#include "morvel/api/internal/batches.h"
#include "morvel/api/internal/listing.h"
#include "morvel/api/internal/surface_lookup.h"
#include "morvel/curves/curve2d.h"
#include "morvel/foundation/knot_vector.h"

using namespace trova_internal;
using trova::foundation::Point2D;
using trova::geometry::BSplineCurve2D;

namespace {

constexpr int kPair = 2;  // u v

int refuseCurve(const char* function, int handle) {
  return refuseHandle(function, "curve on surface", handle);
}

/// work(curve) in the guard; -3 where there is none.
template <class Work>
int onCurveOnSurface(const char* function, int handle, Work&& work) {
  return guarded(kExceptionCaught, {}, [&]() -> int {
    const auto* curve = curveOnSurfaceTable().findAs<CurveOnSurface>(handle);
    return curve ? work(*curve) : refuseCurve(function, handle);
  });
}

/// evaluate(curve, t, result) for each parameter.
template <class Evaluate>
int forEachParameter(const char* function, int handle, const Batch& batch, Evaluate evaluate) {
  if (const int refused = batch.check(function)) return refused;
  return onCurveOnSurface(function, handle, [&](const CurveOnSurface& curve) {
    batch.oneByOne([&](const double* t, double* result) { evaluate(curve, *t, result); });
    return kSuccess;
  });
}

/// The same for one parameter; the result is written only where it is finite.
template <int Width, class Evaluate>
int atParameter(const char* function, int handle, double t, double* out, Evaluate evaluate) {
  if (!out) return refuseIn(function, "no output may be null");
  double result[Width];
  const Batch single{&t, 1, 1, result, Width};
  const int code = forEachParameter(function, handle, single, evaluate);
  if (code == kSuccess) std::copy_n(result, Width, out);
  return code;
}

void writeUV(const CurveOnSurface& curve, double t, double* uv) {
  const Point2D at = curve.getUVCoordinates(t);
  uv[0] = at.x();
  uv[1] = at.y();
}

void writePoint(const CurveOnSurface& curve, double t, double* point) {
  writeTriple(curve.evaluate(t), point);
}

std::unique_ptr<BSplineCurve2D> clampedSpline(const double* uv, int count, int degree) {
  std::vector<Point2D> points;
  points.reserve(static_cast<std::size_t>(count));
  for (std::int64_t i = 0; i < count; ++i)
    points.emplace_back(uv[kPair * i], uv[kPair * i + 1]);
  return std::make_unique<BSplineCurve2D>(
      points, trova::foundation::nurbs::clampedUniformKnots(count, degree), degree);
}

}  // namespace

int create_curve_on_surface(int surface, const double* uv, int count, int degree) {
  if (!uv) return refuseIn(__func__, "the points are null");
  if (degree < 1) return refuseIn(__func__, "the degree must be at least 1");
  if (count <= degree)
    return refuse(kTooFewPoints, "Insufficient control points for B-spline degree");
  if (!countsFit({count, kPair})) return refuseIn(__func__, "point count out of range");
  if (const int refused = checkFinite(__func__, uv, std::int64_t(kPair) * count)) return refused;
  return guarded(kExceptionCaught, {}, [&] {
    const auto* base = surfaceTable().find(surface);
    if (!base || !*base) return refuse(kNotFound, kInvalidSurfaceHandle);
    auto curve = std::make_unique<CurveOnSurface>(*base, clampedSpline(uv, count, degree));
    requireFiniteResult(isFiniteCurve(*curve));
    return storeCurveOnSurface(std::move(curve));
  });
}

int get_curve_on_surface_interval(int curveOnSurface, double* start, double* end) {
  if (anyNull(start, end)) return refuseIn(__func__, "no output may be null");
  return onCurveOnSurface(__func__, curveOnSurface, [&](const CurveOnSurface& curve) {
    const auto interval = curve.getParameterInterval();
    *start = interval.start;
    *end = interval.end;
    return kSuccess;
  });
}

int evaluate_curve_on_surface_uv(int curveOnSurface, double t, double* uv) {
  return atParameter<kPair>(__func__, curveOnSurface, t, uv, writeUV);
}

int evaluate_curve_on_surface(int curveOnSurface, double t, double* point) {
  return atParameter<kDoublesPerPoint>(__func__, curveOnSurface, t, point, writePoint);
}

int evaluate_curve_on_surface_uv_batch(int curveOnSurface, const double* t, int count, double* uv) {
  return forEachParameter(__func__, curveOnSurface, {t, count, 1, uv, kPair}, writeUV);
}

int evaluate_curve_on_surface_batch(int curveOnSurface, const double* t, int count,
                                    double* points) {
  return forEachParameter(__func__, curveOnSurface, {t, count, 1, points, kDoublesPerPoint},
                          writePoint);
}

int get_curve_on_surface_base(int curveOnSurface) {
  return onCurveOnSurface(__func__, curveOnSurface, [](const CurveOnSurface& curve) {
    for (const auto& [handle, surface] : surfaceTable().map()) {
      if (surface == curve.getBaseSurface()) return handle;
    }
    return refuse(kUnsupported, "The base surface is not registered any more");
  });
}

int get_curve_on_surface_count() { return curveOnSurfaceTable().count(); }

int get_all_curves_on_surfaces(int* out, int max) {
  return listHandles(__func__, curveOnSurfaceTable(), out, max);
}

int delete_curve_on_surface(int curveOnSurface) {
  return curveOnSurfaceTable().erase(curveOnSurface) ? kSuccess
                                                     : refuseCurve(__func__, curveOnSurface);
}
