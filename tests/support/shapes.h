#pragma once

#include <cmath>
#include <memory>
#include <numbers>
#include <vector>

#include "morvel/curves/bspline_curve.h"
#include "morvel/curves/circle_curve.h"
#include "morvel/curves/ellipse_curve.h"
#include "morvel/curves/line_curve.h"
#include "morvel/curves/nurbs_curve.h"

// Sample curves shared by the tests of all layers.

namespace morvel_test {

using trova::foundation::BoundingBox;
using trova::foundation::Point3D;
using trova::foundation::Transform3D;
using trova::foundation::Vector3D;
using namespace trova::geometry;

inline constexpr double kPi = std::numbers::pi;

/// A cubic in space over [-1, 4] with uneven knots, one of them double.
inline BSplineCurve unevenCubic() {
  return {{{0, 0, 0}, {1, 2, 0.5}, {3, 2.5, -1}, {4, 0, 1}, {6, -1, 0}, {7, 1, 2}, {8, 0, 0}},
          {-1, -1, -1, -1, 0, 2, 2, 4, 4, 4, 4},
          3};
}

/// A wave in the xy plane over [0, 1], smooth (C2), of curvature radii above 0.5.
inline BSplineCurve planarWave() {
  return {{{0, 0, 0}, {1, 1, 0}, {3, 1, 0}, {5, -1, 0}, {7, 0, 0}, {9, 1, 0}},
          {0, 0, 0, 0, 1.0 / 3, 2.0 / 3, 1, 1, 1, 1},
          3};
}

/// The quarter of the unit circle in the xy plane from (1, 0, 0) to (0, 1, 0).
inline NurbsCurve quarterCircle() {
  return {{{1, 0, 0}, {1, 1, 0}, {0, 1, 0}}, {1, std::sqrt(0.5), 1}, {0, 0, 0, 1, 1, 1}, 2};
}

/// A circle of radius 2 in an oblique plane.
inline CircleCurve tiltedCircle() { return {{1, -2, 3}, {1, 2, 2}, 2.0}; }

/// An arc of 250 degrees of it, turning the other way.
inline CircleCurve tiltedArc() {
  return {{1, -2, 3}, {1, 2, 2}, 2.0, 4.0, 4.0 - 250.0 / 180 * kPi};
}

/// A flat half ellipse, 3 by 1, its major axis along (3, 4, 0).
inline EllipseCurve halfEllipse() {
  return {{1, 1, 1}, {3, 4, 0}, {0, 0, 1}, 3.0, 1.0, 0.5, 0.5 + kPi};
}

/// A full ellipse whose major axis rises from the horizontal.
inline EllipseCurve risingEllipse() {
  return {{0, 2, 0}, {1, 1, 1}, {0, 0, 1}, 2.0, 1.5, 0, 2 * kPi};
}

/// A map that is no similarity: it scales, shears and moves.
inline Transform3D shear() {
  Transform3D map = Transform3D::scaling(1.5, 0.5, 2.0);
  map(0, 1) = 0.7;
  map(0, 3) = -2.0;
  map(2, 3) = 5.0;
  return map;
}

/// Rotated, scaled by 2.5 and moved.
inline Transform3D similarity() {
  return Transform3D::translation({3, -1, 2}) * Transform3D::rotation({1, 2, -1}, 1.1) *
         Transform3D::scaling(2.5, 2.5, 2.5);
}

/// Mirrored in the plane x = z, and moved.
inline Transform3D reflection() {
  Transform3D map = Transform3D::translation({1, 0, 4});
  map(0, 0) = map(2, 2) = 0.0;
  map(0, 2) = map(2, 0) = 1.0;
  return map;
}

}  // namespace morvel_test
