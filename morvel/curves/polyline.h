#pragma once

#include <span>
#include <vector>

#include "morvel/curves/curve.h"

namespace trova::geometry {

/// The distance of p from the segment a-b, which may be a point.
MORVEL_API double distanceToSegment(const Point3D& p, const Point3D& a, const Point3D& b);

/// A polyline by recursive halving: every stretch between neighbouring breaks is halved until it is
/// close to its chord, judged at 2 `degree` + 1 points at equal steps; a polynomial of that degree
/// cannot hide from so many, and what it does between them is allowed for. At most
/// kMaxAdaptivePoints are added to the breaks; a stretch whose share of them is used up stays as it
/// is. Ends on curves that are not finite.
/// @param breaks  in the order in which the curve runs, ends included; where it is not smooth
/// @throws std::invalid_argument unless tolerance > 0
MORVEL_API std::vector<Point3D> adaptivePolyline(const Curve& curve, std::span<const double> breaks,
                                                 int degree, double tolerance);

}  // namespace trova::geometry
