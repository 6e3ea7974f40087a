#include "morvel/surfaces/plane_surface.h"

#include <stdexcept>

#include "morvel/surfaces/axis_frame.h"
#include "morvel/surfaces/bspline_surface.h"
#include "morvel/surfaces/to_nurbs.h"

namespace trova::geometry {
namespace {

/// Directions whose cross product is not longer than this span no plane (radians).
constexpr double kMinAngle = 1e-12;

Vector3D directionOrZero(const Vector3D& v) {
  return Vector3D(Eigen::Vector3d(v.eigen().stableNormalized()));
}

}  // namespace

PlaneSurface::PlaneSurface(const Point3D& origin, const Vector3D& uDirection,
                           const Vector3D& vDirection, double uExtent, double vExtent)
    : origin_(requireFinite(origin, "Plane origin")),
      uDirection_(directionOrZero(uDirection)),
      vDirection_(directionOrZero(vDirection)),
      uExtent_(requireFinite(uExtent, "Plane extent")),
      vExtent_(requireFinite(vExtent, "Plane extent")) {
  if (!uDirection.isFinite() || !vDirection.isFinite())
    throw std::invalid_argument("Plane directions must be finite");
}

PlaneSurface::PlaneSurface(foundation::AsStored, const Point3D& origin, const Vector3D& uDirection,
                           const Vector3D& vDirection, double uExtent, double vExtent)
    : PlaneSurface(origin, uDirection, vDirection, uExtent, vExtent) {
  uDirection_ = foundation::requireUnitOrZero(uDirection, "Direction of a plane");
  vDirection_ = foundation::requireUnitOrZero(vDirection, "Direction of a plane");
}

bool PlaneSurface::isValid() const {
  return uExtent_ > 0.0 && vExtent_ > 0.0 && uDirection_.cross(vDirection_).magnitude() > kMinAngle;
}

Point3D PlaneSurface::naturalPoint(double s, double t) const {
  return origin_ + uDirection_ * (s * uExtent_) + vDirection_ * (t * vExtent_);
}

void PlaneSurface::naturalDerivatives(double s, double t, int order, SurfaceEvaluation& out) const {
  out.point = naturalPoint(s, t);
  if (order < 1) return;
  out.Su = uDirection_ * uExtent_;
  out.Sv = vDirection_ * vExtent_;
}

BoundingBox PlaneSurface::getBoundingBox() const {
  BoundingBox box;
  for (const double u : {0.0, 1.0}) {
    for (const double v : {0.0, 1.0})
      box.addPoint(evaluate(u, v));
  }
  return box;
}

std::unique_ptr<Surface> PlaneSurface::transform(const Transform3D& matrix) const {
  auto copy = freshCopy();
  copy->applyTransformToGeometry(matrix);
  return copy;
}

void PlaneSurface::applyTransformToGeometry(const Transform3D& matrix) {
  requireFinite(matrix);
  const Vector3D uSide = matrix.transform(uDirection_ * uExtent_);
  const Vector3D vSide = matrix.transform(vDirection_ * vExtent_);
  origin_ = matrix.transform(origin_);
  uDirection_ = directionOrZero(uSide);
  vDirection_ = directionOrZero(vSide);
  uExtent_ = uSide.eigen().stableNorm();
  vExtent_ = vSide.eigen().stableNorm();
}

std::shared_ptr<BSplineSurface> PlaneSurface::toNurbs(double) const {
  if (!isValid()) throw ToNurbsInvalidSurfaceException(getTypeIdentifier());
  ControlNet corners(2, 2);
  for (int i = 0; i < 2; ++i) {
    for (int j = 0; j < 2; ++j)
      corners(i, j) = evaluate(i, j);
  }
  return BSplineSurface::createClamped(std::move(corners), 1, 1);
}

}  // namespace trova::geometry
