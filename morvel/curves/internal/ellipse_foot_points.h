#pragma once

#include <array>

namespace trova::geometry::internal {

/// Angles that include every local minimum of the distance from (x, y) to (a cos w, b sin w), a and
/// b at least 0; up to two are minima, the others are harmless candidates. In radians, -pi to pi.
std::array<double, 4> ellipseFootPoints(double a, double b, double x, double y);

}  // namespace trova::geometry::internal
