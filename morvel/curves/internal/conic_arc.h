#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "morvel/curves/curve.h"

namespace trova::geometry {
class NurbsCurve;
}

namespace trova::geometry::internal {

/// What circles and ellipses have in common: center + cos(w) cosAxis + sin(w) sinAxis between two
/// angles in either order (radians). The axes need not be perpendicular, nor differ from zero.
struct ConicArc {
  Point3D center;
  Vector3D cosAxis;
  Vector3D sinAxis;
  double start = 0.0;
  double end = 0.0;

  Point3D point(double w) const;
  /// The k-th derivative by w, k >= 1.
  Vector3D derivative(double w, int k) const;
  /// Tight: the ends, and the extremes of each coordinate that lie on the arc.
  BoundingBox box() const;
  /// The smallest angle on the arc that equals w but for whole turns; none where the arc leaves it
  /// out.
  std::optional<double> onArc(double w) const;
  /// The exact rational quadratic form from start to end, its knots running over `interval`.
  /// @throws std::invalid_argument for an interval without length
  std::unique_ptr<NurbsCurve> toNurbs(const ParameterInterval& interval) const;
};

/// @throws std::invalid_argument unless both angles are finite and at most kMaxArcTurns turns apart
void requireArcAngles(double start, double end);

/// The cofactor matrix of the linear part times v: what the cross product of two vectors becomes
/// when the map acts on them. For a similarity it is the image of v scaled by the square of the
/// ratio, turned over by a reflection.
Vector3D cofactorImage(const Transform3D& transform, const Vector3D& v);

}  // namespace trova::geometry::internal
