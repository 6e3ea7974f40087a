#include "morvel/surfaces/revolve_surface.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace trova::geometry {
namespace {

constexpr double kTurn = 2.0 * std::numbers::pi;
constexpr double kFullTurnTolerance = 1e-6;  // radians
constexpr int kCountAlongProfile = 16;
constexpr int kCountAround = 32;
constexpr int kCorners = 8;

Point3D cornerOf(const BoundingBox& box, int corner) {
  return {(corner & 1) ? box.max.x() : box.min.x(), (corner & 2) ? box.max.y() : box.min.y(),
          (corner & 4) ? box.max.z() : box.min.z()};
}

}  // namespace

RevolveSurface::RevolveSurface(const std::shared_ptr<const Curve>& profile,
                               const Point3D& axisPoint, const Vector3D& axisDirection,
                               double startAngle, double endAngle)
    : profile_(profile, "Revolve profile"),
      axisPoint_(requireFinite(axisPoint, "Revolve axis point")),
      axis_(requireDirection(axisDirection, "Revolve axis")),
      startAngle_(requireFinite(startAngle, "Revolve angle")),
      endAngle_(requireFinite(endAngle, "Revolve angle")) {}

RevolveSurface::RevolveSurface(foundation::AsStored, const std::shared_ptr<const Curve>& profile,
                               const Point3D& axisPoint, const Vector3D& unitAxis,
                               double startAngle, double endAngle)
    : RevolveSurface(profile, axisPoint, unitAxis, startAngle, endAngle) {
  axis_ = foundation::requireUnit(unitAxis, "Revolve axis");
}

bool RevolveSurface::isFullTurn() const {
  return std::abs(endAngle_ - startAngle_ - kTurn) < kFullTurnTolerance;
}

bool RevolveSurface::isClosed() const {
  if (!isFullTurn() || !parameterWindow().s().isFull() || !parameterWindow().t().isFull())
    return false;
  const double limit = ToleranceContext().getGeometricTolerance();
  return profile_.curve().isClosed() || (distanceToAxis(profile_.point(0.0)) <= limit &&
                                         distanceToAxis(profile_.point(1.0)) <= limit);
}

double RevolveSurface::distanceToAxis(const Point3D& point) const {
  const Vector3D arm = point - axisPoint_;
  return (arm - alongAxis(arm)).magnitude();
}

double RevolveSurface::turnsAt(double t) const {
  return std::lerp(startAngle_ / kTurn, endAngle_ / kTurn, t);
}

Point3D RevolveSurface::localPoint(double s, double t) const {
  const CirclePoint turn = CirclePoint::atTurns(turnsAt(t));
  const Vector3D arm = profile_.point(s) - axisPoint_;
  const Vector3D along = alongAxis(arm);
  return axisPoint_ + along + (arm - along) * turn.cosine + axis_.cross(arm) * turn.sine;
}

void RevolveSurface::localDerivatives(double s, double t, int order, SurfaceEvaluation& out) const {
  const CirclePoint turn = CirclePoint::atTurns(turnsAt(t));
  const CurveJet jet = profile_.jet(s, order);
  // A vector turned, and its first and second derivative by the angle.
  const auto turned = [&](const Vector3D& v) {
    const Vector3D along = alongAxis(v);
    return along + (v - along) * turn.cosine + axis_.cross(v) * turn.sine;
  };
  const auto turning = [&](const Vector3D& v) {
    return (v - alongAxis(v)) * -turn.sine + axis_.cross(v) * turn.cosine;
  };
  const Vector3D arm = jet.point - axisPoint_;
  const double rate = endAngle_ - startAngle_;
  out.point = axisPoint_ + turned(arm);
  if (order < 1) return;
  out.Su = turned(jet.derivatives[0]);
  out.Sv = turning(arm) * rate;
  if (order < 2) return;
  out.Suu = turned(jet.derivatives[1]);
  out.Suv = turning(jet.derivatives[0]) * rate;
  out.Svv = (alongAxis(arm) - turned(arm)) * (rate * rate);
}

// Every corner of the profile's box draws an arc; at each angle the profile lies within the
// corners.
BoundingBox RevolveSurface::localBox() const {
  const BoundingBox profile = profile_.curve().getBoundingBox();
  BoundingBox box;
  for (int corner = 0; corner < kCorners && !profile.isEmpty(); ++corner) {
    const Vector3D arm = cornerOf(profile, corner) - axisPoint_;
    const Vector3D along = alongAxis(arm);
    const Vector3D out = arm - along;
    const Vector3D side = axis_.cross(arm);
    Point3D low = axisPoint_ + along;
    Point3D high = low;
    for (int k = 0; k < 3; ++k) {
      const ValueRange range =
          sinusoidRange(out[k], side[k], startAngle_ / kTurn, endAngle_ / kTurn);
      low[k] += range.low;
      high[k] += range.high;
    }
    box.addBoundingBox({low, high});
  }
  return box;
}

std::pair<int, int> RevolveSurface::naturalNurbsCounts() const {
  return {kCountAlongProfile, kCountAround};
}

}  // namespace trova::geometry
