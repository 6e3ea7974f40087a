#include "morvel/api/internal/finite_results.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "morvel/api/registries.h"
#include "morvel/curves/parametric_curve.h"
#include "morvel/surfaces/parametric_surface.h"

namespace trova_internal {

void requireFiniteResult(bool isFinite) {
  if (!isFinite) throw std::runtime_error("Result is not finite");
}

bool isFiniteCurve(const Curve& curve) {
  const auto isFinite = [](const trova::foundation::Point3D& point) { return point.isFinite(); };
  if (const auto* parametric = dynamic_cast<const ParametricCurve*>(&curve))
    return std::ranges::all_of(parametric->getControlPoints(), isFinite);
  const auto [start, end] = curve.getParameterInterval();
  return isFinite(curve.evaluate(start)) && isFinite(curve.evaluate(end)) &&
         isFinite(curve.evaluate(start + (end - start) / 2.0));
}

bool isFiniteSurface(const Surface& surface) {
  if (const auto* parametric = dynamic_cast<const ParametricSurface*>(&surface))
    return parametric->controlNet().isFinite();
  const auto [uMin, uMax, vMin, vMax] = surface.getParameterDomain();
  const double u = uMin + (uMax - uMin) / 2.0, v = vMin + (vMax - vMin) / 2.0;
  return surface.evaluate(uMin, vMin).isFinite() && surface.evaluate(uMax, vMin).isFinite() &&
         surface.evaluate(uMin, vMax).isFinite() && surface.evaluate(uMax, vMax).isFinite() &&
         surface.evaluate(u, v).isFinite();
}

int storeFinite(std::unique_ptr<Curve> curve) {
  requireFiniteResult(!curve || isFiniteCurve(*curve));
  return storeCurve(std::move(curve));
}

}  // namespace trova_internal
