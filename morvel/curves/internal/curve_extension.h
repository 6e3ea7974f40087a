#pragma once

#include <utility>

#include "morvel/curves/curve.h"
#include "morvel/foundation/spline_rows.h"

// The extension of spline curves, the same for rows of three coordinates (polynomial) and of four
// (rational, homogeneous).

namespace trova::geometry::internal {

using foundation::nurbs::SplineRows;

/// A Bezier segment in two at parameter u of its interval, or outside of it: the parts over
/// [start, u] and [u, end] (de Casteljau). Outside, one part runs backwards and the other, longer
/// than the segment, is its continuation.
std::pair<SplineRows, SplineRows> subdivided(const SplineRows& bezier, double u);

/// The curve with a segment of `length` (arc length to 1e-8 of itself) joined to one end; the knots
/// of the curve itself stay where they are. An unclamped curve is clamped first. Natural: the end
/// span's polynomial goes on. Linear: a straight line along the end tangent, at the speed of the
/// end.
/// @throws std::invalid_argument for a length not above 0, an end without direction, or a shape
/// that
///         does not reach so far
SplineRows extended(const SplineRows& curve, double length, CurveEnd end, ExtensionMode mode);

/// The natural extension of a Bezier curve as one segment again.
SplineRows extendedBezier(const SplineRows& bezier, double length, CurveEnd end);

/// Two clamped splines as one, end to start: they meet in one knot and one control point. The lower
/// degree is raised first; a line is printed about the degree of `curve`, which is the one of the
/// two that is extended at `end`.
SplineRows joined(SplineRows curve, SplineRows segment, CurveEnd end);

}  // namespace trova::geometry::internal
