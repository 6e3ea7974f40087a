#include "morvel/surfaces/extrude_surface.h"

#include "morvel/surfaces/bspline_surface.h"
#include "morvel/surfaces/internal/section_spline.h"

namespace trova::geometry {
namespace {

constexpr int kCountAlongProfile = 16;

}  // namespace

ExtrudeSurface::ExtrudeSurface(const std::shared_ptr<const Curve>& profile,
                               const Vector3D& direction, double distance)
    : profile_(profile, "Extrude profile"),
      direction_(requireDirection(direction, "Extrude direction")),
      distance_(requireFinite(distance, "Extrude distance")) {}

ExtrudeSurface::ExtrudeSurface(foundation::AsStored, const std::shared_ptr<const Curve>& profile,
                               const Vector3D& unitDirection, double distance)
    : ExtrudeSurface(profile, unitDirection, distance) {
  direction_ = foundation::requireUnit(unitDirection, "Extrude direction");
}

Point3D ExtrudeSurface::localPoint(double s, double t) const {
  return profile_.point(s) + direction_ * (distance_ * t);
}

void ExtrudeSurface::localDerivatives(double s, double t, int order, SurfaceEvaluation& out) const {
  const CurveJet jet = profile_.jet(s, order);
  out.point = jet.point + direction_ * (distance_ * t);
  if (order < 1) return;
  out.Su = jet.derivatives[0];
  out.Sv = direction_ * distance_;
  if (order < 2) return;
  out.Suu = jet.derivatives[1];
}

BoundingBox ExtrudeSurface::localBox() const {
  BoundingBox box = profile_.curve().getBoundingBox();
  if (box.isEmpty()) return box;
  const Vector3D shift = direction_ * distance_;
  box.addBoundingBox({box.min + shift, box.max + shift});
  return box;
}

std::pair<int, int> ExtrudeSurface::naturalNurbsCounts() const { return {kCountAlongProfile, 2}; }

std::shared_ptr<BSplineSurface> ExtrudeSurface::toNurbs(double tolerance) const {
  const Transform3D shift = Transform3D::translation(direction_ * distance_);
  return internal::surfaceThroughSections(
      *this, {{&profile_, getPlacement()}, {&profile_, getPlacement().compose(shift)}}, {},
      parameterWindow(), tolerance);
}

}  // namespace trova::geometry
