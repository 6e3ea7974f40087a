#include "morvel/surfaces/cylinder_surface.h"

#include <algorithm>
#include <numbers>

#include "morvel/surfaces/internal/round_box.h"

namespace trova::geometry {
namespace {

constexpr double kTurn = 2.0 * std::numbers::pi;
constexpr int kCountAround = 32;
constexpr int kCountAlong = 4;

}  // namespace

CylinderSurface::CylinderSurface(const Point3D& baseCenter, const Vector3D& axis, double radius,
                                 double height)
    : CylinderSurface(AxisFrame::aboutAxis(baseCenter, axis), radius, height) {}

CylinderSurface::CylinderSurface(const AxisFrame& frame, double radius, double height)
    : RoundSurface(requireFrame(frame)),
      radius_(requireFinite(radius, "Cylinder radius")),
      height_(requireFinite(height, "Cylinder height")) {}

Point3D CylinderSurface::naturalPoint(double s, double t) const {
  const CirclePoint around = CirclePoint::atTurns(s);
  return getFrame().place(radius_ * around.cosine, radius_ * around.sine, height_ * t);
}

void CylinderSurface::naturalDerivatives(double s, double t, int order,
                                         SurfaceEvaluation& out) const {
  out.point = naturalPoint(s, t);
  if (order < 1) return;
  const CirclePoint around = CirclePoint::atTurns(s);
  out.Su = getFrame().direction(-around.sine, around.cosine, 0.0) * (radius_ * kTurn);
  out.Sv = getAxis() * height_;
  if (order < 2) return;
  out.Suu = getFrame().direction(-around.cosine, -around.sine, 0.0) * (radius_ * kTurn * kTurn);
}

BoundingBox CylinderSurface::getBoundingBox() const {
  const ParameterWindow& window = parameterWindow();
  return internal::roundBox(getFrame(), window.s(), [&](const ValueRange& ring, double alongAxis) {
    const double rise = height_ * alongAxis;
    const auto [low, high] = std::minmax({rise * window.t().from, rise * window.t().to});
    return ValueRange{radius_ * ring.low + low, radius_ * ring.high + high};
  });
}

std::pair<int, int> CylinderSurface::naturalNurbsCounts() const {
  return {kCountAround, kCountAlong};
}

void CylinderSurface::scaleSizes(double factor) {
  radius_ *= factor;
  height_ *= factor;
}

}  // namespace trova::geometry
