#pragma once

#include <memory>
#include <optional>

#include "morvel/foundation/affine_maps.h"
#include "morvel/surfaces/surface.h"

namespace trova::geometry {

/// A place with three perpendicular unit directions. Right-handed unless a reflection has acted on
/// it.
struct MORVEL_API AxisFrame {
  Point3D origin;
  Vector3D x;
  Vector3D y;
  Vector3D z;

  /// z along `axis`; x is the world x axis made perpendicular to it (the world y axis where x is
  /// close to `axis`).
  /// @throws std::invalid_argument for a point or axis that is not finite, or an axis of length
  /// zero
  static AxisFrame aboutAxis(const Point3D& origin, const Vector3D& axis);

  /// Requires a similarity.
  AxisFrame transformed(const Transform3D& similarity) const;
  Point3D place(double a, double b, double c) const { return origin + direction(a, b, c); }
  Vector3D direction(double a, double b, double c) const { return x * a + y * b + z * c; }
};

/// The unit vector along `v`, whatever its length above 0.
/// @throws std::invalid_argument where `v` is zero or not finite; `what` opens the message
MORVEL_API Vector3D requireDirection(const Vector3D& v, const char* what);
/// @throws std::invalid_argument where `value` is not finite; `what` opens the message
MORVEL_API double requireFinite(double value, const char* what);
/// @throws std::invalid_argument where `point` is not finite; `what` opens the message
MORVEL_API const Point3D& requireFinite(const Point3D& point, const char* what);

using foundation::requireFinite;
/// The frame itself.
/// @throws std::invalid_argument unless the origin is finite and the axes are perpendicular unit
/// vectors
MORVEL_API const AxisFrame& requireFrame(const AxisFrame& frame);
/// The factor by which the matrix scales all lengths.
/// @throws std::invalid_argument "Transform is not a similarity"
MORVEL_API double requireSimilarity(const Transform3D& matrix);
/// The image of a surface under an affine map, as a B-spline surface within the default tolerance.
/// @throws std::invalid_argument for a matrix that is not finite; ToNurbsException
MORVEL_API std::unique_ptr<Surface> refitUnder(const Transform3D& matrix, const Surface& surface);

/// The unit circle at `turns` (1 is once around): exact at multiples of a quarter turn, so that
/// seams close and poles are single points.
struct MORVEL_API CirclePoint {
  double cosine = 1.0;
  double sine = 0.0;

  static CirclePoint atTurns(double turns);
};

/// The least and greatest value of something.
struct MORVEL_API ValueRange {
  double low = 0.0;
  double high = 0.0;
};

/// The range of a * cos + b * sin between two numbers of turns, given in either order.
MORVEL_API ValueRange sinusoidRange(double a, double b, double fromTurns, double toTurns);

}  // namespace trova::geometry
