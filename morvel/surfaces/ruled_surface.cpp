#include "morvel/surfaces/ruled_surface.h"

#include "morvel/surfaces/bspline_surface.h"
#include "morvel/surfaces/internal/section_spline.h"

namespace trova::geometry {
namespace {

constexpr int kCountAlongCurves = 16;

Point3D between(const Point3D& a, const Point3D& b, double t) { return a * (1.0 - t) + b * t; }
Vector3D between(const Vector3D& a, const Vector3D& b, double t) { return a * (1.0 - t) + b * t; }

}  // namespace

RuledSurface::RuledSurface(const std::shared_ptr<const Curve>& first,
                           const std::shared_ptr<const Curve>& second)
    : first_(first, "Ruled surface curve"), second_(second, "Ruled surface curve") {}

Point3D RuledSurface::localPoint(double s, double t) const {
  return between(first_.point(s), second_.point(s), t);
}

void RuledSurface::localDerivatives(double s, double t, int order, SurfaceEvaluation& out) const {
  const CurveJet a = first_.jet(s, order);
  const CurveJet b = second_.jet(s, order);
  out.point = between(a.point, b.point, t);
  if (order < 1) return;
  out.Su = between(a.derivatives[0], b.derivatives[0], t);
  out.Sv = b.point - a.point;
  if (order < 2) return;
  out.Suu = between(a.derivatives[1], b.derivatives[1], t);
  out.Suv = b.derivatives[0] - a.derivatives[0];
}

BoundingBox RuledSurface::localBox() const {
  BoundingBox box = first_.curve().getBoundingBox();
  box.addBoundingBox(second_.curve().getBoundingBox());
  return box;
}

bool RuledSurface::isNaturallyPeriodicS() const {
  return first_.curve().isPeriodic() && second_.curve().isPeriodic();
}

std::pair<int, int> RuledSurface::naturalNurbsCounts() const { return {kCountAlongCurves, 2}; }

std::shared_ptr<BSplineSurface> RuledSurface::toNurbs(double tolerance) const {
  return internal::surfaceThroughSections(*this,
                                          {{&first_, getPlacement()}, {&second_, getPlacement()}},
                                          {}, parameterWindow(), tolerance);
}

std::unique_ptr<BSplineSurface> RuledSurface::toBSpline() const {
  return std::make_unique<BSplineSurface>(*toNurbs());
}

}  // namespace trova::geometry
