#include "morvel/surfaces/internal/path_frames.h"

#include <algorithm>
#include <cmath>

#include "morvel/curves/parametric_curve.h"

namespace trova::geometry::internal {
namespace {

/// Stations at which the path is looked at first: a few for every control point.
constexpr int kMinStations = 64;
constexpr int kMaxStations = 4096;
constexpr int kStationsPerControlPoint = 4;

/// A stretch on which the tangent turns by more than this (radians) is halved, at most kMaxHalvings
/// times: a kink never gets flatter.
constexpr double kMaxTurn = 0.02;
constexpr int kMaxHalvings = 8;

/// Squared lengths at or below this have no direction.
constexpr double kMinSquaredLength = 1e-60;

/// Tangents at the ends that differ by no more than this (radians) make a smooth join.
constexpr double kSmoothJoin = 1e-4;

Vector3D unitOrFallback(const Vector3D& v, const Vector3D& fallback) {
  const double squared = v.squaredMagnitude();
  if (!(squared > kMinSquaredLength) || !std::isfinite(squared)) return fallback;
  return v / std::sqrt(squared);
}

Vector3D reflected(const Vector3D& v, const Vector3D& mirrorNormal) {
  const double squared = mirrorNormal.squaredMagnitude();
  if (!(squared > kMinSquaredLength)) return v;
  return v - mirrorNormal * (2.0 * v.dot(mirrorNormal) / squared);
}

/// The normal of the next frame by two reflections: the first takes one origin to the other, the
/// second makes the tangents agree.
Vector3D carriedNormal(const Point3D& from, const Vector3D& fromTangent, const Vector3D& normal,
                       const Point3D& to, const Vector3D& toTangent) {
  Vector3D step = to - from;
  if (!(step.squaredMagnitude() > kMinSquaredLength)) step = fromTangent + toTangent;
  const Vector3D mirroredNormal = reflected(normal, step);
  const Vector3D mirroredTangent = reflected(fromTangent, step);
  const Vector3D carried = reflected(mirroredNormal, toTangent - mirroredTangent);
  return unitOrFallback(carried - toTangent * carried.dot(toTangent), normal);
}

int firstStationCount(const Curve& path) {
  const auto* polygon = dynamic_cast<const ParametricCurve*>(&path);
  if (!polygon) return kMinStations;
  const long wanted = static_cast<long>(kStationsPerControlPoint) * polygon->getControlPointCount();
  return static_cast<int>(std::clamp<long>(wanted, kMinStations, kMaxStations));
}

}  // namespace

PathFrames::PathFrames(const std::shared_ptr<const Curve>& path) : path_(path, "Path") {
  Station first = stationAt(0.0, Vector3D::unitZ());
  const Vector3D side = foundation::anyPerpendicular(first.tangent);
  first.normal = unitOrFallback(side - first.tangent * side.dot(first.tangent), side);
  stations_.push_back(first);
  const int count = firstStationCount(path_.curve());
  for (int k = 1; k <= count; ++k)
    addStations(stationAt(static_cast<double>(k) / count, stations_.back().tangent), 0);
  start_ = turned(stations_.front());
  closeTwist();
}

PathFrames::Station PathFrames::stationAt(double t, const Vector3D& fallbackTangent) const {
  const CurveJet jet = path_.jet(t, 1);
  return {t, jet.point, unitOrFallback(jet.derivatives[0], fallbackTangent), {}};
}

void PathFrames::addStations(const Station& end, int depth) {
  const Station before = stations_.back();
  const bool bends = (end.tangent - before.tangent).magnitude() > kMaxTurn;
  if (bends && depth < kMaxHalvings) {
    addStations(stationAt(0.5 * (before.t + end.t), before.tangent), depth + 1);
    addStations(end, depth + 1);
    return;
  }
  stations_.push_back(end);
  stations_.back().normal =
      carriedNormal(before.origin, before.tangent, before.normal, end.origin, end.tangent);
}

void PathFrames::closeTwist() {
  const Station& first = stations_.front();
  const Station& last = stations_.back();
  closedSmoothly_ =
      path_.curve().isClosed() && (last.tangent - first.tangent).magnitude() <= kSmoothJoin;
  if (!closedSmoothly_) return;
  twist_ = -std::atan2(start_.binormal.dot(last.normal), start_.normal.dot(last.normal));
}

const PathFrames::Station& PathFrames::stationBefore(double t) const {
  const auto after = std::upper_bound(stations_.begin(), stations_.end(), t,
                                      [](double value, const Station& s) { return value < s.t; });
  return after == stations_.begin() ? stations_.front() : *(after - 1);
}

PathFrame PathFrames::turned(const Station& station) const {
  const Vector3D binormal = station.tangent.cross(station.normal);
  const double angle = twist_ * station.t;
  const double c = std::cos(angle);
  const double s = std::sin(angle);
  return {station.origin, station.tangent, station.normal * c + binormal * s,
          binormal * c - station.normal * s};
}

PathFrame PathFrames::at(double t) const {
  const Station& before = stationBefore(t);
  Station here = stationAt(t, before.tangent);
  here.normal =
      carriedNormal(before.origin, before.tangent, before.normal, here.origin, here.tangent);
  return turned(here);
}

PathMotion PathFrames::motionAt(double t, int order) const {
  PathMotion motion;
  motion.frame = at(t);
  const CurveJet jet = path_.jet(t, order + 1);
  const auto& [first, second, third] = jet.derivatives;
  motion.velocity = first;
  motion.acceleration = second;
  const double squared = first.squaredMagnitude();
  if (!(squared > kMinSquaredLength)) return motion;
  const Vector3D turning = first.cross(second);
  motion.spin = turning / squared + motion.frame.tangent * twist_;
  if (order < 2) return motion;
  motion.spinRate = first.cross(third) / squared -
                    turning * (2.0 * first.dot(second) / (squared * squared)) +
                    motion.rate(motion.frame.tangent) * twist_;
  return motion;
}

}  // namespace trova::geometry::internal
