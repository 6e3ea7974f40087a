#include "morvel/api/internal/spline_form.h"

#include <stdexcept>

#include "morvel/surfaces/loft_surface.h"
#include "morvel/surfaces/ruled_surface.h"

namespace trova_internal {

namespace tg = trova::geometry;

std::unique_ptr<tg::BSplineSurface> splineFormOf(const Surface& surface) {
  if (const auto* spline = dynamic_cast<const tg::BSplineSurface*>(&surface))
    return std::make_unique<tg::BSplineSurface>(*spline);
  if (const auto* loft = dynamic_cast<const tg::LoftSurface*>(&surface)) return loft->toBSpline();
  if (const auto* ruled = dynamic_cast<const tg::RuledSurface*>(&surface))
    return ruled->toBSpline();
  return std::make_unique<tg::BSplineSurface>(*surface.toNurbs());
}

KnotRange storedRange(const tg::BSplineSurface& surface, Direction direction) {
  if (!surface.isValid()) throw std::invalid_argument("B-spline surface is not valid");
  const bool isU = direction == Direction::U;
  const std::vector<double>& knots = isU ? surface.getUKnotVector() : surface.getVKnotVector();
  const int degree = isU ? surface.getUDegree() : surface.getVDegree();
  const int count = isU ? surface.getUControlPointCount() : surface.getVControlPointCount();
  return {knots[degree], knots[count]};
}

}  // namespace trova_internal
