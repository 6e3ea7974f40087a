#include "morvel/nsided/internal/neighbour_surface.h"

#include "morvel/surfaces/nurbs_surface.h"

namespace trova::geometry::internal {
namespace {

constexpr double kFlatShare = 1e-9;  // |Su x Sv| over |Su| |Sv| below which there is no normal

}  // namespace

SurfaceEvaluation neighbourAt(const CurveOnSurface& curve, double t) {
  const foundation::Point2D at = curve.getUVCoordinates(t);
  const Surface& surface = *curve.getBaseSurface();
  if (const auto* rational = dynamic_cast<const NurbsSurface*>(&surface))
    return rational->evaluateRationalDerivatives(at.x(), at.y(), 2);
  return surface.evaluateDerivatives(at.x(), at.y(), 2);
}

Vector3D trueNormal(const SurfaceEvaluation& at) {
  const Vector3D cross = at.Su.cross(at.Sv);
  const double length = cross.magnitude();
  return length > kFlatShare * at.Su.magnitude() * at.Sv.magnitude() ? cross / length : Vector3D();
}

double normalBend(const SurfaceEvaluation& at, const Vector3D& direction) {
  const Vector3D n = trueNormal(at);
  const double e = at.Su.dot(at.Su);
  const double f = at.Su.dot(at.Sv);
  const double g = at.Sv.dot(at.Sv);
  const double determinant = e * g - f * f;
  if (n.squaredMagnitude() == 0.0 || !(determinant > 0.0)) return 0.0;
  const double p = at.Su.dot(direction);
  const double q = at.Sv.dot(direction);
  const double a = (g * p - f * q) / determinant;
  const double b = (e * q - f * p) / determinant;
  return n.dot(at.Suu * (a * a) + at.Suv * (2.0 * a * b) + at.Svv * (b * b));
}

}  // namespace trova::geometry::internal
