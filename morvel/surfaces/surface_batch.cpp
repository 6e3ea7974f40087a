#include "morvel/surfaces/surface_batch.h"

#include <typeinfo>

#include "morvel/surfaces/bspline_surface.h"
#include "morvel/surfaces/internal/batch_results.h"
#include "morvel/surfaces/nurbs_surface.h"

namespace trova::geometry {
namespace {

// A class derived from the spline surfaces may evaluate in its own way.
template <class Spline>
const Spline* asExactly(const Surface& surface) {
  return typeid(surface) == typeid(Spline) ? static_cast<const Spline*>(&surface) : nullptr;
}

void evaluateOne(const Surface& surface, double u, double v, int order, double* out) {
  SurfaceEvaluation at;
  if (order == 0)
    at.point = surface.evaluate(u, v);
  else
    at = surface.evaluateDerivatives(u, v, order);
  internal::writeEvaluation(at, order, out);
}

void requireOrder(int order) {
  internal::withConstantOrder(order, [](auto) {});
}

}  // namespace

void evaluateSurfaceBatch(const Surface& surface, std::span<const double> uv, int order,
                          double* out) {
  if (const auto* spline = asExactly<BSplineSurface>(surface))
    return spline->evaluateBatch(uv, order, out);
  if (const auto* rational = asExactly<NurbsSurface>(surface))
    return rational->evaluateBatch(uv, order, out);
  requireOrder(order);
  for (std::size_t k = 0; k + 1 < uv.size(); k += 2, out += batchWidth(order))
    evaluateOne(surface, uv[k], uv[k + 1], order, out);
}

void evaluateSurfaceGrid(const Surface& surface, std::span<const double> u,
                         std::span<const double> v, int order, double* out) {
  if (const auto* spline = asExactly<BSplineSurface>(surface))
    return spline->evaluateGrid(u, v, order, out);
  if (const auto* rational = asExactly<NurbsSurface>(surface))
    return rational->evaluateGrid(u, v, order, out);
  requireOrder(order);
  for (const double s : u) {
    for (const double t : v) {
      evaluateOne(surface, s, t, order, out);
      out += batchWidth(order);
    }
  }
}

void evaluateSurfaceExactBatch(const Surface& surface, std::span<const double> uv, int order,
                               double* out) {
  if (const auto* spline = dynamic_cast<const BSplineSurface*>(&surface))
    return spline->evaluateExactBatch(uv, order, out);
  if (const auto* rational = dynamic_cast<const NurbsSurface*>(&surface))
    return rational->evaluateExactBatch(uv, order, out);
  evaluateSurfaceBatch(surface, uv, order, out);
}

}  // namespace trova::geometry
