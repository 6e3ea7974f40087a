#include "morvel/surfaces/torus_surface.h"

#include <algorithm>
#include <numbers>

#include "morvel/surfaces/internal/round_box.h"

namespace trova::geometry {
namespace {

constexpr double kTurn = 2.0 * std::numbers::pi;
constexpr int kCountAround = 32;

}  // namespace

TorusSurface::TorusSurface(const Point3D& center, const Vector3D& axis, double majorRadius,
                           double minorRadius)
    : TorusSurface(AxisFrame::aboutAxis(center, axis), majorRadius, minorRadius) {}

TorusSurface::TorusSurface(const AxisFrame& frame, double majorRadius, double minorRadius)
    : RoundSurface(requireFrame(frame)),
      majorRadius_(requireFinite(majorRadius, "Torus major radius")),
      minorRadius_(requireFinite(minorRadius, "Torus minor radius")) {}

bool TorusSurface::isClosed() const {
  return parameterWindow().s().isFull() && parameterWindow().t().isFull();
}

Point3D TorusSurface::naturalPoint(double s, double t) const {
  const CirclePoint around = CirclePoint::atTurns(s);
  const CirclePoint tube = CirclePoint::atTurns(t);
  const double ring = majorRadius_ + minorRadius_ * tube.cosine;
  return getFrame().place(ring * around.cosine, ring * around.sine, minorRadius_ * tube.sine);
}

void TorusSurface::naturalDerivatives(double s, double t, int order, SurfaceEvaluation& out) const {
  out.point = naturalPoint(s, t);
  if (order < 1) return;
  const CirclePoint around = CirclePoint::atTurns(s);
  const CirclePoint tube = CirclePoint::atTurns(t);
  const Vector3D outward = getFrame().direction(around.cosine, around.sine, 0.0);
  const Vector3D sideways = getFrame().direction(-around.sine, around.cosine, 0.0);
  const double ring = majorRadius_ + minorRadius_ * tube.cosine;
  const double ringRate = -minorRadius_ * tube.sine * kTurn;
  out.Su = sideways * (ring * kTurn);
  out.Sv = outward * ringRate + getAxis() * (minorRadius_ * tube.cosine * kTurn);
  if (order < 2) return;
  out.Suu = outward * (-ring * kTurn * kTurn);
  out.Suv = sideways * (ringRate * kTurn);
  out.Svv = (outward * tube.cosine + getAxis() * tube.sine) * (-minorRadius_ * kTurn * kTurn);
}

BoundingBox TorusSurface::getBoundingBox() const {
  const ParameterWindow& window = parameterWindow();
  return internal::roundBox(getFrame(), window.s(), [&](const ValueRange& ring, double alongAxis) {
    // On a torus through itself the ring's radius changes sign: either end of the unit ring's range
    // can then give either extreme.
    const auto coordinate = [&](double factor) {
      ValueRange range = sinusoidRange(minorRadius_ * factor, minorRadius_ * alongAxis,
                                       window.t().from, window.t().to);
      range.low += majorRadius_ * factor;
      range.high += majorRadius_ * factor;
      return range;
    };
    const ValueRange a = coordinate(ring.low);
    const ValueRange b = coordinate(ring.high);
    return ValueRange{std::min(a.low, b.low), std::max(a.high, b.high)};
  });
}

std::pair<int, int> TorusSurface::naturalNurbsCounts() const {
  return {kCountAround, kCountAround};
}

void TorusSurface::scaleSizes(double factor) {
  majorRadius_ *= factor;
  minorRadius_ *= factor;
}

}  // namespace trova::geometry
