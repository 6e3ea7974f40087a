#include "morvel/surfaces/cone_surface.h"

#include <algorithm>
#include <numbers>

#include "morvel/surfaces/internal/round_box.h"

namespace trova::geometry {
namespace {

constexpr double kTurn = 2.0 * std::numbers::pi;
constexpr int kCountAround = 32;
constexpr int kCountAlong = 4;

}  // namespace

ConeSurface::ConeSurface(const Point3D& baseCenter, const Vector3D& axis, double baseRadius,
                         double height)
    : ConeSurface(AxisFrame::aboutAxis(baseCenter, axis), baseRadius, height) {}

ConeSurface::ConeSurface(const AxisFrame& frame, double baseRadius, double height)
    : RoundSurface(requireFrame(frame)),
      baseRadius_(requireFinite(baseRadius, "Cone base radius")),
      height_(requireFinite(height, "Cone height")) {}

Point3D ConeSurface::naturalPoint(double s, double t) const {
  const CirclePoint around = CirclePoint::atTurns(s);
  const double ring = baseRadius_ * (1.0 - t);
  return getFrame().place(ring * around.cosine, ring * around.sine, height_ * t);
}

void ConeSurface::naturalDerivatives(double s, double t, int order, SurfaceEvaluation& out) const {
  out.point = naturalPoint(s, t);
  if (order < 1) return;
  const CirclePoint around = CirclePoint::atTurns(s);
  const Vector3D outward = getFrame().direction(around.cosine, around.sine, 0.0);
  const Vector3D sideways = getFrame().direction(-around.sine, around.cosine, 0.0);
  const double ring = baseRadius_ * (1.0 - t);
  out.Su = sideways * (ring * kTurn);
  out.Sv = getAxis() * height_ - outward * baseRadius_;
  if (order < 2) return;
  out.Suu = outward * (-ring * kTurn * kTurn);
  out.Suv = sideways * (-baseRadius_ * kTurn);
}

BoundingBox ConeSurface::getBoundingBox() const {
  const ParameterWindow& window = parameterWindow();
  return internal::roundBox(getFrame(), window.s(), [&](const ValueRange& ring, double alongAxis) {
    // Linear along t: the extremes are at its ends.
    const auto coordinate = [&](double factor, double t) {
      return baseRadius_ * (1.0 - t) * factor + height_ * t * alongAxis;
    };
    const ParameterStretch& t = window.t();
    return ValueRange{std::min(coordinate(ring.low, t.from), coordinate(ring.low, t.to)),
                      std::max(coordinate(ring.high, t.from), coordinate(ring.high, t.to))};
  });
}

std::pair<int, int> ConeSurface::naturalNurbsCounts() const { return {kCountAround, kCountAlong}; }

void ConeSurface::scaleSizes(double factor) {
  baseRadius_ *= factor;
  height_ *= factor;
}

}  // namespace trova::geometry
