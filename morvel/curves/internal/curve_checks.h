#pragma once

#include <cmath>
#include <stdexcept>

#include "morvel/curves/curve.h"

// The refusals that all curves share. Every condition is written so that NaN is refused.

namespace trova::geometry::internal {

inline void requireFinitePoint(const Point3D& point) {
  if (!point.isFinite()) throw std::invalid_argument("Point must be finite");
}

/// The parameters lie in the interval, apart, in the order in which the curve runs.
inline void requireTrimRange(const ParameterInterval& interval, double u0, double u1) {
  const bool runsUp = interval.start <= interval.end;
  const bool inside = runsUp ? interval.start <= u0 && u0 < u1 && u1 <= interval.end
                             : interval.start >= u0 && u0 > u1 && u1 >= interval.end;
  if (!inside) throw std::invalid_argument("Invalid trim parameters");
}

/// u lies inside the interval and is not one of its ends.
inline void requireSplitParameter(const ParameterInterval& interval, double u) {
  const bool runsUp = interval.start <= interval.end;
  const bool inside =
      runsUp ? interval.start < u && u < interval.end : interval.start > u && u > interval.end;
  if (!inside) throw std::invalid_argument("Split parameter outside the curve");
}

inline void requireExtensionLength(double length) {
  if (!(length > 0.0) || !std::isfinite(length))
    throw std::invalid_argument("Extension length must be positive");
}

inline void requireChordTolerance(double tolerance) {
  if (!(tolerance > 0.0)) throw std::invalid_argument("Tessellation tolerance must be positive");
}

/// The unit vector of a plane normal that must have a direction.
inline Vector3D requirePlaneNormal(const Vector3D& normal) {
  Vector3D unit = normal.normalized();
  if (!unit.isFinite() || !(unit.squaredMagnitude() > 0.0))
    throw std::invalid_argument("Plane normal has no direction");
  return unit;
}

inline void requireOffsetDistance(double distance) {
  if (!std::isfinite(distance)) throw std::invalid_argument("Offset distance must be finite");
}

}  // namespace trova::geometry::internal
