#include "morvel/surfaces/axis_frame.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <stdexcept>
#include <string>

#include "morvel/foundation/as_stored.h"
#include "morvel/surfaces/bspline_surface.h"

namespace trova::geometry {
namespace {

/// An axis whose x component exceeds this takes its cross direction from the world y axis.
constexpr double kCloseToX = 0.9;

constexpr double kQuarter = 0.25;

/// How far the images of perpendicular unit vectors may be off, relative to the scale.

[[noreturn]] void refuse(const char* what, const char* fault) {
  throw std::invalid_argument(std::string(what) + fault);
}

Vector3D unit(const Eigen::Vector3d& v) { return Vector3D(Eigen::Vector3d(v.stableNormalized())); }

/// The number of `turns` as the nearest whole number of quarters, and what is left.
struct QuarterTurns {
  int quarter;  // 0 .. 3
  double rest;  // turns, at most an eighth either way
};

QuarterTurns quarterTurns(double turns) {
  const double fraction = turns - std::floor(turns);
  if (std::isnan(fraction)) return {0, fraction};
  const double nearest = std::round(fraction / kQuarter);
  return {static_cast<int>(nearest) % 4, fraction - nearest * kQuarter};
}

/// Whether `turns` plus some whole number lies between the two.
bool isPassed(double turns, double low, double high) {
  return turns + std::ceil(low - turns) <= high;
}

}  // namespace

Vector3D requireDirection(const Vector3D& v, const char* what) {
  if (!v.isFinite()) refuse(what, " must be finite");
  Vector3D direction = unit(v.eigen());
  if (!(direction.squaredMagnitude() > 0.0)) refuse(what, " cannot be zero");
  return direction;
}

double requireFinite(double value, const char* what) {
  if (!std::isfinite(value)) refuse(what, " must be finite");
  return value;
}

const Point3D& requireFinite(const Point3D& point, const char* what) {
  if (!point.isFinite()) refuse(what, " must be finite");
  return point;
}

const AxisFrame& requireFrame(const AxisFrame& frame) {
  requireFinite(frame.origin, "Origin of a frame");
  for (const Vector3D* axis : {&frame.x, &frame.y, &frame.z})
    foundation::requireUnit(*axis, "Axis of a frame");
  const double leaning = std::max({std::abs(frame.x.dot(frame.y)), std::abs(frame.y.dot(frame.z)),
                                   std::abs(frame.z.dot(frame.x))});
  if (!(leaning <= foundation::kStoredDirectionTolerance))
    throw std::invalid_argument("Axes of a frame must be perpendicular");
  return frame;
}

AxisFrame AxisFrame::aboutAxis(const Point3D& origin, const Vector3D& axis) {
  const Vector3D z = requireDirection(axis, "Axis");
  const Vector3D side = std::abs(z.x()) < kCloseToX ? Vector3D::unitX() : Vector3D::unitY();
  const Vector3D x = unit((side - z * side.dot(z)).eigen());
  return {requireFinite(origin, "Point"), x, z.cross(x), z};
}

AxisFrame AxisFrame::transformed(const Transform3D& similarity) const {
  const Vector3D newZ = unit(similarity.transform(z).eigen());
  const Vector3D image = similarity.transform(x);
  const Vector3D newX = unit((image - newZ * image.dot(newZ)).eigen());
  const Vector3D newY = newZ.cross(newX);
  const bool isTurnedOver = newY.dot(similarity.transform(y)) < 0.0;
  return {similarity.transform(origin), newX, isTurnedOver ? -newY : newY, newZ};
}

double requireSimilarity(const Transform3D& matrix) {
  const std::optional<double> scale = foundation::similarityRatio(matrix);
  if (!scale) throw std::invalid_argument("Transform is not a similarity");
  return *scale;
}

std::unique_ptr<Surface> refitUnder(const Transform3D& matrix, const Surface& surface) {
  requireFinite(matrix);
  const double stretch = matrix.getMatrix().topLeftCorner<3, 3>().norm();
  return surface.toNurbs(kDefaultToNurbsTolerance / std::max(stretch, 1.0))->transform(matrix);
}

CirclePoint CirclePoint::atTurns(double turns) {
  const QuarterTurns split = quarterTurns(turns);
  const double angle = 2.0 * std::numbers::pi * split.rest;
  const double c = std::cos(angle);
  const double s = std::sin(angle);
  switch (split.quarter) {
    case 1:
      return {-s, c};
    case 2:
      return {-c, -s};
    case 3:
      return {s, -c};
    default:
      return {c, s};
  }
}

ValueRange sinusoidRange(double a, double b, double fromTurns, double toTurns) {
  const CirclePoint from = CirclePoint::atTurns(fromTurns);
  const CirclePoint to = CirclePoint::atTurns(toTurns);
  const double atStart = a * from.cosine + b * from.sine;
  const double atEnd = a * to.cosine + b * to.sine;
  ValueRange range{std::min(atStart, atEnd), std::max(atStart, atEnd)};
  const double low = std::min(fromTurns, toTurns);
  const double high = std::max(fromTurns, toTurns);
  const double amplitude = std::hypot(a, b);
  const double crest = std::atan2(b, a) / (2.0 * std::numbers::pi);
  if (isPassed(crest, low, high)) range.high = amplitude;
  if (isPassed(crest + 0.5, low, high)) range.low = -amplitude;
  return range;
}

}  // namespace trova::geometry
