#include "morvel/surfaces/sphere_surface.h"

#include <numbers>

#include "morvel/surfaces/internal/round_box.h"

namespace trova::geometry {
namespace {

constexpr double kTurn = 2.0 * std::numbers::pi;
constexpr int kCountAround = 32;
constexpr int kCountAlong = 16;

/// The latitude at t, in turns from the equator.
double latitudeTurns(double t) { return 0.5 * (t - 0.5); }

}  // namespace

SphereSurface::SphereSurface(const Point3D& center, double radius, const Vector3D& axis)
    : SphereSurface(AxisFrame::aboutAxis(center, axis), radius) {}

SphereSurface::SphereSurface(const AxisFrame& frame, double radius)
    : RoundSurface(requireFrame(frame)), radius_(requireFinite(radius, "Sphere radius")) {}

bool SphereSurface::isClosed() const {
  return parameterWindow().s().isFull() && parameterWindow().t().isFull();
}

Point3D SphereSurface::naturalPoint(double s, double t) const {
  const CirclePoint around = CirclePoint::atTurns(s);
  const CirclePoint up = CirclePoint::atTurns(latitudeTurns(t));
  const double ring = radius_ * up.cosine;
  return getFrame().place(ring * around.cosine, ring * around.sine, radius_ * up.sine);
}

void SphereSurface::naturalDerivatives(double s, double t, int order,
                                       SurfaceEvaluation& out) const {
  out.point = naturalPoint(s, t);
  if (order < 1) return;
  const AxisFrame& frame = getFrame();
  const CirclePoint around = CirclePoint::atTurns(s);
  const CirclePoint up = CirclePoint::atTurns(latitudeTurns(t));
  const double c = around.cosine;
  const double n = around.sine;
  const double ds = kTurn;
  const double dt = 0.5 * kTurn;
  const double ring = radius_ * up.cosine;
  const double ringRate = -radius_ * up.sine * dt;
  out.Su = frame.direction(-n, c, 0.0) * (ring * ds);
  out.Sv = frame.direction(ringRate * c, ringRate * n, ring * dt);
  if (order < 2) return;
  out.Suu = frame.direction(-c, -n, 0.0) * (ring * ds * ds);
  out.Suv = frame.direction(-n, c, 0.0) * (ringRate * ds);
  out.Svv = frame.direction(ring * c, ring * n, radius_ * up.sine) * (-dt * dt);
}

BoundingBox SphereSurface::getBoundingBox() const {
  const ParameterWindow& window = parameterWindow();
  return internal::roundBox(getFrame(), window.s(), [&](const ValueRange& ring, double alongAxis) {
    // The ring factor, a cosine of latitude, is never negative: extremes of the ring stay extremes.
    const double from = latitudeTurns(window.t().from);
    const double to = latitudeTurns(window.t().to);
    const double rise = radius_ * alongAxis;
    return ValueRange{sinusoidRange(radius_ * ring.low, rise, from, to).low,
                      sinusoidRange(radius_ * ring.high, rise, from, to).high};
  });
}

std::pair<int, int> SphereSurface::naturalNurbsCounts() const {
  return {kCountAround, kCountAlong};
}

}  // namespace trova::geometry
