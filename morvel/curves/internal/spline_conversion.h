#pragma once

#include <memory>
#include <vector>

#include "morvel/curves/bezier_curve.h"
#include "morvel/curves/bspline_curve.h"
#include "morvel/curves/nurbs_curve.h"
#include "morvel/foundation/spline_rows.h"

// Between curves and the rows that `foundation/spline_rows` refines.

namespace trova::geometry::internal {

using foundation::nurbs::SplineRows;

SplineRows rowsOf(const BSplineCurve& curve);
/// In homogeneous coordinates, four a row.
SplineRows rowsOf(const NurbsCurve& curve);
SplineRows rowsOf(const BezierCurve& curve);

/// From rows of three.
std::vector<Point3D> pointsOf(const SplineRows& rows);
std::unique_ptr<BSplineCurve> bsplineFrom(SplineRows rows);
/// From rows of four.
std::unique_ptr<NurbsCurve> nurbsFrom(SplineRows rows);

}  // namespace trova::geometry::internal
